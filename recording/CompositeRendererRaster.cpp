#include "recording/CompositeRendererRaster.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>

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

} // namespace

namespace compositing {

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

std::vector<RowSpan> spansOfPart(const std::vector<RowSpan>& all, const PixelRect& rect, long dx,
                                 long dy) {
    std::vector<RowSpan> spans(std::size_t(rect.height));
    const int offset = int(rect.x - dx);
    for (int y = 0; y < rect.height; ++y) {
        const RowSpan s = all[std::size_t(y + rect.y - dy)];
        spans[std::size_t(y)] = {std::max(s.begin - offset, 0),
                                 std::min(s.end - offset, rect.width)};
    }
    return spans;
}

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

bool isOpaque(const ImageLayer& layer) {
    return layer.source != LayerSource::overlay;
}

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

PixelRect bottomLayerCover(const CompositePlan& plan, const CompositeSources& sources, int W,
                           int H) {
    if (plan.layers.empty() || plan.layers.front().source == LayerSource::overlay ||
        !layerBuffer(plan.layers.front(), sources))
        return {};
    return coveredPixels(plan.layers.front().extent(), W, H);
}

} // namespace compositing

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
