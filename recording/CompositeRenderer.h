#pragma once

// Executes a CompositePlan on the CPU in one pass into a caller's canvas: bilinear, exact
// mirrors and whole-pixel shifts copied, exact scales by cv::resize, fractional crops (the
// Macro inset) by a separable fixed-point resampler. A camera layer draws only the pixels no
// camera layer above it hides, so the Wide picture under the inset costs nothing.
//
// How to call it (one renderer per recording or per photo job; it keeps small caches and is
// not thread-safe, so use it on one queue):
//
//     CompositeRenderer renderer;
//     // inputs.canvas = 1920×1080 or 2560×1440
//     const CompositePlan plan = composeFrame(inputs);
//     const CompositeSources sources{wide, macro, overlay}; // macro and overlay may be null
//
//   BGRA (photos, screenshots): a PixelBuffer of the canvas size, e.g. from
//   PixelBufferPool(1920, 1080). Every pixel is written, alpha 255.
//     renderer.render(plan, sources, canvas);
//
//   Encoder (recording): planar YUV 4:2:0 (AV_PIX_FMT_YUV420P, three planes, even canvas
//   size), BT.709 coefficients, limited ("MPEG"/TV) range: tag the stream
//   AVCOL_SPC_BT709 / AVCOL_PRI_BT709 / AVCOL_TRC_BT709 / AVCOL_RANGE_MPEG. Every layer lands
//   on its exact pixels, as in the BGRA output, also at odd positions.
//     Yuv420Buffer yuv = Yuv420Buffer::allocate(1920, 1080); // or from a Yuv420Pool
//     renderer.renderYuv420(plan, sources, yuv);
//   Use this for recording: writing YUV directly costs less than BGRA plus a conversion
//   (camera pictures are converted at the smaller of source and canvas resolution and scaled
//   as planes), and the watermark is prepared for YUV once, as long as the same overlay
//   buffer is passed frame after frame (a changed watermark comes as a new buffer).
//   bench/composite_bench prints all three.
//
// The sources' sizes must match the sizes the plan was made with; a layer whose source is
// missing or of another size is left out. Pixels of the canvas outside the plan are black.

#include "media/PixelBuffer.h"
#include "recording/CompositeLayout.h"
#include "recording/Yuv420Buffer.h"

#include <memory>

struct CompositeSources {
    PixelBuffer wide;
    PixelBuffer macro;   // may be null
    PixelBuffer overlay; // premultiplied BGRA, may be null
};

class CompositeRenderer {
public:
    CompositeRenderer();
    ~CompositeRenderer();
    CompositeRenderer(const CompositeRenderer&) = delete;
    CompositeRenderer& operator=(const CompositeRenderer&) = delete;

    // Returns false (and writes nothing) when the canvas is null.
    bool render(const CompositePlan& plan, const CompositeSources& sources,
                const PixelBuffer& canvas);
    // Returns false (and writes nothing) when the buffer is null.
    bool renderYuv420(const CompositePlan& plan, const CompositeSources& sources,
                      const Yuv420Buffer& canvas);

    // A new BGRA canvas of the plan's size (rounded), rendered; null for an empty plan.
    PixelBuffer renderImage(const CompositePlan& plan, const CompositeSources& sources);

    // Drops what it keeps between frames (the prepared watermark, scratch images), e.g. while
    // no recording runs; the next frame prepares them again.
    void releaseCaches();

private:
    struct Caches;
    std::unique_ptr<Caches> m_caches;
};

// Pixel rows and columns whose centres lie inside `r`, clipped to (0, 0, width, height):
// the pixels a layer with that extent covers. Empty (width or height 0) when none.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool isEmpty() const { return width <= 0 || height <= 0; }
};
PixelRect coveredPixels(const RectD& r, int width, int height);
