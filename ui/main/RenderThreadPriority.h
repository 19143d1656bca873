#pragma once

#include "runtime/ThreadPriority.h"

// The live pictures are a preview: the scene graph's render thread and the software
// rasteriser's worker threads ("llvmpipe-N", Mesa without a GPU) yield to the encoder.
namespace renderPriority {

// Nice value given to the render threads.
inline constexpr int renderNice = yieldingNice;

// `renderNice`, or $OSTREL_RENDER_NICE when set (0 leaves the threads alone; for comparisons).
int chosenNice();

// Call on the render thread. Lowers the calling thread (unless it is the GUI thread) and every
// rasteriser worker of the process, once per process; later calls do nothing.
void lowerOnce();

} // namespace renderPriority
