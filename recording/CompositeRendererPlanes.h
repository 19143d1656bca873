#pragma once

// The YUV 4:2:0 side of CompositeRenderer: the canvas planes as OpenCV views, and overlays
// (premultiplied BGRA) laid over them, either per call or prepared once for a whole recording.
// Internal to the renderer.

#include "recording/CompositeRendererRaster.h"
#include "recording/Yuv420Buffer.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace compositing {

struct YuvPlanes {
    cv::Mat y, u, v;
};

YuvPlanes matsOf(const Yuv420Buffer& b);

// The I420 block cv::cvtColor writes, seen as three planes.
YuvPlanes planesOfI420(cv::Mat& block, int width, int height);

// Premultiplied BGRA `over` laid over the pixels `rect` of the YUV planes (over has rect's
// size). Chroma takes the average of each 2×2 block, pixels outside `rect` counting as clear.
void blendYuv(const cv::Mat& over, const std::vector<RowSpan>& spans, const PixelRect& rect,
              YuvPlanes& dst);

// An overlay of canvas size, prepared once for laying over YUV planes: per pixel what it adds
// to luma and how much of the luma below it keeps, the same per 2×2 chroma block. Only pairs of
// rows with anything visible are kept, and in them only the columns that are.
class YuvOverlay {
public:
    explicit YuvOverlay(const cv::Mat& over);

    // Lays it over planes of its own size. A clear pixel leaves the one below unchanged.
    void blend(YuvPlanes& dst) const;

private:
    struct Row {
        int y; // the first of the two rows
        int begin, end;
        std::size_t luma, chroma; // where its values start
    };
    std::vector<Row> m_rows;
    std::vector<std::uint8_t> m_lumaAdd, m_lumaKeep;
    std::vector<std::int16_t> m_blueAdd, m_redAdd;
    std::vector<std::uint16_t> m_chromaKeep;
};

} // namespace compositing
