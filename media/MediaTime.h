#pragma once

#include <chrono>
#include <cstdint>

// Presentation time of a frame or audio buffer on the capture clock (monotonic).
using MediaTime = std::chrono::nanoseconds;

// Now on the capture clock, which cameras and microphones stamp their data with.
inline MediaTime captureClockNow() {
    return std::chrono::duration_cast<MediaTime>(
        std::chrono::steady_clock::now().time_since_epoch());
}

inline double mediaSeconds(MediaTime t) {
    return std::chrono::duration<double>(t).count();
}
inline MediaTime mediaTimeFromSeconds(double seconds) {
    return std::chrono::duration_cast<MediaTime>(std::chrono::duration<double>(seconds));
}

// How long `samples` last at `rate` per second, in whole nanoseconds (truncated toward zero, as
// samples × 10⁹ / rate). Whole seconds and the rest are scaled apart: the product itself leaves
// 64 bits after about 53 hours of sound at 48 kHz, which a capture left running reaches.
inline MediaTime samplesDuration(std::int64_t samples, int rate) {
    const std::int64_t rest = samples % rate;
    return std::chrono::seconds(samples / rate) + MediaTime(rest * 1'000'000'000 / rate);
}
// The whole samples at `rate` per second that fit in `duration` (truncated toward zero, as
// duration × rate / 10⁹), scaled apart in the same way.
inline std::int64_t samplesIn(MediaTime duration, int rate) {
    const std::int64_t nanos = duration.count();
    return nanos / 1'000'000'000 * rate + nanos % 1'000'000'000 * rate / 1'000'000'000;
}
