#pragma once

#include "recording/CompositeLayout.h"

#include <optional>

// How a live picture is drawn as one textured rectangle: the part of the view it covers and
// the part of the frame shown there, both axes mirrored for the half turn. The same layout
// operations as the recording make it, so live picture and recording always match.
struct TextureDraw {
    RectD target; // view pixels
    RectD source; // frame pixels
    bool mirrorX = false;
    bool mirrorY = false;
};

// None when the frame or the view has no area, or the crop lies wholly outside the frame.
std::optional<TextureDraw> liveViewDraw(SizeD frame, SizeD view, double zoom, PointD offset);
