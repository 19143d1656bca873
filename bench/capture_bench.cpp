// Per-frame cost of the capture path on one thread: MJPEG decode of a 1920 x 1080 camera frame
// to BGRA (target: under 6 ms median), YUYV conversion of the same size, and the virtual
// camera's frame generation (target: under 1 ms median). Prints the figures.
#include "capture/v4l2/FrameDecoder.h"
#include "capture/virtual/VirtualScene.h"

#include <linux/videodev2.h>
#include <turbojpeg.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace {

double percentile(std::vector<double> values, double p) {
    std::sort(values.begin(), values.end());
    return values[size_t(p * double(values.size() - 1))];
}

void measure(const char* name, int rounds, const std::function<bool(int)>& step) {
    std::vector<double> ms;
    for (int i = 0; i < 10; ++i)
        step(i); // warm caches and pools
    for (int i = 0; i < rounds; ++i) {
        const auto begin = Clock::now();
        if (!step(i)) {
            std::printf("%s: failed\n", name);
            return;
        }
        ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    }
    std::printf("%-44s median %6.3f ms  p90 %6.3f ms  (%d frames)\n", name, percentile(ms, 0.5),
                percentile(ms, 0.9), rounds);
}

// A picture like a camera's: smooth shading, edges and mild sensor noise.
PixelBuffer cameraLikePicture(int width, int height) {
    PixelBuffer picture = PixelBuffer::allocate(width, height);
    unsigned seed = 1;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            seed = seed * 1664525u + 1013904223u;
            const int noise = int(seed >> 29) - 4;
            const int v = int(128 + 60 * std::sin(x * 0.02) * std::cos(y * 0.015) +
                              ((x / 97 + y / 61) % 2) * 40) +
                          noise;
            unsigned char* p = picture.row(y) + x * 4;
            p[0] = (unsigned char)std::clamp(v, 0, 255);
            p[1] = (unsigned char)std::clamp(v + 20, 0, 255);
            p[2] = (unsigned char)std::clamp(v - 30, 0, 255);
            p[3] = 255;
        }
    return picture;
}

// A JPEG as UVC cameras send it (quality 85, 4:2:2).
std::vector<unsigned char> makeJpeg(const PixelBuffer& picture) {
    const int width = picture.width();
    const int height = picture.height();
    tjhandle handle = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    tjCompress2(handle, picture.data(), width, picture.stride(), height, TJPF_BGRA, &jpeg, &size,
                TJSAMP_422, 85, 0);
    std::vector<unsigned char> bytes(jpeg, jpeg + size);
    tjFree(jpeg);
    tjDestroy(handle);
    return bytes;
}

} // namespace

int main() {
    constexpr int width = 1920;
    constexpr int height = 1080;
    VirtualScene::prepare();

    const auto jpeg = makeJpeg(cameraLikePicture(width, height));
    PixelBuffer scene = PixelBuffer::allocate(width, height);
    VirtualScene::render(VirtualScene::Motion::tremor, 0, scene);
    const auto grainy = makeJpeg(scene); // per-pixel grain: a worst case for the decoder
    std::printf("camera-like JPEG %zu bytes, virtual-scene JPEG %zu bytes\n", jpeg.size(),
                grainy.size());
    FrameDecoder mjpeg(V4L2_PIX_FMT_MJPEG, width, height);
    measure("MJPEG 1920x1080 -> BGRA (target < 6 ms)", 300,
            [&](int) { return bool(mjpeg.decode(jpeg.data(), jpeg.size())); });
    measure("MJPEG 1920x1080 grainy scene -> BGRA", 300,
            [&](int) { return bool(mjpeg.decode(grainy.data(), grainy.size())); });

    std::vector<unsigned char> yuyv(std::size_t(width) * height * 2, 128);
    FrameDecoder packed(V4L2_PIX_FMT_YUYV, width, height);
    measure("YUYV 1920x1080 -> BGRA", 300,
            [&](int) { return bool(packed.decode(yuyv.data(), yuyv.size())); });

    PixelBufferPool pool(width, height);
    measure("virtual frame 1920x1080 (target < 1 ms)", 600, [&](int n) {
        PixelBuffer frame = pool.acquire();
        VirtualScene::render(VirtualScene::Motion::tremor, n, frame);
        return bool(frame);
    });
    return 0;
}
