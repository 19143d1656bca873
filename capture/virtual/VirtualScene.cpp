#include "capture/virtual/VirtualScene.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

namespace VirtualScene {
namespace {

constexpr int textureWidth = 2304; // room for a 1920 x 1080 window plus its movement
constexpr int textureHeight = 1440;

struct Texture {
    std::vector<std::uint32_t> pixels; // BGRA as little-endian words
    int width = textureWidth;
    int height = textureHeight;

    cv::Mat asMat() const {
        return cv::Mat(height, width, CV_8UC4, const_cast<std::uint32_t*>(pixels.data()));
    }
};

// A small deterministic generator so the scene is the same on every run.
struct Lcg {
    std::uint32_t state;
    std::uint32_t next() {
        state = state * 1664525u + 1013904223u;
        return state >> 8;
    }
    int range(int lo, int hi) { return lo + int(next() % std::uint32_t(hi - lo + 1)); }
};

std::uint32_t bgra(int r, int g, int b) {
    auto clamp = [](int v) { return std::uint32_t(std::clamp(v, 0, 255)); };
    return clamp(b) | clamp(g) << 8 | clamp(r) << 16 | 0xFF000000u;
}

// Discs of many sizes and colours on a gradient with fine grain: detail at every scale, so the
// picture is easy to register and its movement easy to see. Softened at the end, as a lens
// does, so that no detail is finer than interpolation between pixels can follow.
Texture makeTexture(std::uint32_t seed, int discs, int minRadius, int maxRadius, int tint) {
    Texture texture;
    texture.pixels.resize(std::size_t(texture.width) * std::size_t(texture.height));
    for (int y = 0; y < texture.height; ++y)
        for (int x = 0; x < texture.width; ++x)
            texture.pixels[std::size_t(y) * std::size_t(texture.width) + std::size_t(x)] =
                bgra(90 + tint + x * 60 / texture.width, 80 + y * 70 / texture.height,
                     110 - tint + (x + y) * 40 / (texture.width + texture.height));
    Lcg random{seed};
    for (int i = 0; i < discs; ++i) {
        const int cx = random.range(0, texture.width - 1);
        const int cy = random.range(0, texture.height - 1);
        const int radius = random.range(minRadius, maxRadius);
        const std::uint32_t colour =
            bgra(random.range(20, 250), random.range(20, 250), random.range(20, 250));
        for (int y = std::max(0, cy - radius); y <= std::min(texture.height - 1, cy + radius); ++y)
            for (int x = std::max(0, cx - radius); x <= std::min(texture.width - 1, cx + radius);
                 ++x)
                if ((x - cx) * (x - cx) + (y - cy) * (y - cy) <= radius * radius)
                    texture.pixels[std::size_t(y) * std::size_t(texture.width) + std::size_t(x)] =
                        colour;
    }
    for (std::uint32_t& pixel : texture.pixels) {
        const int grain = int(random.next() % 17u) - 8;
        const int b = int(pixel & 0xFF) + grain;
        const int g = int(pixel >> 8 & 0xFF) + grain;
        const int r = int(pixel >> 16 & 0xFF) + grain;
        pixel = bgra(r, g, b);
    }
    cv::Mat pixels = texture.asMat();
    cv::GaussianBlur(pixels, pixels, cv::Size(), 0.8, 0.8, cv::BORDER_REFLECT);
    return texture;
}

const Texture& texture(Motion motion) {
    static const Texture pan = makeTexture(0x05u, 1800, 6, 60, 20);
    static const Texture shake = makeTexture(0x2Au, 6000, 2, 24, -20);
    return motion == Motion::pan ? pan : shake;
}

double seconds(std::int64_t frameIndex) {
    return double(frameIndex) / framesPerSecond;
}

} // namespace

QPoint tremor(std::int64_t frameIndex) {
    constexpr double tau = 2 * std::numbers::pi;
    const double t = seconds(frameIndex);
    const double x = 7.0 * std::sin(tau * 4.3 * t) + 3.0 * std::sin(tau * 7.1 * t + 1.0);
    const double y = 6.0 * std::sin(tau * 3.7 * t + 0.5) + 2.5 * std::sin(tau * 9.0 * t + 2.0);
    return {int(std::lround(x)), int(std::lround(y))};
}

QPoint offset(Motion motion, std::int64_t frameIndex) {
    constexpr double tau = 2 * std::numbers::pi;
    const double t = seconds(frameIndex);
    if (motion == Motion::pan)
        return {int(std::lround(120.0 * std::sin(tau * t / 8.0))),
                int(std::lround(60.0 * std::sin(tau * t / 11.0)))};
    const QPoint drift(int(std::lround(40.0 * std::sin(tau * t / 10.0))),
                       int(std::lround(25.0 * std::sin(tau * t / 13.0))));
    return drift + tremor(frameIndex);
}

void render(Motion motion, std::int64_t frameIndex, const PixelBuffer& into) {
    if (into.isNull())
        return;
    const Texture& source = texture(motion);
    const QPoint at = offset(motion, frameIndex);
    // Centre the window on the texture at rest; wrap around for windows larger than the texture.
    auto wrap = [](int v, int size) { return ((v % size) + size) % size; };
    const int x0 = wrap((source.width - into.width()) / 2 + at.x(), source.width);
    const int y0 = wrap((source.height - into.height()) / 2 + at.y(), source.height);
    for (int y = 0; y < into.height(); ++y) {
        const std::uint32_t* sourceRow =
            source.pixels.data() +
            std::size_t(wrap(y0 + y, source.height)) * std::size_t(source.width);
        auto* target = reinterpret_cast<std::uint32_t*>(into.row(y));
        int done = 0;
        int x = x0;
        while (done < into.width()) {
            const int run = std::min(into.width() - done, source.width - x);
            std::memcpy(target + done, sourceRow + x, std::size_t(run) * 4);
            done += run;
            x = 0;
        }
    }
}

void renderAt(Motion motion, QPointF camera, const PixelBuffer& into) {
    if (into.isNull())
        return;
    const Texture& source = texture(motion);
    cv::Mat out(into.height(), into.width(), CV_8UC4, into.data(), std::size_t(into.stride()));
    // The same rest position as `render`, so whole-pixel positions agree.
    const double x0 = (source.width - into.width()) / 2 + camera.x();
    const double y0 = (source.height - into.height()) / 2 + camera.y();
    const cv::Matx23d move(1, 0, x0, 0, 1, y0);
    cv::warpAffine(source.asMat(), out, move, out.size(), cv::INTER_CUBIC | cv::WARP_INVERSE_MAP,
                   cv::BORDER_REFLECT);
}

void prepare() {
    texture(Motion::pan);
    texture(Motion::tremor);
}

} // namespace VirtualScene
