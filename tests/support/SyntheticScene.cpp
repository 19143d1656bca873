#include "support/SyntheticScene.h"

#include <opencv2/imgproc.hpp>

#include <cmath>

namespace synthetic {

namespace {

cv::Mat normalisedNoise(int width, int height, double sigma, cv::RNG& rng) {
    cv::Mat noise(height, width, CV_32FC3);
    rng.fill(noise, cv::RNG::NORMAL, 0.0, 1.0);
    cv::Mat blurred;
    cv::GaussianBlur(noise, blurred, cv::Size(), sigma, sigma, cv::BORDER_REFLECT);
    cv::Scalar mean, deviation;
    cv::meanStdDev(blurred.reshape(1), mean, deviation);
    return blurred * (1.0 / std::max(deviation[0], 1e-6));
}

} // namespace

cv::Mat asMat(const PixelBuffer& buffer) {
    return cv::Mat(buffer.height(), buffer.width(), CV_8UC4, buffer.data(),
                   std::size_t(buffer.stride()));
}

cv::Mat makeScene(int width, int height, std::uint32_t seed) {
    cv::RNG rng(seed);
    cv::Mat scene = normalisedNoise(width, height, 1.3, rng) * 28.0 +
                    normalisedNoise(width, height, 10.0, rng) * 40.0;
    scene += cv::Scalar(120, 115, 110);
    const int shapes = width * height / 15000;
    for (int i = 0; i < shapes; ++i) {
        const cv::Point centre(rng.uniform(0, width), rng.uniform(0, height));
        const cv::Scalar colour(rng.uniform(20, 235), rng.uniform(20, 235), rng.uniform(20, 235));
        const int size = rng.uniform(4, 40);
        if (i % 3 == 0)
            cv::rectangle(scene, cv::Rect(centre.x, centre.y, size, size * 2 / 3), colour,
                          cv::FILLED, cv::LINE_AA);
        else if (i % 3 == 1)
            cv::circle(scene, centre, size / 2, colour, cv::FILLED, cv::LINE_AA);
        else
            cv::line(scene, centre, centre + cv::Point(size, rng.uniform(-size, size)), colour, 2,
                     cv::LINE_AA);
    }
    // Soften the hard shape edges so the scene stays band-limited like an optical picture.
    cv::GaussianBlur(scene, scene, cv::Size(), 0.8, 0.8, cv::BORDER_REFLECT);
    cv::Mat bgr;
    scene.convertTo(bgr, CV_8UC3);
    cv::Mat bgra;
    cv::cvtColor(bgr, bgra, cv::COLOR_BGR2BGRA);
    return bgra;
}

PixelBuffer renderFrame(const cv::Mat& scene, int width, int height, double cameraX,
                        double cameraY) {
    PixelBuffer frame = PixelBuffer::allocate(width, height);
    cv::Mat out = asMat(frame);
    const double x0 = (scene.cols - width) / 2.0 + cameraX;
    const double y0 = (scene.rows - height) / 2.0 + cameraY;
    const cv::Matx23d move(1, 0, x0, 0, 1, y0);
    cv::warpAffine(scene, out, move, out.size(), cv::INTER_CUBIC | cv::WARP_INVERSE_MAP,
                   cv::BORDER_REFLECT);
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
