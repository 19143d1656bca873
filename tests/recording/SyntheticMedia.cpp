#include "recording/SyntheticMedia.h"

#include <cmath>
#include <cstring>
#include <numbers>

PixelBuffer syntheticFrame(int width, int height, int index) {
    PixelBuffer buffer = PixelBuffer::allocate(width, height);
    std::uint32_t seed = 2463534242u + std::uint32_t(index) * 747796405u;
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = buffer.row(y);
        for (int x = 0; x < width; ++x) {
            seed ^= seed << 13;
            seed ^= seed >> 17;
            seed ^= seed << 5;
            const int noise = int(seed & 63);
            row[4 * x + 0] = std::uint8_t((x + 4 * index) & 255) ^ std::uint8_t(noise);
            row[4 * x + 1] = std::uint8_t((y + 2 * index) & 255) ^ std::uint8_t(noise);
            row[4 * x + 2] = std::uint8_t(((x ^ y) + index) & 255);
            row[4 * x + 3] = 255;
        }
    }
    return buffer;
}

AudioBuffer syntheticTone(const AudioFormat& format, MediaTime pts, int frames) {
    auto bytes = std::make_shared<std::vector<std::uint8_t>>(std::size_t(frames) *
                                                             std::size_t(format.bytesPerFrame()));
    std::uint8_t* out = bytes->data();
    const int sampleBytes = format.bitsPerChannel / 8;
    const double start = mediaSeconds(pts);
    for (int i = 0; i < frames; ++i) {
        const double t = start + double(i) / format.sampleRate;
        const double v = 0.5 * std::sin(2 * std::numbers::pi * 440.0 * t);
        for (int c = 0; c < format.channels; ++c, out += sampleBytes) {
            if (format.isFloat) {
                const float f = float(v);
                std::memcpy(out, &f, 4);
            } else if (sampleBytes == 2) {
                const std::int16_t s = std::int16_t(v * 32767);
                std::memcpy(out, &s, 2);
            } else {
                const std::int32_t s = std::int32_t(v * 2147483647.0);
                std::memcpy(out, &s, 4);
            }
        }
    }
    return AudioBuffer{format, pts, std::move(bytes)};
}
