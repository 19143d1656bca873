#pragma once

// The C library's heap, where it matters for a process that runs for days and records again
// and again (glibc; elsewhere these do nothing).
//
// glibc gives threads separate heaps ("arenas"), up to eight per core, and keeps what is freed
// in them for reuse. Every recording starts new encoder threads, which land in other arenas
// each time, so the buffers of one recording after another pile up as free but resident memory
// in all of them.

// Caps the process at `heapArenas` arenas. Call it first thing in main, before any thread
// starts. Threads then share heaps, so what one recording's encoder threads free is found again
// by the next recording's; malloc's lock is rarely contended for it, as small blocks come from
// per-thread caches and the large ones (frames) from pools.
inline constexpr int heapArenas = 2;
void limitHeapArenas();

// Hands the free pages of every arena back to the system. Costs a walk over the heaps: call it
// when idle, e.g. after a recording has ended.
void releaseFreeHeapPages();
