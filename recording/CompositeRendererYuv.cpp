// The YUV 4:2:0 output of CompositeRenderer, the one recordings use.

#include "recording/CompositeRenderer.h"

#include "recording/Bt709Yuv.h"
#include "recording/CompositeRendererCaches.h"
#include "recording/CompositeRendererPlanes.h"
#include "recording/CompositeRendererRaster.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace compositing;

void CompositeRenderer::Caches::drawCameraYuv(const cv::Mat& src, const AxisTransform& t,
                                              const PixelRect& area, YuvPlanes& out) {
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

void CompositeRenderer::Caches::drawCameraYuvOver(const cv::Mat& src, const AxisTransform& t,
                                                  const PixelRect& exact, YuvPlanes& out) {
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

    forEachPresentLayer(
        plan, sources, [&](std::size_t index, const ImageLayer& layer, const PixelBuffer& buffer) {
            if (isOpaque(layer)) {
                const cv::Mat src = matOf(buffer);
                // Planes are drawn in whole 2×2 chroma blocks. The bottom picture may spill a pixel
                // into a hole, which the picture above covers; a picture over others keeps to its
                // exact pixels.
                for (const PixelRect& piece : visiblePieces(plan, index, sources, W, H)) {
                    if (index == 0)
                        m_caches->drawCameraYuv(src, layer.transform, evenAligned(piece, W, H),
                                                out);
                    else
                        m_caches->drawCameraYuvOver(src, layer.transform, piece, out);
                }
                return;
            }
            const PixelRect rect = coveredPixels(layer.extent(), W, H);
            if (rect.isEmpty())
                return;
            long dx = 0, dy = 0;
            const bool whole = rect.x == 0 && rect.y == 0 && rect.width == W && rect.height == H;
            if (isIntegerShift(layer.transform, dx, dy) && dx == 0 && dy == 0 && whole &&
                buffer.width() == W && buffer.height() == H) {
                // The recording's case: the watermark made at canvas size, prepared once.
                m_caches->yuvOverlayFor(buffer).blend(out);
                return;
            }
            const Caches::OverlayPart part = m_caches->overlayPart(buffer, layer.transform, rect);
            blendYuv(part.pixels, part.spans, rect, out);
        });
    return true;
}
