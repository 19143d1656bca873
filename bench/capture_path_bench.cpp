// The whole capture-to-file path on the virtual pair: Wide and Macro at 30 fps, stabiliser on,
// recording to a 1920×1080 (or 2560×1440) HEVC file in real time. Prints frames written per
// second, drops of each kind, CPU seconds per recorded second, resident memory over the run and
// the latency from a frame's capture to its append.
//
//   build/bench/capture_path_bench [seconds=60] [1080|1440] [keep]
//
// With "keep" the recording stays in its temporary folder (printed) to be looked at.

#include "bench/BenchWait.h"
#include "capture/virtual/VirtualBackend.h"
#include "control/CameraManager.h"
#include "control/FrameStore.h"
#include "recording/RecordingEngine.h"
#include "settings/SettingsStore.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <vector>

#include <sys/resource.h>
#include <unistd.h>

namespace {

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double residentMB() {
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(f);
    }
    return double(resident) * double(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
    const bool high = argc > 2 && QByteArray(argv[2]) == "1440";

    QTemporaryDir dir;
    const bool keep = argc > 3 && QByteArray(argv[3]) == "keep";
    dir.setAutoRemove(!keep);
    qputenv("HOME", dir.path().toUtf8());
    SettingsStore settings(dir.filePath(QStringLiteral("ostrel.ini")));
    settings.setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
    settings.setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
    settings.setValue(Setting::micDeviceUID, VirtualDevices::microphoneID);
    settings.setValue(Setting::stabilizeMacro, true);
    VirtualBackend backend;
    CameraManager::Options options;
    options.tempFolder = dir.path();
    CameraManager cam(backend, settings, options);
    cam.setSaveURL(QUrl::fromLocalFile(dir.path()));
    cam.setStabilizationEnabled(true);

    std::mutex lock;
    std::vector<double> latencies;
    latencies.reserve(std::size_t(seconds) * 40);
    cam.recorder().onAppended = [&](MediaTime pts) {
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        std::lock_guard guard(lock);
        latencies.push_back(std::chrono::duration<double, std::milli>(now - pts).count());
    };

    cam.startCapture();
    if (!waitFor([&] { return cam.status() == CameraStatus::live; }, 20000)) {
        std::printf("cameras did not go live\n");
        return 1;
    }
    waitFor([] { return false; }, 2000); // let the stabiliser's plans and the cameras settle

    const double cpuStart = cpuSeconds();
    QElapsedTimer clock;
    clock.start();
    cam.startRecordingWith(high, true, true, QStringLiteral("Praxis Dr. Muster"), 0.3);
    std::vector<double> memory;
    for (int s = 1; s <= seconds; ++s) {
        waitFor([&] { return clock.elapsed() >= s * 1000; }, 2000);
        memory.push_back(residentMB());
    }
    const double recorded = double(clock.elapsed()) / 1000.0;
    bool finished = false;
    cam.onRecordingFinished = [&] { finished = true; };
    cam.stopRecording();
    waitFor([&] { return finished; }, 120000);
    const double cpu = cpuSeconds() - cpuStart;
    const RecordingEngine::Counters counters = cam.recorder().counters();
    cam.stopCapture();

    std::vector<double> sorted;
    {
        std::lock_guard guard(lock);
        sorted = latencies;
    }
    std::sort(sorted.begin(), sorted.end());
    const auto pct = [&](double p) {
        return sorted.empty() ? 0.0 : sorted[std::size_t(p * double(sorted.size() - 1))];
    };
    const std::size_t tenth = memory.size() / 10;
    std::printf("capture path, %s, stabiliser on, %d s\n", high ? "2560x1440" : "1920x1080",
                seconds);
    std::printf("  frames written        %d (%.1f per second)\n", counters.framesAppended,
                counters.framesAppended / recorded);
    std::printf("  dropped busy          %d\n", counters.droppedBusy);
    std::printf("  dropped not ready     %d\n", counters.droppedNotReady);
    std::printf("  CPU per recorded s    %.2f s\n", cpu / recorded);
    std::printf("  resident memory       %.0f MB after %zu s, %.0f MB at the end, peak %.0f MB\n",
                memory.empty() ? 0.0 : memory[tenth], tenth + 1,
                memory.empty() ? 0.0 : memory.back(),
                memory.empty() ? 0.0 : *std::max_element(memory.begin(), memory.end()));
    std::printf("  latency capture→append median %.1f ms, p99 %.1f ms\n", pct(0.5), pct(0.99));
    if (keep)
        std::printf("  kept in               %s\n", qPrintable(dir.path()));
    FrameStore::shared().clear();
    return 0;
}
