// The running application recording on the virtual pair: the real main window with both live
// views (software GL under Xvfb on a machine without GPU), the real capture path and encoder.
// For each resolution asked for it records N seconds (with a photo a third of the way in and the
// Macro inset resized half way) and prints frames written per second, frames paced out, drops
// by cause, live-view frames per second during the recording, the GUI thread's CPU and clock time
// at the record and photo presses and the CPU of each thread group; then the same once more with
// the Wide camera at 15 fps. First it prints one line per HEVC encoder that opens on this machine.
//
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/app_recording_bench
//       [seconds=20] [1080|1440|both] [baseline]
//
// "baseline" measures the app as it was before the live view gave way to the encoder: live
// view at full rate, render threads at normal priority, recording unpaced.

#include "bench/BenchApp.h"
#include "control/FrameStore.h"
#include "diagnostics/OstrelLog.h"
#include "recording/RecordingEngine.h"
#include "recording/ffmpeg/VideoEncoder.h"
#include "support/ProcThreads.h"
#include "ui/main/LiveCameraView.h"
#include "ui/main/RenderThreadPriority.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>

#include <QSGRendererInterface>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <thread>

#include <time.h>
#include <unistd.h>

extern "C" {
#include <libavutil/frame.h>
}

namespace {

// Thread groups by thread name: serial queues carry their labels, the encoder's threads are
// named when it opens, Qt and Mesa name theirs.
QString groupOf(const QByteArray& name, bool mainThread) {
    // Linux keeps 15 characters of a name; serial queues keep the tail of their label
    // ("com.ostrel.record" reads "m.ostrel.record", "com.ostrel.cam.video0" "trel.cam.video0").
    if (mainThread || name.startsWith("QSGRender") || name.startsWith("llvmpipe") ||
        name.startsWith("QXcb"))
        return QStringLiteral("GUI/render");
    if (name == "ostrel.encode" || name.startsWith("ostrel.x265"))
        return QStringLiteral("encoder");
    if (name.endsWith(".record"))
        return QStringLiteral("composite");
    if (name.contains(".cam.") || name.contains("audio"))
        return QStringLiteral("capture");
    return QStringLiteral("other: ") + QString::fromUtf8(name);
}

// CPU ticks per thread group, from /proc/self/task/*/stat (utime + stime).
std::map<QString, long long> cpuTicksByGroup() {
    std::map<QString, long long> ticks;
    const int self = int(getpid());
    for (const ThreadStat& thread : threadStats(QStringLiteral("self"))) {
        if (thread.fields.size() < 13)
            continue;
        ticks[groupOf(thread.name, thread.tid == self)] +=
            thread.fields[11].toLongLong() + thread.fields[12].toLongLong();
    }
    return ticks;
}

// One line per HEVC encoder that opens: frames per second encoding flat out.
void benchEncoders(int width, int height) {
    for (const QString& name : ffmpeg::VideoEncoder::candidateNames()) {
        ffmpeg::VideoEncoderSettings settings;
        settings.width = width;
        settings.height = height;
        settings.bitRate = RecordingEngine::videoBitRate(width);
        settings.globalHeader = true;
        auto encoder = ffmpeg::VideoEncoder::openNamed(name, settings);
        if (!encoder) {
            std::printf("  encoder %-10s %dx%d   does not open here\n", qPrintable(name), width,
                        height);
            continue;
        }
        ffmpeg::FramePtr frame(av_frame_alloc());
        frame->format = AV_PIX_FMT_YUV420P;
        frame->width = width;
        frame->height = height;
        av_frame_get_buffer(frame.get(), 0);
        ffmpeg::PacketPtr packet(av_packet_alloc());
        constexpr int frames = 90;
        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i <= frames; ++i) {
            if (i < frames) {
                av_frame_make_writable(frame.get());
                // A moving gradient, so the encoder has real work on every frame.
                for (int y = 0; y < height; ++y)
                    std::memset(frame->data[0] + y * frame->linesize[0], (y + 4 * i) & 0xff,
                                std::size_t(width));
                for (int p = 1; p < 3; ++p)
                    for (int y = 0; y < height / 2; ++y)
                        std::memset(frame->data[p] + y * frame->linesize[p], 128 + p * 8,
                                    std::size_t(width / 2));
                frame->pts = std::int64_t(i) * 3000;
            }
            encoder->send(i < frames ? frame.get() : nullptr);
            while (encoder->receive(packet.get()) == 0)
                av_packet_unref(packet.get());
        }
        std::printf("  encoder %-10s %dx%d   %.1f fps flat out (%d frames)\n", qPrintable(name),
                    width, height, frames * 1000.0 / double(timer.elapsed()), frames);
    }
}

// The GUI thread's own CPU time. On two cores the press's wall time also holds the time the
// thread waited for a core behind the render, camera and encoder threads.
double guiThreadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

struct Run {
    int seconds = 20;
    bool high = false;
    bool baseline = false;
};

int record(AppShell& shell, QQuickWindow* window, const Run& run) {
    CameraManager& cam = shell.camera();
    LiveCameraView* wide = nullptr;
    LiveCameraView* macro = nullptr;
    for (auto* view : window->findChildren<LiveCameraView*>())
        (view->index() == 0 ? wide : macro) = view;
    int swapped = 0;
    // frameSwapped comes from the render thread, so each count is a posted call. With a
    // receiver that dies with this function, calls still queued at its end are dropped instead
    // of counting into a stack frame that is gone.
    QObject swapCounter;
    QObject::connect(window, &QQuickWindow::frameSwapped, &swapCounter, [&] { ++swapped; });

    const auto cpuBefore = cpuTicksByGroup();
    const int wideBefore = wide ? wide->framesShown() : 0;
    const int macroBefore = macro ? macro->framesShown() : 0;
    QElapsedTimer clock;
    clock.start();
    const QDateTime startedAt = QDateTime::currentDateTime();
    QElapsedTimer press;
    press.start();
    double cpuAtPress = guiThreadCpuMs();
    cam.startRecordingWith(run.high, true, true, QStringLiteral("Praxis Dr. Muster"), 0.3);
    const double recordPressMs = double(press.nsecsElapsed()) / 1e6;
    const double recordPressCpuMs = guiThreadCpuMs() - cpuAtPress;
    if (!waitFor([&] { return cam.recorder().active(); }, 20000)) {
        std::printf("recording did not start\n");
        return 1;
    }
    // Per second: drops, live interval, and the cores of the encoder and of the live view, to
    // show whether the losses cluster at the start and who took the CPU then.
    QString timeline;
    int lastDrops = 0, lastSecond = 0;
    auto lastTicks = cpuBefore;
    auto sampleSecond = [&] {
        const auto c = cam.recorder().counters();
        const int drops = c.droppedBusy + c.droppedNotReady;
        const auto ticks = cpuTicksByGroup();
        auto cores = [&](const QString& group) {
            const long long before = lastTicks.count(group) ? lastTicks.at(group) : 0;
            const long long now = ticks.count(group) ? ticks.at(group) : 0;
            return QString::number(double(now - before) / double(sysconf(_SC_CLK_TCK)), 'f', 1);
        };
        timeline += QStringLiteral(" %1:%2/%3/%4/%5")
                        .arg(lastSecond)
                        .arg(drops - lastDrops)
                        .arg(cam.liveRefreshInterval())
                        .arg(cores(QStringLiteral("encoder")), cores(QStringLiteral("GUI/render")));
        lastDrops = drops;
        lastTicks = ticks;
        ++lastSecond;
    };
    QTimer perSecond;
    QObject::connect(&perSecond, &QTimer::timeout, sampleSecond);
    perSecond.start(1000);
    // The steady part: from 5 s on, after the live view has found its rate.
    RecordingEngine::Counters atFive;
    int wideAtFive = 0, swappedAtFive = 0;
    double fiveAt = 0;
    std::map<QString, long long> cpuAtFive;
    const int settle = std::min(5, run.seconds / 2);
    waitFor([&] { return clock.elapsed() >= settle * 1000; }, settle * 1000 + 1000);
    atFive = cam.recorder().counters();
    wideAtFive = wide ? wide->framesShown() : 0;
    swappedAtFive = swapped;
    fiveAt = double(clock.elapsed()) / 1000.0;
    cpuAtFive = cpuTicksByGroup();
    int slowestInterval = cam.liveRefreshInterval();
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        slowestInterval = std::max(slowestInterval, cam.liveRefreshInterval());
    });
    watch.start(100);
    // As in practice: a photo a third of the way in, the Macro inset resized half way.
    waitFor([&] { return clock.elapsed() >= run.seconds * 1000 / 3; }, run.seconds * 1000);
    press.restart();
    cpuAtPress = guiThreadCpuMs();
    cam.takeSnapshot(run.high, true, QStringLiteral("Praxis Dr. Muster"), 0.3);
    const double photoPressMs = double(press.nsecsElapsed()) / 1e6;
    const double photoPressCpuMs = guiThreadCpuMs() - cpuAtPress;
    waitFor([&] { return clock.elapsed() >= run.seconds * 1000 / 2; }, run.seconds * 1000);
    cam.setMacroFraction(0.45);
    waitFor([&] { return clock.elapsed() >= run.seconds * 1000; }, run.seconds * 1000 + 1000);
    watch.stop();
    perSecond.stop();
    const double elapsed = double(clock.elapsed()) / 1000.0;
    const RecordingEngine::Counters end = cam.recorder().counters();
    const auto cpuAfter = cpuTicksByGroup();
    const int wideShown = (wide ? wide->framesShown() : 0) - wideBefore;
    const int macroShown = (macro ? macro->framesShown() : 0) - macroBefore;
    const int swappedAll = swapped;
    const QString notice = cam.recordingNotice();
    const int limit = cam.recorder().rateLimit();
    const int intervalAtEnd = cam.liveRefreshInterval();
    bool finished = false;
    cam.onRecordingFinished = [&] { finished = true; };
    cam.stopRecording();
    waitFor([&] { return finished; }, 120000);

    const double steady = elapsed - fiveAt;
    const long hz = sysconf(_SC_CLK_TCK);
    std::printf("app recording, %s, %s, %d s, encoder %s, camera %.1f fps\n",
                run.high ? "2560x1440" : "1920x1080",
                run.baseline ? "BASELINE (live view at full rate)" : "live view gives way",
                run.seconds, qPrintable(cam.recorder().videoEncoderName()),
                cam.recorder().cameraRate());
    std::printf("  GUI thread at press   record %.1f ms CPU (%.1f ms on the clock), photo %.1f ms "
                "CPU (%.1f ms on the clock); %d frames before the watermark joined\n",
                recordPressCpuMs, recordPressMs, photoPressCpuMs, photoPressMs, end.plainFrames);
    std::printf("  frames written/s      %.1f whole run, %.1f from %.0f s on (%d frames)\n",
                end.framesAppended / elapsed, (end.framesAppended - atFive.framesAppended) / steady,
                fiveAt, end.framesAppended);
    const int drops = end.droppedBusy + end.droppedNotReady;
    const int steadyDrops = drops - atFive.droppedBusy - atFive.droppedNotReady;
    std::printf("  drops                 %d compositing, %d encoder (%.1f %% of camera frames; "
                "%d from %.0f s on)\n",
                end.droppedBusy, end.droppedNotReady,
                100.0 * drops / std::max(1, end.framesAppended + drops + end.skippedPaced),
                steadyDrops, fiveAt);
    std::printf("  paced out             %d (rate limit %s)\n", end.skippedPaced,
                limit > 0 ? qPrintable(QStringLiteral("%1 fps").arg(limit)) : "none");
    std::printf("  live view/s           Wide %.1f, Macro %.1f, window frames %.1f whole run; "
                "Wide %.1f, window %.1f from %.0f s on\n",
                wideShown / elapsed, macroShown / elapsed, swappedAll / elapsed,
                (wideShown + wideBefore - wideAtFive) / steady,
                (swappedAll - swappedAtFive) / steady, fiveAt);
    std::printf("  live interval         %d ms at the end, slowest %d ms\n", intervalAtEnd,
                slowestInterval);
    std::printf("  CPU cores by group    (whole run | from %.0f s on)\n", fiveAt);
    for (const auto& [group, ticks] : cpuAfter) {
        const auto before = cpuBefore.count(group) ? cpuBefore.at(group) : 0;
        const auto five = cpuAtFive.count(group) ? cpuAtFive.at(group) : 0;
        const double whole = double(ticks - before) / double(hz) / elapsed;
        if (group.startsWith(QStringLiteral("other")) && whole < 0.005)
            continue; // idle helper threads
        std::printf("    %-12s %.2f | %.2f\n", qPrintable(group), whole,
                    double(ticks - five) / double(hz) / steady);
    }
    std::printf("  by second            drops/live ms/encoder cores/GUI cores:%s\n",
                qPrintable(timeline));
    std::printf("  notice                %s\n", notice.isEmpty() ? "(none)" : qPrintable(notice));
    // What the app measured of its encoder, and what it did about it.
    for (const LogEntry& entry : OstrelLog::shared().entries())
        if (entry.date >= startedAt && (entry.message.contains(QStringLiteral("mit voller Last")) ||
                                        entry.message.contains(QStringLiteral("gleichmäßig"))))
            std::printf("  log                   %s\n", qPrintable(entry.message));
    std::fflush(stdout);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    Run run;
    run.seconds = argc > 1 ? std::max(4, std::atoi(argv[1])) : 20;
    const QByteArray which = argc > 2 ? QByteArray(argv[2]) : QByteArray("both");
    run.baseline = argc > 3 && QByteArray(argv[3]) == "baseline";
    if (run.baseline)
        qputenv("OSTREL_RENDER_NICE", "0");

    BenchHome home;
    QGuiApplication app(argc, argv);

    std::printf("HEVC encoders on this machine (%u cores)\n",
                std::max(1u, std::thread::hardware_concurrency()));
    if (which != "1440")
        benchEncoders(1920, 1080);
    if (which != "1080")
        benchEncoders(2560, 1440);
    std::fflush(stdout);

    BenchApp bench(home, home.path(), true);
    AppShell& shell = bench.shell();
    shell.camera().setLiveViewYields(!run.baseline);
    QQuickWindow* window = bench.loadWindow();
    if (!window || !waitUntilSettled(shell.camera()))
        return 1;
    const auto api = window->rendererInterface()->graphicsApi();
    std::printf("render nice %d, window %dx%d, scene graph on %s\n",
                run.baseline ? 0 : renderPriority::chosenNice(), window->width(), window->height(),
                api == QSGRendererInterface::OpenGL     ? "OpenGL"
                : api == QSGRendererInterface::Software ? "Qt software renderer"
                                                        : "another graphics API");

    int result = 0;
    if (which != "1440") {
        run.high = false;
        result |= record(shell, window, run);
        waitFor([] { return false; }, 3000);
    }
    if (which != "1080") {
        run.high = true;
        result |= record(shell, window, run);
    }
    // A Wide camera at 15 fps, as a UVC camera in dim light: recorded whole.
    shell.camera().stopCapture();
    waitFor([] { return false; }, 1000);
    bench.backend().devices().applyFaults(
        QStringLiteral("fps=%1:15").arg(VirtualDevices::camera1ID));
    shell.camera().startCapture();
    if (!waitUntilSettled(shell.camera()))
        return 1;
    run.high = which == "1440";
    result |= record(shell, window, run);
    shell.camera().stopCapture();
    waitFor([] { return false; }, 1000);
    return result;
}
