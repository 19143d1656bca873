#pragma once

// The C library's heap, where it matters for a process that runs for days and records again
// and again (glibc; elsewhere these do nothing).
//
// glibc gives threads separate heaps ("arenas"), up to eight per core, and keeps what is freed
// in them for reuse. Every recording starts new encoder threads, which land in other arenas
// each time, so the buffers of one recording after another pile up as free but resident memory
// in all of them.

// Hands the free pages of every arena back to the system. Costs a walk over the heaps: call it
// when idle, e.g. after a recording has ended.
void releaseFreeHeapPages();
