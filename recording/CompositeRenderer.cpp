// The BGRA output of CompositeRenderer (photos, screenshots); the YUV one is in
// CompositeRendererYuv.cpp.

#include "recording/CompositeRenderer.h"

#include "recording/CompositeRendererCaches.h"
#include "recording/CompositeRendererRaster.h"

#include <opencv2/core.hpp>

#include <cmath>
#include <vector>

using namespace compositing;

namespace {

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

} // namespace

CompositeRenderer::CompositeRenderer() : m_caches(std::make_unique<Caches>()) {
}
CompositeRenderer::~CompositeRenderer() = default;

void CompositeRenderer::releaseCaches() {
    m_caches = std::make_unique<Caches>();
}

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

    forEachPresentLayer(
        plan, sources, [&](std::size_t index, const ImageLayer& layer, const PixelBuffer& buffer) {
            if (isOpaque(layer)) {
                const cv::Mat src = matOf(buffer);
                for (const PixelRect& piece : visiblePieces(plan, index, sources, W, H))
                    drawLayer(src, out, layer.transform, piece, m_caches->resampler);
                return;
            }
            const PixelRect rect = coveredPixels(layer.extent(), W, H);
            if (rect.isEmpty())
                return;
            cv::Mat target = out(cvRect(rect));
            const Caches::OverlayPart part = m_caches->overlayPart(buffer, layer.transform, rect);
            blendBgra(part.pixels, part.spans, target);
        });
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
