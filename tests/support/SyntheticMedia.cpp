#include "support/SyntheticMedia.h"

#include "capture/virtual/VirtualScene.h"

#include <cmath>
#include <cstring>
#include <numbers>

namespace synthetic {

cv::Mat asMat(const PixelBuffer& buffer) {
    return cv::Mat(buffer.height(), buffer.width(), CV_8UC4, buffer.data(),
                   std::size_t(buffer.stride()));
}

PixelBuffer sceneAt(int width, int height, double cameraX, double cameraY) {
    PixelBuffer frame = PixelBuffer::allocate(width, height);
    VirtualScene::renderAt(VirtualScene::Motion::tremor, QPointF(cameraX, cameraY), frame);
    return frame;
}

void addSensorNoise(const PixelBuffer& frame, cv::RNG& rng) {
    // Drawing millions of normal samples per frame is slow; rows take their noise from a
    // random place in one large table instead.
    static const cv::Mat table = [] {
        cv::Mat t(1, 1 << 21, CV_32F);
        cv::RNG tableRng(12345);
        tableRng.fill(t, cv::RNG::NORMAL, 0.0, 1.0);
        return t;
    }();
    float sigma[256];
    for (int level = 0; level < 256; ++level)
        sigma[level] = std::sqrt(4.0f + 0.04f * float(level));
    cv::Mat pixels = asMat(frame);
    const int rowValues = pixels.cols * 4;
    for (int y = 0; y < pixels.rows; ++y) {
        std::uint8_t* p = pixels.ptr<std::uint8_t>(y);
        const float* n = table.ptr<float>() + rng.uniform(0, table.cols - rowValues);
        for (int x = 0; x < rowValues; x += 4)
            for (int c = 0; c < 3; ++c)
                p[x + c] =
                    cv::saturate_cast<std::uint8_t>(float(p[x + c]) + n[x + c] * sigma[p[x + c]]);
    }
}

void scaleBrightness(const PixelBuffer& frame, double factor) {
    cv::Mat pixels = asMat(frame);
    pixels.convertTo(pixels, CV_8UC4, factor);
    for (int y = 0; y < pixels.rows; ++y)
        for (int x = 0; x < pixels.cols; ++x)
            pixels.at<cv::Vec4b>(y, x)[3] = 255;
}

PixelBuffer flatFrame(int width, int height, std::uint8_t grey) {
    PixelBuffer frame = PixelBuffer::allocate(width, height);
    asMat(frame).setTo(cv::Scalar(grey, grey, grey, 255));
    return frame;
}

PixelBuffer noiseFrame(int width, int height, cv::RNG& rng) {
    PixelBuffer frame = PixelBuffer::allocate(width, height);
    rng.fill(asMat(frame), cv::RNG::UNIFORM, 0, 256);
    return frame;
}

} // namespace synthetic

PixelBuffer syntheticFrame(int width, int height, int index) {
    PixelBuffer frame = PixelBuffer::allocate(width, height);
    VirtualScene::render(VirtualScene::Motion::pan, index, frame);
    cv::RNG rng(std::uint64_t(index) + 1);
    synthetic::addSensorNoise(frame, rng);
    return frame;
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
