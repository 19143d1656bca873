#pragma once

// What a CompositeRenderer keeps between frames: prepared overlays, scratch images and the
// resampler. Shared by its BGRA path (CompositeRenderer.cpp) and YUV path
// (CompositeRendererYuv.cpp); internal to the renderer.

#include "recording/BilinearResampler.h"
#include "recording/CompositeRenderer.h"
#include "recording/CompositeRendererPlanes.h"
#include "recording/CompositeRendererRaster.h"

#include <opencv2/core.hpp>

#include <optional>
#include <vector>

struct CompositeRenderer::Caches {
    // Spans of the last overlay laid over unscaled, which is the same for a whole recording.
    PixelBuffer spansOf;
    std::vector<compositing::RowSpan> overlaySpans;
    cv::Mat scratchBgra;
    cv::Mat scratchI420;
    cv::Mat scratchI420Part;
    BilinearResampler resampler;

    // The last overlay prepared for YUV output, likewise.
    PixelBuffer yuvOverlayOf;
    std::optional<compositing::YuvOverlay> yuvOverlay;

    const compositing::YuvOverlay& yuvOverlayFor(const PixelBuffer& overlay) {
        if (!yuvOverlay || !overlay.sharesPixelsWith(yuvOverlayOf) ||
            overlay.width() != yuvOverlayOf.width() || overlay.height() != yuvOverlayOf.height()) {
            yuvOverlayOf = overlay;
            yuvOverlay.emplace(compositing::matOf(overlay));
        }
        return *yuvOverlay;
    }

    const std::vector<compositing::RowSpan>& spansFor(const PixelBuffer& overlay) {
        if (!overlay.sharesPixelsWith(spansOf) || overlay.width() != spansOf.width() ||
            overlay.height() != spansOf.height()) {
            spansOf = overlay;
            overlaySpans = compositing::opaqueSpans(compositing::matOf(overlay));
        }
        return overlaySpans;
    }

    cv::Mat& bgra(int width, int height) {
        scratchBgra.create(height, width, CV_8UC4);
        return scratchBgra;
    }

    // The pixels of an overlay placed by `t` that land on `rect`, at rect's size, with their
    // spans: a view into the overlay for a whole-pixel shift, else scaled into scratch.
    struct OverlayPart {
        cv::Mat pixels;
        std::vector<compositing::RowSpan> spans;
    };
    OverlayPart overlayPart(const PixelBuffer& overlay, const AxisTransform& t,
                            const PixelRect& rect) {
        const cv::Mat src = compositing::matOf(overlay);
        long dx = 0, dy = 0;
        if (compositing::isIntegerShift(t, dx, dy))
            return {src(cv::Rect(int(rect.x - dx), int(rect.y - dy), rect.width, rect.height)),
                    compositing::spansOfPart(spansFor(overlay), rect, dx, dy)};
        cv::Mat& scaled = bgra(rect.width, rect.height);
        compositing::drawLayer(src, scaled, compositing::shifted(t, -rect.x, -rect.y),
                               {0, 0, rect.width, rect.height}, resampler);
        return {scaled, compositing::opaqueSpans(scaled)};
    }

    // An opaque camera picture placed by `t` into `area` (even-aligned) of the YUV planes.
    void drawCameraYuv(const cv::Mat& src, const AxisTransform& t, const PixelRect& area,
                       compositing::YuvPlanes& out);

    // Like drawCameraYuv, over what is already in the planes, for exactly the pixels `exact`
    // (any position): luma outside it stays, and a chroma block it shares mixes both by how
    // many of its four pixels each covers.
    void drawCameraYuvOver(const cv::Mat& src, const AxisTransform& t, const PixelRect& exact,
                           compositing::YuvPlanes& out);

    cv::Mat belowY, belowU, belowV; // what lay under a picture drawn over others
};
