// The built app loses its Macro camera mid-recording (the virtual pair, unplugged by a fault
// that fires 8 s after the camera started streaming): the log says so after the recording
// started, the window drops the live picture, and the recording, stopped with its shortcut, is
// saved and plays.

#include "blackbox/AppRun.h"
#include "recording/MediaProbe.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace {

int lineOf(const QStringList& lines, const QString& text) {
    for (int i = 0; i < lines.size(); ++i)
        if (lines[i].contains(text))
            return i;
    return -1;
}

} // namespace

TEST(CameraLoss, MacroUnpluggedDuringARecordingIsReportedAndTheRecordingIsSaved) {
    AppRunOptions options;
    options.faults = QStringLiteral("unplug=ostrel-virtual-camera-2@8s");
    AppRun app(options);
    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();
    const QRect window = app.windowGeometry();
    const QRect wide(window.left(), window.top() + 100, window.width(), window.height() / 3);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft"))) << app.describe().toStdString();

    const QString lost =
        QStringLiteral("Kamera getrennt: OSTREL Kamera — USB-Verbindung/Hub prüfen");
    ASSERT_TRUE(app.waitForLog(lost, 60000));
    const QStringList lines = app.logLines();
    EXPECT_LT(lineOf(lines, QStringLiteral("Aufnahme läuft")), lineOf(lines, lost))
        << "the camera went during the recording";
    EXPECT_EQ(lines.filter(lost).size(), 1) << "the stream end and the notice count once";

    // The window no longer shows a live picture where Wide was.
    const QImage screen =
        app.waitForScreen([&](const QImage& shot) { return texturedShare(shot, wide) < 0.05; });
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        screen.save(out + QStringLiteral("/blackbox-camera-lost.png"));
    EXPECT_LT(texturedShare(screen, wide), 0.05);

    // The recording goes on until the user ends it; then it is saved and plays. The "r" key,
    // as the menu's Ctrl+R is ignored while no camera runs.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 60000))
        << app.logLines().join(u'\n').toStdString();
    ASSERT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.mp4"), 1));
    const QString file = app.recordingFolder() + u'/' + app.recordingFiles().value(0);
    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    EXPECT_GT(probed.duration(), 0.0);
    EXPECT_LT(probed.duration(), 60.0);
    EXPECT_GT(decodedVideoFrames(file), 0);
    QProcess discoverer;
    discoverer.start(QStringLiteral("gst-discoverer-1.0"), {file});
    ASSERT_TRUE(discoverer.waitForFinished(60000));
    EXPECT_EQ(discoverer.exitCode(), 0) << discoverer.readAllStandardOutput().toStdString();
    EXPECT_TRUE(discoverer.readAllStandardOutput().contains("video"));

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0);
}
