#include "recording/CompositeRenderer.h"
#include "recording/BilinearResampler.h"
#include "recording/Bt709Yuv.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

namespace {

constexpr double tolerance = 1e-6;

bool nearInteger(double v, long& out) {
    if (!std::isfinite(v) || std::abs(v) > 1e9)
        return false;
    const double r = std::round(v);
    if (std::abs(v - r) > tolerance)
        return false;
    out = long(r);
    return true;
}

cv::Mat matOf(const PixelBuffer& b) {
    return cv::Mat(b.height(), b.width(), CV_8UC4, b.data(), std::size_t(b.stride()));
}

PlaneView viewOf(const cv::Mat& m) {
    return {const_cast<std::uint8_t*>(m.ptr<std::uint8_t>(0)), int(m.step[0]), m.cols, m.rows,
            m.channels()};
}

cv::Rect cvRect(const PixelRect& r) {
    return {r.x, r.y, r.width, r.height};
}

// One axis of the sampling map: source index = a · destination index + b (pixel centres).
// If cv::resize of a whole source range reproduces it exactly, gives that range.
bool resizeRange(double a, double b, int n, int sourceLength, int& start, int& length,
                 bool& mirrored) {
    mirrored = a < 0;
    if (mirrored) {
        b = a * (n - 1) + b;
        a = -a;
    }
    // cv::resize samples at (u + 0.5) · length / n − 0.5 relative to the range's start.
    long len = 0;
    long first = 0;
    if (!nearInteger(a * n, len) || !nearInteger(b - 0.5 * a + 0.5, first))
        return false;
    if (len < 1 || first < 0 || first + len > sourceLength)
        return false;
    start = int(first);
    length = int(len);
    return true;
}

void reverseBytes(const std::uint8_t* from, std::uint8_t* to, int n) {
    int i = 0;
    for (; i + 8 <= n; i += 8) {
        std::uint64_t v;
        std::memcpy(&v, from + n - i - 8, 8);
        v = __builtin_bswap64(v);
        std::memcpy(to + i, &v, 8);
    }
    for (; i < n; ++i)
        to[i] = from[n - 1 - i];
}

// cv::flip goes byte by byte on one-channel planes; this mirrors 8 bytes at a time. `src` and
// `dst` have the same size and may be the same pixels.
void mirrorPlane(const cv::Mat& src, cv::Mat& dst, bool mirrorX, bool mirrorY) {
    const int rows = dst.rows;
    const int n = dst.cols;
    std::vector<std::uint8_t> a(static_cast<std::size_t>(n)), b(static_cast<std::size_t>(n));
    auto put = [&](const std::uint8_t* from, std::uint8_t* to) {
        if (mirrorX)
            reverseBytes(from, to, n);
        else
            std::memcpy(to, from, std::size_t(n));
    };
    if (src.data != dst.data) {
        for (int y = 0; y < rows; ++y)
            put(src.ptr<std::uint8_t>(mirrorY ? rows - 1 - y : y), dst.ptr<std::uint8_t>(y));
        return;
    }
    for (int y = 0; y < (mirrorY ? (rows + 1) / 2 : rows); ++y) {
        const int z = mirrorY ? rows - 1 - y : y;
        std::memcpy(a.data(), dst.ptr<std::uint8_t>(y), std::size_t(n));
        std::memcpy(b.data(), dst.ptr<std::uint8_t>(z), std::size_t(n));
        put(b.data(), dst.ptr<std::uint8_t>(y));
        if (z != y)
            put(a.data(), dst.ptr<std::uint8_t>(z));
    }
}

void mirror(const cv::Mat& src, cv::Mat& dst, bool mirrorX, bool mirrorY) {
    if (src.type() == CV_8UC1)
        mirrorPlane(src, dst, mirrorX, mirrorY);
    else
        cv::flip(src, dst, mirrorX && mirrorY ? -1 : (mirrorX ? 1 : 0));
}

// Fills `rect` of `dst` from `src` placed by `t` (source pixel coordinates → destination
// coordinates), bilinear. Mirrors and exact scales use flip/resize; anything else (fractional
// crops) the separable resampler.
void drawLayer(const cv::Mat& src, cv::Mat& dst, const AxisTransform& t, const PixelRect& rect,
               BilinearResampler& resampler) {
    if (rect.isEmpty() || src.empty())
        return;
    cv::Mat roi = dst(cvRect(rect));
    const double ax = 1.0 / t.sx;
    const double bx = (rect.x + 0.5 - t.tx) / t.sx - 0.5;
    const double ay = 1.0 / t.sy;
    const double by = (rect.y + 0.5 - t.ty) / t.sy - 0.5;
    if (!std::isfinite(ax) || !std::isfinite(bx) || !std::isfinite(ay) || !std::isfinite(by))
        return;

    int x0, w, y0, h;
    bool mx, my;
    if (resizeRange(ax, bx, rect.width, src.cols, x0, w, mx) &&
        resizeRange(ay, by, rect.height, src.rows, y0, h, my)) {
        const cv::Mat part = src(cv::Rect(x0, y0, w, h));
        if (w == rect.width && h == rect.height) {
            if (mx || my)
                mirror(part, roi, mx, my);
            else
                part.copyTo(roi);
        } else {
            cv::resize(part, roi, roi.size(), 0, 0, cv::INTER_LINEAR);
            if (mx || my)
                mirror(roi, roi, mx, my);
        }
        return;
    }
    resampler.resample(viewOf(src), viewOf(roi), {ax, bx}, {ay, by});
}

inline int div255(int x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

// Columns [begin, end) of each row that hold any non-transparent pixel.
struct RowSpan {
    int begin = 0;
    int end = 0;
};

std::vector<RowSpan> opaqueSpans(const cv::Mat& bgra) {
    std::vector<RowSpan> spans(std::size_t(bgra.rows));
    for (int y = 0; y < bgra.rows; ++y) {
        const std::uint8_t* p = bgra.ptr<std::uint8_t>(y);
        int first = -1;
        int last = -1;
        for (int x = 0; x < bgra.cols; ++x) {
            if (p[4 * x + 3]) {
                if (first < 0)
                    first = x;
                last = x;
            }
        }
        if (first >= 0)
            spans[std::size_t(y)] = {first, last + 1};
    }
    return spans;
}

// Premultiplied `over` (same size as `dst`) laid over `dst`, both BGRA.
void blendBgra(const cv::Mat& over, const std::vector<RowSpan>& spans, cv::Mat& dst) {
    for (int y = 0; y < over.rows; ++y) {
        const RowSpan span = spans[std::size_t(y)];
        const std::uint8_t* s = over.ptr<std::uint8_t>(y);
        std::uint8_t* d = dst.ptr<std::uint8_t>(y);
        for (int x = span.begin; x < span.end; ++x) {
            const int a = s[4 * x + 3];
            if (a == 0)
                continue;
            const int keep = 255 - a;
            for (int c = 0; c < 4; ++c)
                d[4 * x + c] = std::uint8_t(s[4 * x + c] + div255(d[4 * x + c] * keep));
        }
    }
}

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

struct YuvPlanes {
    cv::Mat y, u, v;
};

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

// Premultiplied BGRA `over` laid over the pixels `rect` of the YUV planes (over has rect's
// size). Chroma takes the average of each 2×2 block, pixels outside `rect` counting as clear.
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

// An overlay of canvas size, prepared once for laying over YUV planes: per pixel what it adds
// to luma and how much of the luma below it keeps, the same per 2×2 chroma block. Only pairs of
// rows with anything visible are kept, and in them only the columns that are.
class YuvOverlay {
public:
    explicit YuvOverlay(const cv::Mat& over) {
        const std::vector<RowSpan> spans = opaqueSpans(over);
        for (int by = 0; by + 1 < over.rows; by += 2) {
            const RowSpan a = spans[std::size_t(by)];
            const RowSpan b = spans[std::size_t(by + 1)];
            int begin = std::min(a.end > a.begin ? a.begin : over.cols,
                                 b.end > b.begin ? b.begin : over.cols);
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

    // Lays it over planes of its own size. A clear pixel leaves the one below unchanged.
    void blend(YuvPlanes& dst) const {
        for (const Row& r : m_rows) {
            const int n = r.end - r.begin;
            for (int k = 0; k < 2; ++k)
                blendLuma(&m_lumaAdd[r.luma + std::size_t(k * n)],
                          &m_lumaKeep[r.luma + std::size_t(k * n)],
                          dst.y.ptr<std::uint8_t>(r.y + k) + r.begin, n);
            const std::size_t c = r.chroma;
            blendChroma(&m_blueAdd[c], &m_chromaKeep[c],
                        dst.u.ptr<std::uint8_t>(r.y / 2) + r.begin / 2, n / 2);
            blendChroma(&m_redAdd[c], &m_chromaKeep[c],
                        dst.v.ptr<std::uint8_t>(r.y / 2) + r.begin / 2, n / 2);
        }
    }

private:
    // 16-bit throughout (y · keep ≤ 65025), so the loop vectorises.
    static void blendLuma(const std::uint8_t* __restrict add, const std::uint8_t* __restrict keep,
                          std::uint8_t* __restrict y, int n) {
        for (int x = 0; x < n; ++x) {
            std::uint16_t t = std::uint16_t(std::uint16_t(y[x] * keep[x]) + 128);
            t = std::uint16_t((t + (t >> 8)) >> 8);
            const std::uint16_t v = std::uint16_t(add[x] + t);
            y[x] = std::uint8_t(v > 255 ? 255 : v);
        }
    }
    static void blendChroma(const std::int16_t* __restrict add,
                            const std::uint16_t* __restrict keep, std::uint8_t* __restrict c,
                            int n) {
        for (int x = 0; x < n; ++x)
            c[x] = clampByte(add[x] + (c[x] * keep[x] + 510) / 1020);
    }

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

const PixelBuffer* bufferFor(LayerSource source, const CompositeSources& sources) {
    switch (source) {
    case LayerSource::wide:
        return &sources.wide;
    case LayerSource::macro:
        return &sources.macro;
    case LayerSource::overlay:
        return &sources.overlay;
    }
    return nullptr;
}

// The layer's picture, if present and of the size the plan expects.
const PixelBuffer* layerBuffer(const ImageLayer& layer, const CompositeSources& sources) {
    const PixelBuffer* b = bufferFor(layer.source, sources);
    if (!b || b->isNull() || double(b->width()) != layer.sourceSize.width ||
        double(b->height()) != layer.sourceSize.height)
        return nullptr;
    return b;
}

bool isIntegerShift(const AxisTransform& t, long& dx, long& dy) {
    return std::abs(t.sx - 1) < tolerance && std::abs(t.sy - 1) < tolerance &&
           nearInteger(t.tx, dx) && nearInteger(t.ty, dy);
}

AxisTransform shifted(const AxisTransform& t, double dx, double dy) {
    return t.then(AxisTransform::translation(dx, dy));
}

PixelRect evenAligned(const PixelRect& r, int width, int height) {
    const int x0 = r.x & ~1;
    const int y0 = r.y & ~1;
    const int x1 = std::min((r.x + r.width + 1) & ~1, width);
    const int y1 = std::min((r.y + r.height + 1) & ~1, height);
    return {x0, y0, x1 - x0, y1 - y0};
}

} // namespace

PixelRect coveredPixels(const RectD& r, int width, int height) {
    if (r.isEmpty() || width <= 0 || height <= 0)
        return {};
    auto edge = [](double v, int limit) {
        const double e = std::ceil(v - 0.5);
        return int(std::clamp(e, 0.0, double(limit)));
    };
    const int x0 = edge(r.x, width);
    const int x1 = edge(r.maxX(), width);
    const int y0 = edge(r.y, height);
    const int y1 = edge(r.maxY(), height);
    if (x1 <= x0 || y1 <= y0)
        return {};
    return {x0, y0, x1 - x0, y1 - y0};
}

namespace {

// `r` without `hole`: the bands above and below the hole and the strips beside it.
void subtract(const PixelRect& r, const PixelRect& hole, std::vector<PixelRect>& out) {
    const int x0 = std::max(r.x, hole.x);
    const int x1 = std::min(r.x + r.width, hole.x + hole.width);
    const int y0 = std::max(r.y, hole.y);
    const int y1 = std::min(r.y + r.height, hole.y + hole.height);
    if (x1 <= x0 || y1 <= y0) {
        out.push_back(r);
        return;
    }
    auto add = [&](int x, int y, int w, int h) {
        if (w > 0 && h > 0)
            out.push_back({x, y, w, h});
    };
    add(r.x, r.y, r.width, y0 - r.y);
    add(r.x, y1, r.width, r.y + r.height - y1);
    add(r.x, y0, x0 - r.x, y1 - y0);
    add(x1, y0, r.x + r.width - x1, y1 - y0);
}

bool isOpaque(const ImageLayer& layer) {
    return layer.source != LayerSource::overlay;
}

// The pixels of camera layer `index` that no camera layer above it hides: only those are
// drawn.
std::vector<PixelRect> visiblePieces(const CompositePlan& plan, std::size_t index,
                                     const CompositeSources& sources, int width, int height) {
    auto pixels = [&](const ImageLayer& layer) {
        return coveredPixels(layer.extent(), width, height);
    };
    std::vector<PixelRect> pieces;
    const PixelRect all = pixels(plan.layers[index]);
    if (all.isEmpty())
        return pieces;
    pieces.push_back(all);
    for (std::size_t above = index + 1; above < plan.layers.size(); ++above) {
        const ImageLayer& layer = plan.layers[above];
        if (!isOpaque(layer) || !layerBuffer(layer, sources))
            continue;
        const PixelRect hole = pixels(layer);
        if (hole.isEmpty())
            continue;
        std::vector<PixelRect> rest;
        for (const PixelRect& piece : pieces)
            subtract(piece, hole, rest);
        pieces.swap(rest);
    }
    return pieces;
}

} // namespace

struct CompositeRenderer::Caches {
    // Spans of the last overlay laid over unscaled, which is the same for a whole recording.
    PixelBuffer spansOf;
    std::vector<RowSpan> overlaySpans;
    cv::Mat scratchBgra;
    cv::Mat scratchI420;
    cv::Mat scratchI420Part;
    BilinearResampler resampler;

    // The last overlay prepared for YUV output, likewise.
    PixelBuffer yuvOverlayOf;
    std::optional<YuvOverlay> yuvOverlay;

    const YuvOverlay& yuvOverlayFor(const PixelBuffer& overlay) {
        if (!yuvOverlay || !overlay.sharesPixelsWith(yuvOverlayOf) ||
            overlay.width() != yuvOverlayOf.width() || overlay.height() != yuvOverlayOf.height()) {
            yuvOverlayOf = overlay;
            yuvOverlay.emplace(matOf(overlay));
        }
        return *yuvOverlay;
    }

    const std::vector<RowSpan>& spansFor(const PixelBuffer& overlay) {
        if (!overlay.sharesPixelsWith(spansOf) || overlay.width() != spansOf.width() ||
            overlay.height() != spansOf.height()) {
            spansOf = overlay;
            overlaySpans = opaqueSpans(matOf(overlay));
        }
        return overlaySpans;
    }

    cv::Mat& bgra(int width, int height) {
        scratchBgra.create(height, width, CV_8UC4);
        return scratchBgra;
    }

    // An opaque camera picture placed by `t` into `area` (even-aligned) of the YUV planes.
    void drawCameraYuv(const cv::Mat& src, const AxisTransform& t, const PixelRect& area,
                       YuvPlanes& out) {
        // Convert at whichever resolution is smaller: the source part the layer
        // samples, or the layer's area on the canvas.
        const double sxa = (area.x - t.tx) / t.sx, sxb = (area.x + area.width - t.tx) / t.sx;
        const double sya = (area.y - t.ty) / t.sy, syb = (area.y + area.height - t.ty) / t.sy;
        const PixelRect needed =
            evenAligned(coveredPixels(RectD{std::min(sxa, sxb) - 1.5, std::min(sya, syb) - 1.5,
                                            std::abs(sxb - sxa) + 3, std::abs(syb - sya) + 3},
                                      src.cols, src.rows),
                        src.cols, src.rows);
        const bool sourceFirst =
            !needed.isEmpty() && needed.width % 2 == 0 && needed.height % 2 == 0 &&
            double(needed.width) * needed.height <= 2.0 * double(area.width) * area.height;
        if (sourceFirst) {
            scratchI420.create(needed.height * 3 / 2, needed.width, CV_8UC1);
            YuvPlanes in = planesOfI420(scratchI420, needed.width, needed.height);
            bt709::fromBgra(src(cvRect(needed)), in.y, in.u, in.v);
            drawLayer(in.y, out.y,
                      shifted(AxisTransform{t.sx, t.sy, 0, 0}, t.sx * needed.x + t.tx,
                              t.sy * needed.y + t.ty),
                      area, resampler);
            const AxisTransform half{t.sx, t.sy, (t.sx * needed.x + t.tx) / 2,
                                     (t.sy * needed.y + t.ty) / 2};
            const PixelRect chroma{area.x / 2, area.y / 2, area.width / 2, area.height / 2};
            drawLayer(in.u, out.u, half, chroma, resampler);
            drawLayer(in.v, out.v, half, chroma, resampler);
        } else {
            cv::Mat& part = bgra(area.width, area.height);
            drawLayer(src, part, shifted(t, -area.x, -area.y), {0, 0, area.width, area.height},
                      resampler);
            scratchI420Part.create(area.height * 3 / 2, area.width, CV_8UC1);
            YuvPlanes in = planesOfI420(scratchI420Part, area.width, area.height);
            bt709::fromBgra(part, in.y, in.u, in.v);
            in.y.copyTo(out.y(cvRect(area)));
            const cv::Rect chroma(area.x / 2, area.y / 2, area.width / 2, area.height / 2);
            in.u.copyTo(out.u(chroma));
            in.v.copyTo(out.v(chroma));
        }
    }

    // Like drawCameraYuv, over what is already in the planes, for exactly the pixels `exact`
    // (any position): luma outside it stays, and a chroma block it shares mixes both by how
    // many of its four pixels each covers.
    void drawCameraYuvOver(const cv::Mat& src, const AxisTransform& t, const PixelRect& exact,
                           YuvPlanes& out) {
        const PixelRect grown = evenAligned(exact, out.y.cols, out.y.rows);
        if (grown.x == exact.x && grown.y == exact.y && grown.width == exact.width &&
            grown.height == exact.height) {
            drawCameraYuv(src, t, grown, out);
            return;
        }
        const cv::Rect chroma(grown.x / 2, grown.y / 2, grown.width / 2, grown.height / 2);
        out.y(cvRect(grown)).copyTo(belowY);
        out.u(chroma).copyTo(belowU);
        out.v(chroma).copyTo(belowV);
        drawCameraYuv(src, t, grown, out);
        auto inside = [&](int x, int y) {
            return x >= exact.x && x < exact.x + exact.width && y >= exact.y &&
                   y < exact.y + exact.height;
        };
        for (int by = 0; by < chroma.height; ++by) {
            const bool edgeRow = by == 0 || by == chroma.height - 1;
            const int step = edgeRow || chroma.width < 2 ? 1 : chroma.width - 1;
            for (int bx = 0; bx < chroma.width; bx += step) {
                int covered = 0;
                for (int k = 0; k < 4; ++k) {
                    const int x = grown.x + 2 * bx + (k & 1);
                    const int y = grown.y + 2 * by + (k >> 1);
                    if (inside(x, y))
                        ++covered;
                    else
                        out.y.at<std::uint8_t>(y, x) =
                            belowY.at<std::uint8_t>(y - grown.y, x - grown.x);
                }
                if (covered == 4)
                    continue;
                auto mix = [&](std::uint8_t& drawn, std::uint8_t below) {
                    drawn = std::uint8_t((drawn * covered + below * (4 - covered) + 2) / 4);
                };
                mix(out.u.at<std::uint8_t>(chroma.y + by, chroma.x + bx),
                    belowU.at<std::uint8_t>(by, bx));
                mix(out.v.at<std::uint8_t>(chroma.y + by, chroma.x + bx),
                    belowV.at<std::uint8_t>(by, bx));
            }
        }
    }

    cv::Mat belowY, belowU, belowV; // what lay under a picture drawn over others
};

namespace {

// The canvas pixels the bottom camera picture covers; empty when there is none to draw.
PixelRect bottomLayerCover(const CompositePlan& plan, const CompositeSources& sources, int W,
                           int H) {
    if (plan.layers.empty() || plan.layers.front().source == LayerSource::overlay ||
        !layerBuffer(plan.layers.front(), sources))
        return {};
    return coveredPixels(plan.layers.front().extent(), W, H);
}

} // namespace

CompositeRenderer::CompositeRenderer() : m_caches(std::make_unique<Caches>()) {
}
CompositeRenderer::~CompositeRenderer() = default;

bool CompositeRenderer::render(const CompositePlan& plan, const CompositeSources& sources,
                               const PixelBuffer& canvas) {
    if (canvas.isNull())
        return false;
    cv::Mat out = matOf(canvas);
    const int W = canvas.width();
    const int H = canvas.height();

    // Black wherever the bottom layer does not reach.
    const PixelRect base = bottomLayerCover(plan, sources, W, H);
    const cv::Scalar black(0, 0, 0, 255);
    if (base.isEmpty()) {
        out.setTo(black);
    } else {
        out(cv::Rect(0, 0, W, base.y)).setTo(black);
        out(cv::Rect(0, base.y + base.height, W, H - base.y - base.height)).setTo(black);
        out(cv::Rect(0, base.y, base.x, base.height)).setTo(black);
        out(cv::Rect(base.x + base.width, base.y, W - base.x - base.width, base.height))
            .setTo(black);
    }

    for (std::size_t index = 0; index < plan.layers.size(); ++index) {
        const ImageLayer& layer = plan.layers[index];
        const PixelBuffer* buffer = layerBuffer(layer, sources);
        if (!buffer)
            continue;
        const cv::Mat src = matOf(*buffer);
        if (isOpaque(layer)) {
            for (const PixelRect& piece : visiblePieces(plan, index, sources, W, H))
                drawLayer(src, out, layer.transform, piece, m_caches->resampler);
            continue;
        }
        const PixelRect rect = coveredPixels(layer.extent(), W, H);
        if (rect.isEmpty())
            continue;
        cv::Mat target = out(cvRect(rect));
        long dx = 0, dy = 0;
        if (isIntegerShift(layer.transform, dx, dy)) {
            const cv::Mat part =
                src(cv::Rect(int(rect.x - dx), int(rect.y - dy), rect.width, rect.height));
            const std::vector<RowSpan>& all = m_caches->spansFor(*buffer);
            std::vector<RowSpan> spans(std::size_t(rect.height));
            for (int y = 0; y < rect.height; ++y) {
                const RowSpan s = all[std::size_t(y + rect.y - dy)];
                const int offset = int(rect.x - dx);
                spans[std::size_t(y)] = {std::max(s.begin - offset, 0),
                                         std::min(s.end - offset, rect.width)};
            }
            blendBgra(part, spans, target);
        } else {
            cv::Mat& scaled = m_caches->bgra(rect.width, rect.height);
            drawLayer(src, scaled, shifted(layer.transform, -rect.x, -rect.y),
                      {0, 0, rect.width, rect.height}, m_caches->resampler);
            blendBgra(scaled, opaqueSpans(scaled), target);
        }
    }
    return true;
}

bool CompositeRenderer::renderYuv420(const CompositePlan& plan, const CompositeSources& sources,
                                     const Yuv420Buffer& canvas) {
    if (canvas.isNull())
        return false;
    YuvPlanes out = matsOf(canvas);
    const int W = canvas.width();
    const int H = canvas.height();

    const PixelRect base = bottomLayerCover(plan, sources, W, H);
    if (base.x != 0 || base.y != 0 || base.width != W || base.height != H) {
        out.y.setTo(16);
        out.u.setTo(128);
        out.v.setTo(128);
    }

    for (std::size_t index = 0; index < plan.layers.size(); ++index) {
        const ImageLayer& layer = plan.layers[index];
        const PixelBuffer* buffer = layerBuffer(layer, sources);
        if (!buffer)
            continue;
        const cv::Mat src = matOf(*buffer);
        if (isOpaque(layer)) {
            // Planes are drawn in whole 2×2 chroma blocks. The bottom picture may spill a pixel
            // into a hole, which the picture above covers; a picture over others keeps to its
            // exact pixels.
            for (const PixelRect& piece : visiblePieces(plan, index, sources, W, H)) {
                if (index == 0)
                    m_caches->drawCameraYuv(src, layer.transform, evenAligned(piece, W, H), out);
                else
                    m_caches->drawCameraYuvOver(src, layer.transform, piece, out);
            }
            continue;
        }
        const PixelRect rect = coveredPixels(layer.extent(), W, H);
        if (rect.isEmpty())
            continue;
        long dx = 0, dy = 0;
        const bool shift = isIntegerShift(layer.transform, dx, dy);
        const bool whole = rect.x == 0 && rect.y == 0 && rect.width == W && rect.height == H;
        if (shift && dx == 0 && dy == 0 && whole && buffer->width() == W && buffer->height() == H) {
            // The recording's case: the watermark made at canvas size, prepared once.
            m_caches->yuvOverlayFor(*buffer).blend(out);
        } else if (shift) {
            const cv::Mat part =
                src(cv::Rect(int(rect.x - dx), int(rect.y - dy), rect.width, rect.height));
            const std::vector<RowSpan>& all = m_caches->spansFor(*buffer);
            std::vector<RowSpan> spans(std::size_t(rect.height));
            const int offset = int(rect.x - dx);
            for (int y = 0; y < rect.height; ++y) {
                const RowSpan s = all[std::size_t(y + rect.y - dy)];
                spans[std::size_t(y)] = {std::max(s.begin - offset, 0),
                                         std::min(s.end - offset, rect.width)};
            }
            blendYuv(part, spans, rect, out);
        } else {
            cv::Mat& scaled = m_caches->bgra(rect.width, rect.height);
            drawLayer(src, scaled, shifted(layer.transform, -rect.x, -rect.y),
                      {0, 0, rect.width, rect.height}, m_caches->resampler);
            blendYuv(scaled, opaqueSpans(scaled), rect, out);
        }
    }
    return true;
}

PixelBuffer CompositeRenderer::renderImage(const CompositePlan& plan,
                                           const CompositeSources& sources) {
    const double w = std::round(plan.size.width);
    const double h = std::round(plan.size.height);
    if (!(w >= 1 && h >= 1 && w <= 16384 && h <= 16384))
        return {};
    PixelBuffer canvas = PixelBuffer::allocate(int(w), int(h));
    if (!render(plan, sources, canvas))
        return {};
    return canvas;
}
