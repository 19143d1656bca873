#pragma once

#include "media/MediaTime.h"

#include <cstdint>

// Places microphone buffers in time by the device's own timing: the samples it delivered.
// The first buffer is put where the capture clock says its samples began; every later one
// follows the samples before it, so a buffer handed over late or bunched with others (a busy
// machine) keeps its place and the sound neither judders nor drifts from the picture.
// The capture clock still corrects the time line: a buffer that cannot have begun as late as
// the count says moves it earlier at once, and when every buffer of a second came later than
// the count says by more than `tolerance` (the device dropped samples) it moves later.
class AudioClock {
public:
    explicit AudioClock(int sampleRate, MediaTime tolerance = std::chrono::milliseconds(100));

    // The time of the first sample of a buffer of `frames` samples handed over at `arrival`.
    MediaTime place(std::int64_t frames, MediaTime arrival);

private:
    MediaTime samplesTime(std::int64_t samples) const;

    int m_sampleRate;
    MediaTime m_tolerance;
    bool m_started = false;
    MediaTime m_anchor{0};      // when sample 0 of the time line was captured
    std::int64_t m_samples = 0; // samples placed since the anchor
    MediaTime m_windowStart{0};
    MediaTime m_leastLate{0}; // smallest lateness in the current second
    bool m_windowEmpty = true;
};
