#pragma once

// BT.709 (HD video) in limited range, 8 bits: the colour the recordings are encoded and tagged
// with, so players show the same colours as the photos. Coefficients are scaled by 256; each
// row of the chroma ones sums to 0, so grey stays at 128.
//
// The stream tags that go with it: AVCOL_SPC_BT709, AVCOL_PRI_BT709, AVCOL_TRC_BT709,
// AVCOL_RANGE_MPEG.

#include <opencv2/core.hpp>

namespace bt709 {

// Luma = (yr·R + yg·G + yb·B + 128) / 256 + 16; chroma = (…) / 256 + 128.
constexpr int yr = 47, yg = 157, yb = 16;
constexpr int ur = -26, ug = -86, ub = 112;
constexpr int vr = 112, vg = -102, vb = -10;

// Opaque BGRA (even width and height) to the three planes of 4:2:0: luma per pixel, chroma
// from the mean colour of each 2×2 block. `y` must be bgra's size, `u` and `v` half of it.
void fromBgra(const cv::Mat& bgra, cv::Mat& y, cv::Mat& u, cv::Mat& v);

} // namespace bt709
