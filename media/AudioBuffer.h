#pragma once

#include "media/MediaTime.h"

#include <cstdint>
#include <memory>
#include <vector>

// How a microphone delivers its samples (interleaved).
struct AudioFormat {
    bool isFloat = false; // float samples, else signed integers
    int bitsPerChannel = 16;
    int channels = 1;
    int sampleRate = 44100;

    int bytesPerFrame() const { return channels * bitsPerChannel / 8; }
    bool isValid() const {
        return channels > 0 && sampleRate > 0 &&
               (isFloat ? bitsPerChannel == 32 : (bitsPerChannel == 16 || bitsPerChannel == 32));
    }
    friend bool operator==(const AudioFormat&, const AudioFormat&) = default;
};

// One buffer of interleaved audio with the presentation time of its first sample.
struct AudioBuffer {
    AudioFormat format;
    MediaTime pts{0};
    std::shared_ptr<const std::vector<std::uint8_t>> bytes;

    int frameCount() const {
        const int perFrame = format.bytesPerFrame();
        return bytes && perFrame > 0 ? int(bytes->size() / std::size_t(perFrame)) : 0;
    }
};
