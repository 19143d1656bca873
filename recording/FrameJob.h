#pragma once

#include "media/MediaTime.h"
#include "media/PixelBuffer.h"
#include "recording/CompositeLayout.h"

#include <optional>

// The inputs of one composite frame of a recording: a Wide frame, the Macro frame that was
// newest when it arrived, and how the inset is to be cut and placed.
struct FrameJob {
    PixelBuffer wide;
    PixelBuffer macro; // null while the Macro camera has delivered nothing
    double macroFraction = defaultMacroFraction;
    double macroZoom = 1.0; // 1.0 without a Macro frame
    PointD macroOffset;     // (0, 0) without a Macro frame
    MediaTime pts{0};       // capture time of the Wide frame
};

// The layout inputs of a job on a canvas, with an optional overlay of the given size.
inline CompositeInputs compositeInputs(const FrameJob& job, SizeD canvas,
                                       std::optional<SizeD> overlay) {
    CompositeInputs inputs;
    inputs.wide = SizeD{double(job.wide.width()), double(job.wide.height())};
    if (!job.macro.isNull())
        inputs.macro = SizeD{double(job.macro.width()), double(job.macro.height())};
    inputs.canvas = canvas;
    inputs.macroFraction = job.macroFraction;
    inputs.macroZoom = job.macroZoom;
    inputs.macroOffset = job.macroOffset;
    inputs.overlay = overlay;
    return inputs;
}
