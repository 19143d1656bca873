#pragma once

#include <chrono>

// Presentation time of a frame or audio buffer on the capture clock (monotonic).
using MediaTime = std::chrono::nanoseconds;

inline double mediaSeconds(MediaTime t) {
    return std::chrono::duration<double>(t).count();
}
inline MediaTime mediaTimeFromSeconds(double seconds) {
    return std::chrono::duration_cast<MediaTime>(std::chrono::duration<double>(seconds));
}
