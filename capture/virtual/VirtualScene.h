#pragma once

#include "media/PixelBuffer.h"

#include <QPoint>
#include <QPointF>

#include <cstdint>

// The synthetic picture of the virtual cameras, the tests and the benchmarks: a precomputed
// texture per camera, of which each frame shows a window moved by an offset, so making a frame
// is only copying rows. The texture is soft like an optical picture, so a window at a sub-pixel
// position can be rendered exactly enough to measure motion to a few hundredths of a pixel.
namespace VirtualScene {

enum class Motion {
    pan,    // a slow sweep, like a head turning over the working field
    tremor, // a slow drift plus the quick shake of a head-worn camera
};

inline constexpr int framesPerSecond = 30;

// The window's offset at a frame, in whole pixels, relative to its rest position.
QPoint offset(Motion motion, std::int64_t frameIndex);

// The quick shake alone (without the drift), the ground truth a stabiliser should remove.
QPoint tremor(std::int64_t frameIndex);

// Fills `into` (any size) with the camera's picture at that frame.
void render(Motion motion, std::int64_t frameIndex, const PixelBuffer& into);

// Fills `into` with the texture seen from a camera moved by `camera` pixels from the rest
// position (moving right moves the content left), between pixels by bicubic interpolation.
// At whole pixels it matches `render` at the same offset.
void renderAt(Motion motion, QPointF camera, const PixelBuffer& into);

// Builds both textures now rather than at the first frame.
void prepare();

} // namespace VirtualScene
