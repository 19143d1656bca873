#pragma once

#include "media/AudioBuffer.h"
#include "media/PixelBuffer.h"

#include <opencv2/core.hpp>

#include <cstdint>

// Camera pictures and sound for tests and benchmarks. The pictures are the virtual cameras'
// scene; what is added here only changes a picture (noise, exposure) or is no scene at all.
namespace synthetic {

// A width × height view of the Macro camera's scene from a camera at (cameraX, cameraY) pixels
// from the rest position, sub-pixel positions included.
PixelBuffer sceneAt(int width, int height, double cameraX, double cameraY);

// Read noise of about 2 levels plus shot noise growing with brightness (about 3.5 levels at 200).
void addSensorNoise(const PixelBuffer& frame, cv::RNG& rng);

// Scales every colour channel (a sudden change of exposure).
void scaleBrightness(const PixelBuffer& frame, double factor);

PixelBuffer flatFrame(int width, int height, std::uint8_t grey);
PixelBuffer noiseFrame(int width, int height, cv::RNG& rng);

// A view of the buffer's pixels as a BGRA matrix (shares the memory).
cv::Mat asMat(const PixelBuffer& buffer);

} // namespace synthetic

// The Wide camera's frame `index` with sensor noise: detailed and different in every frame, so
// that an encoder has to spend its bit rate.
PixelBuffer syntheticFrame(int width, int height, int index);

// A 440 Hz tone of `frames` samples in the given format, starting at `pts`.
AudioBuffer syntheticTone(const AudioFormat& format, MediaTime pts, int frames);
