#pragma once

#include "media/AudioBuffer.h"

#include <cstdint>
#include <optional>

// Silence in place of a lost microphone's sound in a running recording: buffers that go on
// from where the last one ended up to a given time, so that the recording keeps one sound
// track in step with the picture while the microphone is gone.
class SilenceSource {
public:
    // Mono float, at the recording's own rate: nothing to convert.
    static constexpr int sampleRate = 44100;

    // The first buffer begins at `start` (capture clock).
    explicit SilenceSource(MediaTime start) : m_start(start) {}

    // Silence from the end of the last buffer up to `now`; none when not a whole sample more.
    std::optional<AudioBuffer> until(MediaTime now);
    // Where the next buffer begins.
    MediaTime end() const;

private:
    MediaTime m_start;
    std::int64_t m_samples = 0; // handed out since `m_start`
};
