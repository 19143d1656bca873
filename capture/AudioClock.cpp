#include "capture/AudioClock.h"

#include <algorithm>

AudioClock::AudioClock(int sampleRate, MediaTime tolerance)
    : m_sampleRate(std::max(sampleRate, 1)), m_tolerance(tolerance) {
}

MediaTime AudioClock::samplesTime(std::int64_t samples) const {
    return samplesDuration(samples, m_sampleRate);
}

MediaTime AudioClock::place(std::int64_t frames, MediaTime arrival) {
    // Where the capture clock puts the buffer's first sample: its last one arrived just now.
    const MediaTime measured = arrival - samplesTime(frames);
    if (!m_started) {
        m_started = true;
        m_anchor = measured;
        m_samples = 0;
        m_windowStart = arrival;
        m_windowEmpty = true;
    }
    MediaTime placed = m_anchor + samplesTime(m_samples);
    const MediaTime lateness = measured - placed;
    if (lateness < MediaTime::zero()) {
        // Handed over before the count says it was recorded: the time line began too late.
        m_anchor += lateness;
        placed = measured;
    } else {
        m_leastLate = m_windowEmpty ? lateness : std::min(m_leastLate, lateness);
        m_windowEmpty = false;
    }
    if (arrival - m_windowStart >= std::chrono::seconds(1)) {
        if (!m_windowEmpty && m_leastLate > m_tolerance) {
            // Every buffer of the last second came late: samples were lost on the way.
            m_anchor += m_leastLate;
            placed += m_leastLate;
        }
        m_windowStart = arrival;
        m_windowEmpty = true;
    }
    m_samples += frames;
    return placed;
}
