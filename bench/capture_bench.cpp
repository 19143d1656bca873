// Per-frame cost of the capture path on one thread: MJPEG decode of 1920 x 1080 camera frames to
// BGRA (target: at most 5 ms median), for a clean stream and for one with the quirks of UVC
// cameras, through the app's decoder (TurboJPEG) and, for comparison, libavcodec's MJPEG decoder
// with a swscale conversion; how many frames of the quirky corpus each keeps; YUYV conversion;
// the virtual camera's frame generation (target: under 1 ms median). Prints the figures.
#include "capture/v4l2/FrameDecoder.h"
#include "capture/virtual/VirtualScene.h"
#include "recording/ffmpeg/FfmpegPtr.h"
#include "support/QuirkyMjpeg.h"

#include <linux/videodev2.h>

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
        step(i);
        ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    }
    std::printf("%-48s median %6.3f ms  p90 %6.3f ms  (%d frames)\n", name, percentile(ms, 0.5),
                percentile(ms, 0.9), rounds);
}

// libavcodec's MJPEG decoder on one thread, then swscale to BGRA: the alternative to TurboJPEG.
class AvMjpegDecoder {
public:
    AvMjpegDecoder() {
        av_log_set_level(AV_LOG_QUIET); // it reports every quirk on stderr
        const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_MJPEG);
        m_context.reset(avcodec_alloc_context3(codec));
        m_context->thread_count = 1;
        avcodec_open2(m_context.get(), codec, nullptr);
    }

    PixelBuffer decode(const QuirkyMjpeg::Bytes& bytes) {
        // FFmpeg reads up to the padding size past the end of a packet.
        m_input.assign(bytes.begin(), bytes.end());
        m_input.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
        m_packet->data = m_input.data();
        m_packet->size = int(bytes.size());
        if (avcodec_send_packet(m_context.get(), m_packet.get()) < 0 ||
            avcodec_receive_frame(m_context.get(), m_frame.get()) < 0)
            return {};
        const AVFrame& f = *m_frame;
        m_scale.reset(sws_getCachedContext(m_scale.release(), f.width, f.height,
                                           AVPixelFormat(f.format), f.width, f.height,
                                           AV_PIX_FMT_BGRA, SWS_POINT, nullptr, nullptr, nullptr));
        PixelBuffer out = PixelBuffer::allocate(f.width, f.height);
        uint8_t* planes[1] = {out.data()};
        const int strides[1] = {out.stride()};
        sws_scale(m_scale.get(), f.data, f.linesize, 0, f.height, planes, strides);
        av_frame_unref(m_frame.get());
        return out;
    }

private:
    ffmpeg::CodecContextPtr m_context;
    ffmpeg::PacketPtr m_packet = ffmpeg::makePacket();
    ffmpeg::FramePtr m_frame = ffmpeg::makeFrame();
    ffmpeg::SwsPtr m_scale;
    std::vector<uint8_t> m_input;
};

// How many corpus frames a decoder keeps, and how many of them are the frame's own picture.
void keptOfCorpus(const char* name, const std::vector<QuirkyMjpeg::Frame>& corpus,
                  const std::function<PixelBuffer(const QuirkyMjpeg::Bytes&)>& decode) {
    int kept = 0;
    int right = 0;
    int shouldKeep = 0;
    for (const QuirkyMjpeg::Frame& frame : corpus) {
        shouldKeep += bool(frame.expected);
        const PixelBuffer picture = decode(frame.bytes);
        kept += bool(picture);
        right +=
            picture && frame.expected && QuirkyMjpeg::meanDifference(picture, frame.expected) < 3.0;
    }
    std::printf("%-48s keeps %d of %zu frames, %d of them right (%d should be kept)\n", name, kept,
                corpus.size(), right, shouldKeep);
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

} // namespace

int main() {
    constexpr int width = 1920;
    constexpr int height = 1080;
    VirtualScene::prepare();

    const std::vector<QuirkyMjpeg::Frame> corpus =
        QuirkyMjpeg::corpus(cameraLikePicture(width, height), cameraLikePicture(1280, 720));
    const QuirkyMjpeg::Bytes& clean = corpus.front().bytes;
    PixelBuffer scene = PixelBuffer::allocate(width, height);
    VirtualScene::render(VirtualScene::Motion::tremor, 0, scene);
    // Per-pixel grain: a worst case for the decoder.
    const auto grainy = QuirkyMjpeg::encode(scene, QuirkyMjpeg::Sampling::s422);
    std::printf("clean JPEG %zu bytes, virtual-scene JPEG %zu bytes, quirky corpus %zu frames\n",
                clean.size(), grainy.size(), corpus.size());

    FrameDecoder turbo(V4L2_PIX_FMT_MJPEG, width, height);
    const auto viaTurbo = [&](const QuirkyMjpeg::Bytes& b) {
        return turbo.decode(b.data(), b.size());
    };
    AvMjpegDecoder av;
    const auto viaAv = [&](const QuirkyMjpeg::Bytes& b) { return av.decode(b); };
    const auto quirky = [&](int i) -> const QuirkyMjpeg::Bytes& {
        return corpus[std::size_t(i) % corpus.size()].bytes;
    };

    measure("MJPEG 1080p clean, TurboJPEG (target <= 5 ms)", 300,
            [&](int) { return bool(viaTurbo(clean)); });
    measure("MJPEG 1080p quirky, TurboJPEG", 330, [&](int i) { return bool(viaTurbo(quirky(i))); });
    measure("MJPEG 1080p grainy scene, TurboJPEG", 100,
            [&](int) { return bool(viaTurbo(grainy)); });
    measure("MJPEG 1080p clean, libavcodec + swscale", 300,
            [&](int) { return bool(viaAv(clean)); });
    measure("MJPEG 1080p quirky, libavcodec + swscale", 330,
            [&](int i) { return bool(viaAv(quirky(i))); });
    keptOfCorpus("quirky corpus, TurboJPEG", corpus, viaTurbo);
    keptOfCorpus("quirky corpus, libavcodec", corpus, viaAv);

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
