#pragma once

// Pixel work that both outputs of CompositeRenderer share (BGRA and YUV): OpenCV views of the
// buffers, drawing one camera layer, the opaque spans of an overlay, and which pixels of each
// layer show. Internal to the renderer.

#include "media/PixelBuffer.h"
#include "recording/BilinearResampler.h"
#include "recording/CompositeLayout.h"
#include "recording/CompositeRenderer.h"

#include <opencv2/core.hpp>

#include <cstddef>
#include <vector>

namespace compositing {

cv::Mat matOf(const PixelBuffer& b);
PlaneView viewOf(const cv::Mat& m);
cv::Rect cvRect(const PixelRect& r);

// Fills `rect` of `dst` from `src` placed by `t` (source pixel coordinates → destination
// coordinates), bilinear. Mirrors and exact scales use flip/resize; anything else (fractional
// crops) the separable resampler.
void drawLayer(const cv::Mat& src, cv::Mat& dst, const AxisTransform& t, const PixelRect& rect,
               BilinearResampler& resampler);

inline int div255(int x) {
    x += 128;
    return (x + (x >> 8)) >> 8;
}

// Columns [begin, end) of each row that hold any non-transparent pixel.
struct RowSpan {
    int begin = 0;
    int end = 0;
};

std::vector<RowSpan> opaqueSpans(const cv::Mat& bgra);
// The spans of the part of an overlay that lands on `rect` when the overlay is shifted by
// (dx, dy), relative to `rect`; `all` are the spans of the whole overlay.
std::vector<RowSpan> spansOfPart(const std::vector<RowSpan>& all, const PixelRect& rect, long dx,
                                 long dy);

// The layer's picture, if present and of the size the plan expects.
const PixelBuffer* layerBuffer(const ImageLayer& layer, const CompositeSources& sources);
bool isIntegerShift(const AxisTransform& t, long& dx, long& dy);
AxisTransform shifted(const AxisTransform& t, double dx, double dy);
PixelRect evenAligned(const PixelRect& r, int width, int height);
bool isOpaque(const ImageLayer& layer);

// Calls `draw(index, layer, picture)` for each layer whose picture is present, bottom to top.
template <typename Draw>
void forEachPresentLayer(const CompositePlan& plan, const CompositeSources& sources, Draw&& draw) {
    for (std::size_t index = 0; index < plan.layers.size(); ++index)
        if (const PixelBuffer* buffer = layerBuffer(plan.layers[index], sources))
            draw(index, plan.layers[index], *buffer);
}

// The pixels of camera layer `index` that no camera layer above it hides: only those are
// drawn.
std::vector<PixelRect> visiblePieces(const CompositePlan& plan, std::size_t index,
                                     const CompositeSources& sources, int width, int height);

// The canvas pixels the bottom camera picture covers; empty when there is none to draw.
PixelRect bottomLayerCover(const CompositePlan& plan, const CompositeSources& sources, int W,
                           int H);

} // namespace compositing
