#include "capture/SilenceSource.h"

#include <chrono>
#include <vector>

namespace {

constexpr std::int64_t nanosPerSecond = 1'000'000'000;

} // namespace

MediaTime SilenceSource::captureClockNow() {
    return std::chrono::duration_cast<MediaTime>(
        std::chrono::steady_clock::now().time_since_epoch());
}

MediaTime SilenceSource::end() const {
    // In whole seconds and the rest, so that a long gap cannot overflow.
    return m_start + MediaTime(m_samples / sampleRate * nanosPerSecond +
                               m_samples % sampleRate * nanosPerSecond / sampleRate);
}

std::optional<AudioBuffer> SilenceSource::until(MediaTime now) {
    // Counted from the start, not from the last buffer, so rounding never adds up.
    const std::int64_t nanos = (now - m_start).count();
    const std::int64_t total =
        nanos / nanosPerSecond * sampleRate + nanos % nanosPerSecond * sampleRate / nanosPerSecond;
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
