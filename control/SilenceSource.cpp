#include "control/SilenceSource.h"

#include <vector>

MediaTime SilenceSource::end() const {
    return m_start + samplesDuration(m_samples, sampleRate);
}

std::optional<AudioBuffer> SilenceSource::until(MediaTime now) {
    // Counted from the start, not from the last buffer, so rounding never adds up.
    const std::int64_t total = samplesIn(now - m_start, sampleRate);
    if (total <= m_samples)
        return std::nullopt;
    AudioBuffer buffer;
    buffer.format = AudioFormat{true, 32, 1, sampleRate};
    buffer.pts = end();
    buffer.bytes =
        std::make_shared<std::vector<std::uint8_t>>(std::size_t(total - m_samples) * sizeof(float));
    m_samples = total;
    return buffer;
}
