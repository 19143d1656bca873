#pragma once

#include "media/AudioBuffer.h"
#include "media/MediaTime.h"
#include "media/PixelBuffer.h"

#include <functional>

// What an output hands its delegate: a BGRA picture or a buffer of audio, with the
// presentation time on the capture clock.
struct SampleBuffer {
    MediaTime pts{0};
    PixelBuffer image; // null for audio
    AudioBuffer audio; // empty for video

    bool isAudio() const { return audio.bytes != nullptr; }
};

// A camera frame on its way to the outputs. The picture is made by `render` on the delivery
// queue (decoding is the expensive part, so it happens only for frames that are delivered);
// a null picture means the frame was corrupt and is dropped.
struct VideoSample {
    MediaTime pts{0};
    std::function<PixelBuffer()> render;
};

// The fourcc of the only pixel format outputs deliver: 'B','G','R','A'.
inline constexpr unsigned pixelFormatBGRA = 0x42475241u;
