#include "control/AudioLevel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

std::optional<float> audioLevelDB(const AudioBuffer& buffer) {
    if (!buffer.bytes)
        return std::nullopt;
    const std::uint8_t* data = buffer.bytes->data();
    const std::size_t n = buffer.bytes->size();
    if (data == nullptr || n < 1)
        return std::nullopt;

    double sum = 0;
    std::size_t count = 0;
    if (buffer.format.isFloat) {
        if (buffer.format.bitsPerChannel != 32 || n < 4)
            return std::nullopt;
        count = n / 4;
        for (std::size_t i = 0; i < count; ++i) {
            float sample;
            std::memcpy(&sample, data + i * 4, 4);
            sum += double(sample) * double(sample);
        }
    } else if (buffer.format.bitsPerChannel == 32) {
        // Signed 32-bit integers, as some USB microphones deliver.
        if (n < 4)
            return std::nullopt;
        count = n / 4;
        for (std::size_t i = 0; i < count; ++i) {
            std::int32_t raw;
            std::memcpy(&raw, data + i * 4, 4);
            const double sample = double(raw) / 2147483648.0;
            sum += sample * sample;
        }
    } else {
        if (buffer.format.bitsPerChannel != 16 || n == 1)
            return std::nullopt;
        count = n / 2;
        for (std::size_t i = 0; i < count; ++i) {
            std::int16_t raw;
            std::memcpy(&raw, data + i * 2, 2);
            const double sample = double(float(raw) * 3.0517578125e-5f);
            sum += sample * sample;
        }
    }
    const double rms = std::sqrt(sum / double(count));
    return float(20.0 * std::log10(std::max(rms, 1e-7)));
}

float smoothedAudioLevel(float previous, float dB) {
    float norm = (dB + 50.0f) / 50.0f;
    if (!(norm >= 0.0f)) // also NaN
        norm = 0.0f;
    if (norm >= 1.0f)
        norm = 1.0f;
    return previous * 0.5f + norm * 0.5f;
}
