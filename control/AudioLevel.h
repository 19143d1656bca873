#pragma once

#include "media/AudioBuffer.h"

#include <optional>

// The microphone level of one buffer in dB (floor −140 dB), over all channels alike; none for
// formats other than 32-bit float and 16-bit integer, or without data.
std::optional<float> audioLevelDB(const AudioBuffer& buffer);

// The meter's next value in 0…1: −50 dB and below read 0, 0 dB reads 1, halfway smoothing.
float smoothedAudioLevel(float previous, float dB);
