#pragma once

// Pictures and sound made up for recording tests: detailed enough that the encoder has to
// spend its bit rate, and different in every frame.
#include "media/AudioBuffer.h"
#include "media/PixelBuffer.h"

// A moving pattern with fine noise; `index` selects the frame.
PixelBuffer syntheticFrame(int width, int height, int index);

// A 440 Hz tone of `frames` samples in the given format, starting at `pts`.
AudioBuffer syntheticTone(const AudioFormat& format, MediaTime pts, int frames);
