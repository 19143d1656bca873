#pragma once

#include "media/PixelBuffer.h"

#include <opencv2/core.hpp>

#include <cstdint>

// Procedural camera pictures for the imaging tests and benchmarks: a textured scene and frames
// cut from it at sub-pixel camera positions, with sensor-like noise.
namespace synthetic {

// A BGRA scene: band-limited noise at a fine and a coarse scale with soft-edged shapes on top.
cv::Mat makeScene(int width, int height, std::uint32_t seed);

// A width × height frame whose pixel p shows the scene at p + centre offset + camera: moving the
// camera right by c moves the content left by c. Bicubic, so sub-pixel positions are exact to
// a few hundredths of a pixel on this band-limited scene.
PixelBuffer renderFrame(const cv::Mat& scene, int width, int height, double cameraX,
                        double cameraY);

// Read noise of about 2 levels plus shot noise growing with brightness (about 3.5 levels at 200).
void addSensorNoise(const PixelBuffer& frame, cv::RNG& rng);

// Scales every colour channel (a sudden change of exposure).
void scaleBrightness(const PixelBuffer& frame, double factor);

PixelBuffer flatFrame(int width, int height, std::uint8_t grey);
PixelBuffer noiseFrame(int width, int height, cv::RNG& rng);

// A view of the buffer's pixels as a BGRA matrix (shares the memory).
cv::Mat asMat(const PixelBuffer& buffer);

} // namespace synthetic
