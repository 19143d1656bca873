#include "recording/BilinearResampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

// Bilinear in double precision, borders repeated: what the fixed-point passes approximate.
double reference(const std::vector<std::uint8_t>& src, int w, int h, int channels, int c, double fx,
                 double fy) {
    auto at = [&](int x, int y) {
        x = std::clamp(x, 0, w - 1);
        y = std::clamp(y, 0, h - 1);
        return double(src[std::size_t((y * w + x) * channels + c)]);
    };
    const double x0 = std::floor(fx), y0 = std::floor(fy);
    const double ax = fx - x0, ay = fy - y0;
    const int ix = int(x0), iy = int(y0);
    return (1 - ay) * ((1 - ax) * at(ix, iy) + ax * at(ix + 1, iy)) +
           ay * ((1 - ax) * at(ix, iy + 1) + ax * at(ix + 1, iy + 1));
}

} // namespace

TEST(BilinearResampler, FractionalMapsMatchExactBilinearWithinOneLevel) {
    // A ramp steep enough that half a pixel of misplacement shows (4 levels per pixel), 1 and 4
    // channels, up, down, mirrored and shifted past the borders.
    const int w = 97, h = 61;
    struct Map {
        SampleAxis x, y;
        int outW, outH;
    };
    const Map maps[] = {
        {{0.87, 3.31}, {0.87, 2.77}, 80, 50},    // the Macro crop: zoomed, fractional origin
        {{2.17, 0.6}, {2.17, 0.6}, 44, 28},      // down by more than two
        {{-0.75, 90.4}, {-0.75, 55.1}, 120, 72}, // half turn and upscale
        {{1.3, -4.2}, {0.6, 40.0}, 90, 60},      // samples before and after the edges
        {{1.0, 0.5}, {1.0, 0.0}, 96, 61},        // exact half-pixel shift
    };
    for (int channels : {1, 4}) {
        std::vector<std::uint8_t> src(std::size_t(w * h * channels));
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                for (int c = 0; c < channels; ++c)
                    src[std::size_t((y * w + x) * channels + c)] =
                        std::uint8_t(std::clamp(x * 4 + y * 3 + c * 20, 0, 255));
        BilinearResampler resampler;
        for (const Map& m : maps) {
            SCOPED_TRACE(testing::Message() << channels << " channels, x " << m.x.a);
            const int stride = m.outW * channels + 5; // padded rows must not be touched
            std::vector<std::uint8_t> dst(std::size_t(stride * m.outH), 7);
            resampler.resample({src.data(), w * channels, w, h, channels},
                               {dst.data(), stride, m.outW, m.outH, channels}, m.x, m.y);
            for (int j = 0; j < m.outH; ++j) {
                for (int i = 0; i < m.outW; ++i)
                    for (int c = 0; c < channels; ++c) {
                        const double want =
                            reference(src, w, h, channels, c, m.x.a * i + m.x.b, m.y.a * j + m.y.b);
                        const int got = dst[std::size_t(j * stride + i * channels + c)];
                        ASSERT_LE(std::abs(got - want), 1.0) << i << "," << j << " c" << c;
                    }
                for (int pad = m.outW * channels; pad < stride; ++pad)
                    ASSERT_EQ(dst[std::size_t(j * stride + pad)], 7);
            }
        }
    }
}

TEST(BilinearResampler, FlatColourAndTinySourcesStayExact) {
    BilinearResampler resampler;
    std::vector<std::uint8_t> flat(std::size_t(30 * 20 * 4));
    for (std::size_t i = 0; i < flat.size(); ++i)
        flat[i] = std::uint8_t(i % 4 == 3 ? 255 : 40 + 70 * (i % 4));
    std::vector<std::uint8_t> out(std::size_t(53 * 31 * 4));
    resampler.resample({flat.data(), 30 * 4, 30, 20, 4}, {out.data(), 53 * 4, 53, 31, 4},
                       {0.5133, 1.77}, {-0.6, 18.3});
    for (std::size_t i = 0; i < out.size(); ++i)
        ASSERT_EQ(out[i], flat[i % 4]) << i;

    // A single pixel (no right or lower neighbour to read) fills everything.
    const std::uint8_t one = 99;
    std::vector<std::uint8_t> plane(16 * 9, 0);
    resampler.resample({const_cast<std::uint8_t*>(&one), 1, 1, 1, 1}, {plane.data(), 16, 16, 9, 1},
                       {0.3, -2.0}, {0.7, 0.4});
    for (std::uint8_t v : plane)
        ASSERT_EQ(v, 99);
    // Not finite or mismatched: nothing is written.
    resampler.resample({flat.data(), 30 * 4, 30, 20, 4}, {out.data(), 53 * 4, 53, 31, 4}, {NAN, 0},
                       {1, 0});
    resampler.resample({flat.data(), 30 * 4, 30, 20, 4}, {plane.data(), 16, 16, 9, 1}, {1, 0},
                       {1, 0});
    EXPECT_EQ(plane[0], 99);
}
