#pragma once

// The live pictures are a preview; a recording's frames are permanent. The scene graph's render
// thread and the software rasteriser's worker threads ("llvmpipe-N", Mesa without a GPU) get a
// lower scheduling priority than the encoder, so that under CPU pressure the preview slows down
// instead of the recording dropping frames. With CPU to spare nothing changes.
namespace renderPriority {

// Nice value given to the render threads (0 is normal; higher yields more).
inline constexpr int renderNice = 5;

// `renderNice`, or $OSTREL_RENDER_NICE when set (0 leaves the threads alone; for comparisons).
int chosenNice();

// Call on the render thread. Lowers the calling thread (unless it is the GUI thread) and every
// rasteriser worker of the process, once per process; later calls do nothing.
void lowerOnce();

} // namespace renderPriority
