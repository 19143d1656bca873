// A recording fed like the cameras feed it: Wide and Macro frames at 30 fps in real time,
// composed and encoded by the engine. Prints frames written, drops of each kind and CPU
// seconds per recorded second; then has the ffmpeg program encode the same composites with
// the same settings, once read at 30 fps and once flat out, and prints our CPU cost per frame as
// a ratio to its.
//
//   recording_bench [seconds=60] [canvas: 1080|1440|both]
#include "diagnostics/OstrelLog.h"
#include "recording/CompositeRenderer.h"
#include "recording/RecordingEngine.h"
#include "recording/ffmpeg/VideoEncoder.h"
#include "support/SyntheticMedia.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <future>
#include <sys/resource.h>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;

namespace {

constexpr int sourceFrames = 30; // one second of distinct pictures, repeated

double cpuSeconds(int who) {
    rusage usage{};
    getrusage(who, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

FrameJob jobFor(const std::vector<PixelBuffer>& wide, const std::vector<PixelBuffer>& macro,
                int index) {
    FrameJob job;
    job.wide = wide[std::size_t(index % sourceFrames)];
    job.macro = macro[std::size_t(index % sourceFrames)];
    job.macroZoom = 1.15;
    job.macroOffset = PointD{0.01 * (index % 5), -0.01 * (index % 3)};
    return job;
}

struct RunResult {
    int fed = 0;
    RecordingEngine::Counters counters;
    std::vector<int> dropFrames; // index of the fed frame after which each drop was counted
    double wall = 0;
    double cpu = 0;
    qint64 bytes = 0;
};

RunResult recordRealTime(const QString& file, int width, int height, double seconds,
                         const std::vector<PixelBuffer>& wide,
                         const std::vector<PixelBuffer>& macro) {
    RecordingEngine engine;
    RunResult result;
    const double cpuBefore = cpuSeconds(RUSAGE_SELF);
    const Clock::time_point begin = Clock::now();
    if (auto error = engine.start(file, width, height, false, {}, 0.3)) {
        std::fprintf(stderr, "start failed: %s\n", qPrintable(*error));
        return result;
    }
    const int frames = int(seconds * 30);
    const auto interval = std::chrono::nanoseconds(33'333'333);
    // The feeding thread plays the camera: it never waits for the engine.
    std::thread camera([&] {
        int dropped = 0;
        for (int i = 0; i < frames; ++i) {
            std::this_thread::sleep_until(begin + (i + 1) * interval);
            FrameJob job = jobFor(wide, macro, i);
            job.pts = Clock::now().time_since_epoch();
            engine.enqueueFrame(std::move(job));
            const RecordingEngine::Counters now = engine.counters();
            for (int d = dropped; d < now.droppedBusy + now.droppedNotReady; ++d)
                result.dropFrames.push_back(i);
            dropped = now.droppedBusy + now.droppedNotReady;
        }
    });
    camera.join();
    std::promise<void> done;
    engine.stop([&](std::optional<QString>, std::optional<QString> error) {
        if (error)
            std::fprintf(stderr, "stop: %s\n", qPrintable(*error));
        done.set_value();
    });
    done.get_future().wait();
    result.fed = frames;
    result.counters = engine.counters();
    result.wall = std::chrono::duration<double>(Clock::now() - begin).count();
    result.cpu = cpuSeconds(RUSAGE_SELF) - cpuBefore;
    result.bytes = QFileInfo(file).size();
    return result;
}

double threadCpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

// The same composites as raw YUV 4:2:0, one second of them; `renderCpu` receives the CPU
// seconds one composite took on average.
bool writeRawComposites(const QString& path, int width, int height,
                        const std::vector<PixelBuffer>& wide, const std::vector<PixelBuffer>& macro,
                        double& renderCpu) {
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly))
        return false;
    CompositeRenderer renderer;
    Yuv420Buffer yuv = Yuv420Buffer::allocate(width, height);
    renderCpu = 0;
    for (int i = 0; i < sourceFrames; ++i) {
        const FrameJob job = jobFor(wide, macro, i);
        const CompositePlan plan =
            composeFrame(compositeInputs(job, SizeD{double(width), double(height)}, std::nullopt));
        const double before = threadCpuSeconds();
        renderer.renderYuv420(plan, CompositeSources{job.wide, job.macro, {}}, yuv);
        renderCpu += (threadCpuSeconds() - before) / sourceFrames;
        const qint64 bytes = qint64(width) * height * 3 / 2;
        if (out.write(reinterpret_cast<const char*>(yuv.plane(0)), bytes) != bytes)
            return false;
    }
    return true;
}

// `paced`: ffmpeg reads the frames at 30 per second, as our engine gets them, so that both
// pay the same for waking encoder threads from idle; otherwise it encodes as fast as it can.
double ffmpegCpu(const QString& raw, const QString& file, int width, int height, int frames,
                 bool paced, double& wall) {
    const double before = cpuSeconds(RUSAGE_CHILDREN);
    const Clock::time_point begin = Clock::now();
    QProcess ffmpeg;
    ffmpeg.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QStringList pacing;
    if (paced)
        pacing << QStringLiteral("-re");
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 QStringList{"-v", "error", "-y"} + pacing +
                     QStringList{"-f",
                                 "rawvideo",
                                 "-pix_fmt",
                                 "yuv420p",
                                 "-s",
                                 QStringLiteral("%1x%2").arg(width).arg(height),
                                 "-r",
                                 "30",
                                 "-stream_loop",
                                 "-1",
                                 "-i",
                                 raw,
                                 "-frames:v",
                                 QString::number(frames),
                                 "-c:v",
                                 "libx265",
                                 "-preset",
                                 ffmpeg::x265Preset,
                                 "-x265-params",
                                 ffmpeg::x265Params,
                                 "-b:v",
                                 QString::number(RecordingEngine::videoBitRate(width)),
                                 "-g",
                                 "60",
                                 "-tag:v",
                                 "hvc1",
                                 "-movflags",
                                 "frag_keyframe+empty_moov+delay_moov+default_base_moof",
                                 "-frag_duration",
                                 "2000000",
                                 file});
    if (!ffmpeg.waitForFinished(-1) || ffmpeg.exitCode() != 0)
        return -1;
    wall = std::chrono::duration<double>(Clock::now() - begin).count();
    return cpuSeconds(RUSAGE_CHILDREN) - before;
}

void bench(const QTemporaryDir& dir, int width, int height, double seconds) {
    std::vector<PixelBuffer> wide, macro;
    for (int i = 0; i < sourceFrames; ++i) {
        wide.push_back(syntheticFrame(1920, 1080, i));
        macro.push_back(syntheticFrame(1280, 720, i + 100));
    }
    const QString file = dir.filePath(QStringLiteral("rec-%1.mp4").arg(width));
    const RunResult r = recordRealTime(file, width, height, seconds, wide, macro);
    const auto& c = r.counters;
    std::printf("%dx%d, %.0f s at 30 fps in real time (%s)\n", width, height, seconds, "libx265");
    std::printf("  frames fed %d, written %d, dropped %d (Compositing) %d (Encoder)\n", r.fed,
                c.framesAppended, c.droppedBusy, c.droppedNotReady);
    if (!r.dropFrames.empty()) {
        std::printf("  drops counted at fed frame:");
        for (std::size_t i = 0; i < r.dropFrames.size() && i < 20; ++i)
            std::printf(" %d", r.dropFrames[i]);
        std::printf("%s\n", r.dropFrames.size() > 20 ? " …" : "");
    }
    std::printf("  wall %.1f s, CPU %.1f s = %.2f CPU s per recorded second, %.1f ms per frame\n",
                r.wall, r.cpu, r.cpu / seconds, 1000 * r.cpu / std::max(1, c.framesAppended));
    std::printf("  file %.1f MB, %.2f Mbit/s\n", r.bytes / 1e6, r.bytes * 8 / 1e6 / seconds);

    const QString raw = dir.filePath(QStringLiteral("composites-%1.yuv").arg(width));
    double renderCpu = 0;
    if (!writeRawComposites(raw, width, height, wide, macro, renderCpu)) {
        std::printf("  (raw composites not written)\n");
        return;
    }
    std::printf("  of which composing: %.1f ms CPU per frame\n", 1000 * renderCpu);
    const int frames = std::max(1, c.framesAppended);
    const QString out = dir.filePath(QStringLiteral("ffmpeg-%1.mp4").arg(width));
    double pacedWall = 0, fastWall = 0;
    const double paced = ffmpegCpu(raw, out, width, height, frames, true, pacedWall);
    const double fast = ffmpegCpu(raw, out, width, height, frames, false, fastWall);
    QFile::remove(raw);
    if (paced <= 0 || fast <= 0) {
        std::printf("  (ffmpeg failed)\n");
        return;
    }
    const double ours = r.cpu / frames;
    std::printf("  ffmpeg, same %d composites and settings, read at 30 fps: CPU %.1f s, %.1f ms "
                "per frame\n",
                frames, paced, 1000 * paced / frames);
    std::printf("  ffmpeg, the same as fast as it can: CPU %.1f s, %.1f ms per frame, %.1f fps\n",
                fast, 1000 * fast / frames, frames / fastWall);
    std::printf("  CPU ratio ours / ffmpeg: %.2f at the same pace (%.2f to ffmpeg flat out)\n",
                ours / (paced / frames), ours / (fast / frames));
}

} // namespace

int main(int argc, char* argv[]) {
    QTemporaryDir dir;
    // The engine's log goes to a throw-away home, not the user's documents.
    qputenv("HOME", dir.path().toUtf8());
    QCoreApplication app(argc, argv);
    OstrelLog::shared();
    const double seconds = argc > 1 ? std::max(1.0, std::atof(argv[1])) : 60.0;
    const QString which = argc > 2 ? QString::fromLocal8Bit(argv[2]) : QStringLiteral("both");
    std::printf("recording_bench: %u hardware threads\n", std::thread::hardware_concurrency());
    if (which != "1440")
        bench(dir, 1920, 1080, seconds);
    if (which != "1080")
        bench(dir, 2560, 1440, seconds);
    return 0;
}
