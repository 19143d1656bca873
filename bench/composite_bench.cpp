// Per-frame cost of one composite on one core: Wide and Macro 1920 × 1080 in, canvas 1920 × 1080
// and 2560 × 1440 out, inset 0.3 and 0.7, Macro zoom 1.15, with the watermark overlay, up to the
// encoder's pixel format. Compares three ways of getting there (BGRA canvas, BGRA canvas plus
// conversion to YUV 4:2:0, YUV 4:2:0 written directly) and an FFmpeg filter graph doing the same
// work in-process on the same frames (hflip,vflip, crop, scale, overlay ×2 → yuv420p).
// Prints medians in ms; targets: 1080p under 4 ms, 1440p under 7 ms, at most 0.5 of FFmpeg.
#include "recording/CompositeRenderer.h"

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace {

constexpr int warmup = 5;
constexpr int runs = 60;

double medianMs(const std::function<void()>& work) {
    for (int i = 0; i < warmup; ++i)
        work();
    std::vector<double> ms;
    for (int i = 0; i < runs; ++i) {
        const auto start = Clock::now();
        work();
        ms.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
    std::sort(ms.begin(), ms.end());
    return ms[ms.size() / 2];
}

// A textured camera-like picture (gradients and a grid), opaque BGRA.
PixelBuffer cameraPicture(int w, int h, int seed) {
    PixelBuffer b = PixelBuffer::allocate(w, h);
    for (int y = 0; y < h; ++y) {
        std::uint8_t* p = b.row(y);
        for (int x = 0; x < w; ++x) {
            p[4 * x + 0] = std::uint8_t((x * 255 / w + seed * 40) & 255);
            p[4 * x + 1] = std::uint8_t((y * 255 / h) ^ ((x / 32 + y / 32) % 2 ? 60 : 0));
            p[4 * x + 2] = std::uint8_t((x + y + seed * 17) & 255);
            p[4 * x + 3] = 255;
        }
    }
    return b;
}

// Transparent except a watermark-sized, soft-edged block at the lower left and right.
PixelBuffer overlayPicture(int w, int h) {
    PixelBuffer b = PixelBuffer::allocate(w, h);
    for (int y = 0; y < h; ++y)
        std::fill(b.row(y), b.row(y) + 4 * w, 0);
    const int top = h - h * 9 / 100;
    for (int y = top; y < h - h * 3 / 100; ++y) {
        for (int x = w * 3 / 100; x < w * 97 / 100; ++x) {
            if (x > w * 30 / 100 && x < w * 75 / 100)
                continue;
            const std::uint8_t a = std::uint8_t(80 + (x * 7 + y * 3) % 170);
            std::uint8_t* p = b.row(y) + 4 * x;
            p[0] = p[1] = p[2] = std::uint8_t(a * 9 / 10);
            p[3] = a;
        }
    }
    return b;
}

struct GraphDeleter {
    void operator()(AVFilterGraph* g) const { avfilter_graph_free(&g); }
};
struct FrameDeleter {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
using GraphPtr = std::unique_ptr<AVFilterGraph, GraphDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;

FramePtr avFrameOf(const PixelBuffer& b) {
    FramePtr f(av_frame_alloc());
    f->format = AV_PIX_FMT_BGRA;
    f->width = b.width();
    f->height = b.height();
    av_frame_get_buffer(f.get(), 64);
    for (int y = 0; y < b.height(); ++y)
        std::copy(b.row(y), b.row(y) + 4 * b.width(), f->data[0] + y * f->linesize[0]);
    return f;
}

// The same composite as an FFmpeg filter graph, one thread.
class FfmpegComposite {
public:
    FfmpegComposite(const CompositeInputs& in, const RectD& inset, double zoom) {
        graph.reset(avfilter_graph_alloc());
        graph->nb_threads = 1;
        const int W = int(in.canvas.width), H = int(in.canvas.height);
        const int cw = int(1920 / zoom) & ~1, ch = int(1080 / zoom) & ~1;
        char spec[1024];
        std::snprintf(
            spec, sizeof spec,
            "buffer=video_size=1920x1080:pix_fmt=bgra:time_base=1/30:pixel_aspect=1/1[wide];"
            "buffer=video_size=1920x1080:pix_fmt=bgra:time_base=1/30:pixel_aspect=1/1[macro];"
            "buffer=video_size=%dx%d:pix_fmt=bgra:time_base=1/30:pixel_aspect=1/1[wm];"
            "[wide]hflip,vflip,scale=%d:%d:flags=bilinear[bg];"
            "[macro]hflip,vflip,crop=%d:%d:%d:%d,scale=%d:%d:flags=bilinear[in];"
            "[bg][in]overlay=x=%d:y=%d:format=yuv420[c1];"
            "[c1][wm]overlay=x=0:y=0:format=yuv420,format=yuv420p,buffersink",
            W, H, W, H, cw, ch, (1920 - cw) / 2, (1080 - ch) / 2, int(inset.width),
            int(inset.height), int(inset.x), int(inset.y));
        AVFilterInOut* inputs = nullptr;
        AVFilterInOut* outputs = nullptr;
        if (avfilter_graph_parse2(graph.get(), spec, &inputs, &outputs) < 0 ||
            avfilter_graph_config(graph.get(), nullptr) < 0) {
            std::fprintf(stderr, "filter graph failed: %s\n", spec);
            graph.reset();
            return;
        }
        avfilter_inout_free(&inputs);
        avfilter_inout_free(&outputs);
        for (unsigned i = 0; i < graph->nb_filters; ++i) {
            AVFilterContext* f = graph->filters[i];
            if (std::string(f->filter->name) == "buffer")
                sources.push_back(f);
            else if (std::string(f->filter->name) == "buffersink")
                sink = f;
        }
        out.reset(av_frame_alloc());
    }

    bool valid() const { return graph && sources.size() == 3 && sink; }

    void run(AVFrame* wide, AVFrame* macro, AVFrame* overlay) {
        AVFrame* frames[3] = {wide, macro, overlay};
        for (int i = 0; i < 3; ++i) {
            frames[i]->pts = pts;
            if (av_buffersrc_add_frame_flags(sources[std::size_t(i)], frames[i],
                                             AV_BUFFERSRC_FLAG_KEEP_REF) < 0)
                return;
        }
        ++pts;
        if (av_buffersink_get_frame(sink, out.get()) >= 0)
            av_frame_unref(out.get());
    }

private:
    GraphPtr graph;
    std::vector<AVFilterContext*> sources;
    AVFilterContext* sink = nullptr;
    FramePtr out;
    std::int64_t pts = 0;
};

} // namespace

int main() {
    cv::setNumThreads(1); // one core, as on the recording queue
    av_log_set_level(AV_LOG_ERROR);
    const PixelBuffer wide = cameraPicture(1920, 1080, 1);
    const PixelBuffer macro = cameraPicture(1920, 1080, 2);
    const FramePtr wideFrame = avFrameOf(wide);
    const FramePtr macroFrame = avFrameOf(macro);

    std::printf("composite per frame, median of %d, one core (ms)\n", runs);
    std::printf("%-11s %-6s %8s %12s %10s %9s %14s\n", "canvas", "inset", "BGRA", "BGRA+I420",
                "YUV420", "ffmpeg", "YUV420/ffmpeg");
    for (auto [W, H] : {std::pair{1920, 1080}, std::pair{2560, 1440}}) {
        const PixelBuffer overlay = overlayPicture(W, H);
        const FramePtr overlayFrame = avFrameOf(overlay);
        for (double fraction : {0.3, 0.7}) {
            CompositeInputs in;
            in.wide = {1920, 1080};
            in.macro = SizeD{1920, 1080};
            in.canvas = {double(W), double(H)};
            in.macroFraction = fraction;
            in.macroZoom = 1.15;
            in.overlay = SizeD{double(W), double(H)};
            const CompositeSources sources{wide, macro, overlay};
            CompositeRenderer renderer;
            PixelBufferPool pool(W, H);
            Yuv420Buffer yuv = Yuv420Buffer::allocate(W, H);
            cv::Mat i420(H * 3 / 2, W, CV_8UC1);

            const double bgra =
                medianMs([&] { renderer.render(composeFrame(in), sources, pool.acquire()); });
            const double bgraConverted = medianMs([&] {
                const PixelBuffer canvas = pool.acquire();
                renderer.render(composeFrame(in), sources, canvas);
                const cv::Mat m(H, W, CV_8UC4, canvas.data(), std::size_t(canvas.stride()));
                cv::cvtColor(m, i420, cv::COLOR_BGRA2YUV_I420);
            });
            const double direct =
                medianMs([&] { renderer.renderYuv420(composeFrame(in), sources, yuv); });

            FfmpegComposite ffmpeg(in, insetRect(in), in.macroZoom);
            double reference = NAN;
            if (ffmpeg.valid())
                reference = medianMs(
                    [&] { ffmpeg.run(wideFrame.get(), macroFrame.get(), overlayFrame.get()); });
            std::printf("%4d x %-4d  %-6.1f %8.2f %12.2f %10.2f %9.2f %14.2f\n", W, H, fraction,
                        bgra, bgraConverted, direct, reference, direct / reference);
        }
    }
    return 0;
}
