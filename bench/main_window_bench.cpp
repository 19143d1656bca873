// The main window on the virtual camera pair: start-up time from launch to the first live
// Wide frame on screen, and the GUI thread's CPU time per rendered frame with both live views
// running. Needs a display (run under xvfb-run).
//
//   xvfb-run -a -s "-screen 0 1920x1080x24" build/bench/main_window_bench [seconds=10]

#include "bench/BenchApp.h"
#include "ui/main/LiveCameraView.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

double threadCpuMs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer launch;
    launch.start();
    BenchHome home;
    QGuiApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;

    BenchApp bench(home, home.path(), false);
    QQuickWindow* window = bench.loadWindow();
    if (!window)
        return 1;

    LiveCameraView* wide = nullptr;
    LiveCameraView* macro = nullptr;
    double firstFrameMs = -1;
    while (firstFrameMs < 0 && launch.elapsed() < 30000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
        for (auto* view : window->findChildren<LiveCameraView*>())
            (view->index() == 0 ? wide : macro) = view;
        if (wide && wide->framesShown() > 0)
            firstFrameMs = double(launch.elapsed());
    }

    std::vector<double> perFrame;
    double last = -1;
    QObject::connect(window, &QQuickWindow::afterAnimating, window, [&] {
        const double now = threadCpuMs();
        if (last >= 0)
            perFrame.push_back(now - last);
        last = now;
    });
    QElapsedTimer run;
    run.start();
    const int wideBefore = wide ? wide->framesShown() : 0;
    const int macroBefore = macro ? macro->framesShown() : 0;
    QTimer::singleShot(seconds * 1000, &app, &QCoreApplication::quit);
    app.exec(); // no polling loop of ours on the GUI thread while measuring
    std::sort(perFrame.begin(), perFrame.end());
    const auto pct = [&](double p) {
        return perFrame.empty() ? 0.0 : perFrame[std::size_t(p * double(perFrame.size() - 1))];
    };
    std::printf("main window, virtual pair, %d s, window %dx%d\n", seconds, window->width(),
                window->height());
    std::printf("  start-up to first live Wide frame   %.0f ms\n", firstFrameMs);
    std::printf("  frames shown                         Wide %.1f/s, Macro %.1f/s\n",
                wide ? (wide->framesShown() - wideBefore) / double(seconds) : 0.0,
                macro ? (macro->framesShown() - macroBefore) / double(seconds) : 0.0);
    std::printf("  GUI thread CPU per rendered frame    median %.2f ms, p90 %.2f ms (%zu frames)\n",
                pct(0.5), pct(0.9), perFrame.size());
    return 0;
}
