#include "recording/Bt709Yuv.h"

#include <cstdint>

namespace bt709 {

namespace {

inline std::uint8_t luma(const std::uint8_t* p) {
    return std::uint8_t(((yr * p[2] + yg * p[1] + yb * p[0] + 128) >> 8) + 16);
}

} // namespace

void fromBgra(const cv::Mat& bgra, cv::Mat& y, cv::Mat& u, cv::Mat& v) {
    const int width = bgra.cols & ~1;
    const int height = bgra.rows & ~1;
    for (int row = 0; row < height; row += 2) {
        const std::uint8_t* top = bgra.ptr<std::uint8_t>(row);
        const std::uint8_t* bottom = bgra.ptr<std::uint8_t>(row + 1);
        std::uint8_t* y0 = y.ptr<std::uint8_t>(row);
        std::uint8_t* y1 = y.ptr<std::uint8_t>(row + 1);
        for (int x = 0; x < width; ++x) {
            y0[x] = luma(top + 4 * x);
            y1[x] = luma(bottom + 4 * x);
        }
        std::uint8_t* uRow = u.ptr<std::uint8_t>(row / 2);
        std::uint8_t* vRow = v.ptr<std::uint8_t>(row / 2);
        for (int x = 0; x < width / 2; ++x) {
            const std::uint8_t* a = top + 8 * x;
            const std::uint8_t* b = bottom + 8 * x;
            const int blue = a[0] + a[4] + b[0] + b[4];
            const int green = a[1] + a[5] + b[1] + b[5];
            const int red = a[2] + a[6] + b[2] + b[6];
            // Sums of four pixels: scaled by 1024 instead of 256.
            uRow[x] = std::uint8_t(((ur * red + ug * green + ub * blue + 512) >> 10) + 128);
            vRow[x] = std::uint8_t(((vr * red + vg * green + vb * blue + 512) >> 10) + 128);
        }
    }
}

} // namespace bt709
