#pragma once

#include "capture/CaptureInput.h"

#include <cstdint>
#include <optional>
#include <vector>

class V4l2Fd;

// One picture size a camera offers in one pixel format, with its frame rates.
struct V4l2FormatOption {
    std::uint32_t pixelFormat = 0;
    int width = 0;
    int height = 0;
    std::vector<double> framesPerSecond; // empty when the device does not list them
    friend bool operator==(const V4l2FormatOption&, const V4l2FormatOption&) = default;
};

struct V4l2StreamFormat {
    std::uint32_t pixelFormat = 0;
    int width = 0;
    int height = 0;
    int framesPerSecond = 0; // 0: leave the device's rate
    friend bool operator==(const V4l2StreamFormat&, const V4l2StreamFormat&) = default;
};

// Every discrete size and rate of the formats the decoder handles (MJPEG, YUYV).
std::vector<V4l2FormatOption> listFormats(const V4l2Fd& device);

// The format for a preset: MJPEG at the largest 16:9 size up to 1920 x 1080 that runs at
// 30 frames per second, else YUYV the same way, then ever looser choices. `deviceDefault`
// keeps `current` when it is one of the two formats.
std::optional<V4l2StreamFormat> chooseFormat(const std::vector<V4l2FormatOption>& options,
                                             SessionPreset preset,
                                             std::optional<V4l2StreamFormat> current = {});

// Modes that need less USB bandwidth than `failed`, to try in this order when the bus has no
// room for it (ENOSPC at stream start): MJPEG before YUYV, then ever smaller pictures.
std::vector<V4l2StreamFormat> bandwidthFallbacks(const std::vector<V4l2FormatOption>& options,
                                                 const V4l2StreamFormat& failed);
