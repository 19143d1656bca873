// The built app recording at 2560 × 1440 on this machine: the live pictures' render threads
// and the photos' thread run at a lower priority than the encoder, the pace is settled from what
// the encoder shows in the first seconds (a machine too slow for it says so in German), and the
// file holds every frame the app says it wrote.

#include "blackbox/AppRun.h"
#include "recording/MediaProbe.h"
#include "support/EventLoop.h"
#include "support/ProcThreads.h"

#include <QDir>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace {

// Nice value of each thread of `pid` whose name starts with one of `prefixes`, by thread id.
std::map<int, int> niceOfThreads(qint64 pid, const QList<QByteArray>& prefixes) {
    std::map<int, int> found;
    for (const ThreadStat& thread : threadStats(QString::number(pid))) {
        if (std::none_of(prefixes.begin(), prefixes.end(),
                         [&](const QByteArray& p) { return thread.name.startsWith(p); }))
            continue;
        if (thread.fields.size() > 16)
            found[thread.tid] = thread.fields[16].toInt();
    }
    return found;
}

} // namespace

TEST(RecordingPriority, RenderThreadsYieldAndAHighResolutionFileHoldsEveryFrameWritten) {
    AppRunOptions options;
    options.settings.insert(QStringLiteral("resolutionHigh"), true);
    AppRun app(options);
    ASSERT_STARTED(app.startLive());

    // The photos yield to the encoder, and with OpenGL the scene graph's render thread and
    // Mesa's rasteriser workers (Qt's software renderer draws on the GUI thread).
    const QList<QByteArray> yielding{"QSGRenderThread", "llvmpipe", "ostrel.snapshot"};
    std::map<int, int> nice;
    pollUntil(
        [&] {
            nice = niceOfThreads(app.pid(), yielding);
            return !nice.empty() && std::all_of(nice.begin(), nice.end(),
                                                [](const auto& t) { return t.second == 5; });
        },
        30000);
    EXPECT_FALSE(niceOfThreads(app.pid(), {"ostrel.snapshot"}).empty()) << "no photo thread";
    for (const auto& [tid, value] : nice)
        EXPECT_EQ(value, 5) << "thread " << tid;
    // The capture queues keep their normal priority.
    const std::map<int, int> capture = niceOfThreads(app.pid(), {"trel.cam."});
    ASSERT_FALSE(capture.empty());
    for (const auto& [tid, value] : capture)
        EXPECT_EQ(value, 0) << "capture thread " << tid;

    const int fromLine = int(app.logLines().size());
    ASSERT_TRUE(app.pressKeys(QStringLiteral("r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft (2560×1440"), 60000, fromLine));
    // Two seconds in, the encoder has shown what a frame costs it.
    const auto measured = app.waitForLog(QStringLiteral("fps mit voller Last"), 60000, fromLine);
    ASSERT_TRUE(measured);
    if (app.waitForLog(QStringLiteral("Aufnahme gleichmäßig mit"), 1000, fromLine)) {
        // Too slow for every frame: the notice box, dark, under the top bar.
        const QRect window = app.windowGeometry();
        const auto showsNotice = [&](const QImage& shot) {
            int dark = 0, total = 0;
            for (int y = window.top() + 90; y < window.top() + 110; y += 4)
                for (int x = window.center().x() - 150; x < window.center().x() + 150;
                     x += 6, ++total)
                    dark += shot.pixelColor(x, y).value() < 110;
            return total > 0 && dark > total * 6 / 10;
        };
        const QImage screen = app.waitForScreen(showsNotice, 30000);
        saveForLooking(screen, QStringLiteral("high-resolution-notice"));
        EXPECT_TRUE(showsNotice(screen));
    }
    ASSERT_TRUE(app.pressKeys(QStringLiteral("r")));
    const auto summary = app.waitForLog(QStringLiteral("Aufnahme beendet: "), 120000, fromLine);
    ASSERT_TRUE(summary);
    const QRegularExpressionMatch written =
        QRegularExpression(QStringLiteral("Aufnahme beendet: (\\d+) Frames")).match(*summary);
    ASSERT_TRUE(written.hasMatch()) << summary->toStdString();
    ASSERT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.mp4"), 1, 120000));
    const QString file =
        QDir(app.recordingFolder()).filePath(app.recordingFiles(QStringLiteral("OSTREL-*.mp4"))[0]);
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert"), 60000, fromLine));
    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    EXPECT_EQ(probed.stream("video").value("width").toInt(), 2560);
    EXPECT_EQ(probed.stream("video").value("codec_name").toString(), "hevc");
    // However fast this machine is: every frame the app reports as written is in the file.
    EXPECT_GT(written.captured(1).toInt(), 0);
    EXPECT_EQ(decodedVideoFrames(file), written.captured(1).toInt());
}
