#pragma once

// A recording's frames are permanent; the live preview and photos can wait a moment. Threads
// doing such work get a lower scheduling priority than the encoder, so that under CPU pressure
// they slow down instead of the recording dropping frames. With CPU to spare nothing changes.

// Nice value of work that yields to the encoder (0 is normal; higher yields more).
inline constexpr int yieldingNice = 5;

// Lowers the thread `tid` to `nice`. Never raises a priority (that needs privileges), so a
// thread lowered once stays so.
void lowerThreadPriority(int tid, int nice);

// The same for the calling thread.
void lowerCurrentThreadPriority(int nice);
