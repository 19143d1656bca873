#include "recording/CompositeRendererPlanes.h"

#include "recording/Bt709Yuv.h"

#include <algorithm>

namespace {

using compositing::div255;
using compositing::RowSpan;

// BT.709 limited range, as the camera pictures are converted, applied to premultiplied colour:
// the result is what the overlay adds, the background keeps (255 − a) / 255 of itself.
inline int lumaOf(int b, int g, int r, int a) {
    return ((bt709::yr * r + bt709::yg * g + bt709::yb * b + 128) >> 8) + div255(16 * a);
}
inline int blueDiffOf(int b, int g, int r, int a) {
    return ((bt709::ur * r + bt709::ug * g + bt709::ub * b + 128) >> 8) + div255(128 * a);
}
inline int redDiffOf(int b, int g, int r, int a) {
    return ((bt709::vr * r + bt709::vg * g + bt709::vb * b + 128) >> 8) + div255(128 * a);
}

inline std::uint8_t clampByte(int v) {
    return std::uint8_t(std::clamp(v, 0, 255));
}

// 16-bit throughout (y · keep ≤ 65025), so the loop vectorises.
void blendLuma(const std::uint8_t* __restrict add, const std::uint8_t* __restrict keep,
               std::uint8_t* __restrict y, int n) {
    for (int x = 0; x < n; ++x) {
        std::uint16_t t = std::uint16_t(std::uint16_t(y[x] * keep[x]) + 128);
        t = std::uint16_t((t + (t >> 8)) >> 8);
        const std::uint16_t v = std::uint16_t(add[x] + t);
        y[x] = std::uint8_t(v > 255 ? 255 : v);
    }
}
void blendChroma(const std::int16_t* __restrict add, const std::uint16_t* __restrict keep,
                 std::uint8_t* __restrict c, int n) {
    for (int x = 0; x < n; ++x)
        c[x] = clampByte(add[x] + (c[x] * keep[x] + 510) / 1020);
}

} // namespace

namespace compositing {

YuvPlanes matsOf(const Yuv420Buffer& b) {
    return {cv::Mat(b.height(), b.width(), CV_8UC1, b.plane(0), std::size_t(b.stride(0))),
            cv::Mat(b.height() / 2, b.width() / 2, CV_8UC1, b.plane(1), std::size_t(b.stride(1))),
            cv::Mat(b.height() / 2, b.width() / 2, CV_8UC1, b.plane(2), std::size_t(b.stride(2)))};
}

// The I420 block cv::cvtColor writes, seen as three planes.
YuvPlanes planesOfI420(cv::Mat& block, int width, int height) {
    std::uint8_t* base = block.ptr<std::uint8_t>(0);
    const std::size_t luma = std::size_t(width) * std::size_t(height);
    return {cv::Mat(height, width, CV_8UC1, base),
            cv::Mat(height / 2, width / 2, CV_8UC1, base + luma),
            cv::Mat(height / 2, width / 2, CV_8UC1, base + luma + luma / 4)};
}

void blendYuv(const cv::Mat& over, const std::vector<RowSpan>& spans, const PixelRect& rect,
              YuvPlanes& dst) {
    const int y0 = rect.y & ~1;
    const int y1 = rect.y + rect.height;
    for (int by = y0; by < y1; by += 2) {
        int begin = 1 << 30;
        int end = -1;
        for (int row = by; row < by + 2; ++row) {
            if (row < rect.y || row >= y1)
                continue;
            const RowSpan s = spans[std::size_t(row - rect.y)];
            if (s.end > s.begin) {
                begin = std::min(begin, s.begin + rect.x);
                end = std::max(end, s.end + rect.x);
            }
        }
        if (end <= begin)
            continue;
        begin &= ~1;
        for (int bx = begin; bx < end; bx += 2) {
            int uSum = 0, vSum = 0, aSum = 0;
            for (int row = by; row < by + 2; ++row) {
                if (row < rect.y || row >= y1)
                    continue;
                const std::uint8_t* s = over.ptr<std::uint8_t>(row - rect.y);
                std::uint8_t* yRow = dst.y.ptr<std::uint8_t>(row);
                for (int col = bx; col < bx + 2; ++col) {
                    if (col < rect.x || col >= rect.x + rect.width)
                        continue;
                    const std::uint8_t* p = s + 4 * (col - rect.x);
                    const int a = p[3];
                    if (a == 0)
                        continue;
                    yRow[col] =
                        clampByte(lumaOf(p[0], p[1], p[2], a) + div255(yRow[col] * (255 - a)));
                    uSum += blueDiffOf(p[0], p[1], p[2], a);
                    vSum += redDiffOf(p[0], p[1], p[2], a);
                    aSum += a;
                }
            }
            if (aSum == 0)
                continue;
            std::uint8_t& u = dst.u.at<std::uint8_t>(by / 2, bx / 2);
            std::uint8_t& v = dst.v.at<std::uint8_t>(by / 2, bx / 2);
            const int keep = 1020 - aSum;
            u = clampByte((uSum + 2) / 4 + (u * keep + 510) / 1020);
            v = clampByte((vSum + 2) / 4 + (v * keep + 510) / 1020);
        }
    }
}

YuvOverlay::YuvOverlay(const cv::Mat& over) {
    const std::vector<RowSpan> spans = opaqueSpans(over);
    for (int by = 0; by + 1 < over.rows; by += 2) {
        const RowSpan a = spans[std::size_t(by)];
        const RowSpan b = spans[std::size_t(by + 1)];
        int begin =
            std::min(a.end > a.begin ? a.begin : over.cols, b.end > b.begin ? b.begin : over.cols);
        int end = std::max(a.end, b.end);
        if (end <= begin)
            continue;
        begin &= ~1;
        end = std::min((end + 1) & ~1, over.cols & ~1);
        const std::size_t n = std::size_t(end - begin);
        m_rows.push_back({by, begin, end, m_lumaAdd.size(), m_chromaKeep.size()});
        for (int row = by; row < by + 2; ++row) {
            const std::uint8_t* p = over.ptr<std::uint8_t>(row) + 4 * begin;
            for (std::size_t i = 0; i < n; ++i, p += 4) {
                // A clear pixel adds nothing, whatever its colour bytes say.
                const int luma = p[3] ? lumaOf(p[0], p[1], p[2], p[3]) : 0;
                m_lumaAdd.push_back(std::uint8_t(std::clamp(luma, 0, 255)));
                m_lumaKeep.push_back(std::uint8_t(255 - p[3]));
            }
        }
        for (std::size_t i = 0; i < n; i += 2) {
            int uSum = 0, vSum = 0, aSum = 0;
            for (int row = by; row < by + 2; ++row)
                for (int col = begin + int(i); col < begin + int(i) + 2; ++col) {
                    const std::uint8_t* q = over.ptr<std::uint8_t>(row) + 4 * col;
                    if (q[3] == 0)
                        continue;
                    uSum += blueDiffOf(q[0], q[1], q[2], q[3]);
                    vSum += redDiffOf(q[0], q[1], q[2], q[3]);
                    aSum += q[3];
                }
            m_blueAdd.push_back(std::int16_t((uSum + 2) / 4));
            m_redAdd.push_back(std::int16_t((vSum + 2) / 4));
            m_chromaKeep.push_back(std::uint16_t(1020 - aSum));
        }
    }
}

void YuvOverlay::blend(YuvPlanes& dst) const {
    for (const Row& r : m_rows) {
        const int n = r.end - r.begin;
        for (int k = 0; k < 2; ++k)
            blendLuma(&m_lumaAdd[r.luma + std::size_t(k * n)],
                      &m_lumaKeep[r.luma + std::size_t(k * n)],
                      dst.y.ptr<std::uint8_t>(r.y + k) + r.begin, n);
        const std::size_t c = r.chroma;
        blendChroma(&m_blueAdd[c], &m_chromaKeep[c], dst.u.ptr<std::uint8_t>(r.y / 2) + r.begin / 2,
                    n / 2);
        blendChroma(&m_redAdd[c], &m_chromaKeep[c], dst.v.ptr<std::uint8_t>(r.y / 2) + r.begin / 2,
                    n / 2);
    }
}

} // namespace compositing
