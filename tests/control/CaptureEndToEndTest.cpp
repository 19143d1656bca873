// The whole capture-to-file path on the virtual cameras in real time: live, a 10-second
// recording with a photo, the saved files as a player sees them, and the log in order.

#include "capture/virtual/VirtualBackend.h"
#include "control/CameraManager.h"
#include "control/FrameStore.h"
#include "diagnostics/OstrelLog.h"
#include "recording/MediaProbe.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QElapsedTimer>
#include <QImage>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(CaptureEndToEnd, LiveRecordingWithPhotoEndsAsAPlayableFileAndThreePhotos) {
    QTemporaryDir dir;
    const QString folder = dir.filePath(QStringLiteral("Aufnahmen"));
    ASSERT_TRUE(QDir().mkpath(folder));
    SettingsStore settings(dir.filePath(QStringLiteral("ostrel.ini")));
    settings.setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
    settings.setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
    settings.setValue(Setting::micDeviceUID, VirtualDevices::microphoneID);
    VirtualBackend backend;
    const std::size_t logStart = OstrelLog::shared().entries().size();

    CameraManager::Options options;
    options.tempFolder = dir.filePath(QStringLiteral("tmp"));
    ASSERT_TRUE(QDir().mkpath(options.tempFolder));
    {
        CameraManager cam(backend, settings, options);
        cam.setSaveURL(QUrl::fromLocalFile(folder));
        cam.setStabilizationEnabled(true);
        cam.startCapture();
        ASSERT_TRUE(pumpUntil([&] { return cam.status() == CameraStatus::live; }));
        ASSERT_TRUE(pumpUntil([] {
            return FrameStore::shared().latestBuffer(0) && FrameStore::shared().latestBuffer(1);
        }));

        cam.startRecordingWith(false, true, true, QStringLiteral("Praxis Dr. Muster"), 0.3);
        QElapsedTimer clock;
        clock.start();
        pumpUntil([&] { return clock.elapsed() >= 5000; }, 6000);
        cam.takeSnapshot(false, true, QStringLiteral("Praxis Dr. Muster"), 0.3);
        pumpUntil([&] { return clock.elapsed() >= 10000; }, 6000);
        bool finished = false;
        cam.onRecordingFinished = [&] { finished = true; };
        cam.stopRecording();
        ASSERT_TRUE(pumpUntil([&] { return finished; }, 60000));
        cam.stopCapture();
    }
    FrameStore::shared().clear();

    const QStringList movies = QDir(folder).entryList({QStringLiteral("OSTREL-*.mp4")});
    ASSERT_EQ(movies.size(), 1);
    const ProbedFile probe = probeFile(QDir(folder).filePath(movies[0]));
    ASSERT_TRUE(probe.ok);
    const QJsonObject video = probe.stream(QStringLiteral("video"));
    EXPECT_EQ(video.value("codec_name").toString(), QStringLiteral("hevc"));
    EXPECT_EQ(video.value("width").toInt(), 1920);
    EXPECT_EQ(video.value("height").toInt(), 1080);
    EXPECT_EQ(probe.stream(QStringLiteral("audio")).value("codec_name").toString(),
              QStringLiteral("aac"));
    EXPECT_NEAR(probe.duration(), 10.0, 1.0);
    const QImage first = firstVideoFrame(QDir(folder).filePath(movies[0]));
    EXPECT_FALSE(first.isNull());
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        first.save(out + QStringLiteral("/e2e-first-frame.png"));

    const QStringList photos = QDir(folder).entryList({QStringLiteral("OSTREL-*.jpg")});
    ASSERT_EQ(photos.size(), 3);
    for (const char* kind : {"-Wide.jpg", "-Macro.jpg", "-Ansicht.jpg"})
        EXPECT_EQ(photos.filter(QString::fromLatin1(kind)).size(), 1) << kind;

    // The specified lines, in this order.
    pumpPosted();
    QStringList messages;
    const auto& entries = OstrelLog::shared().entries();
    for (std::size_t i = logStart; i < entries.size(); ++i)
        messages << entries[i].message;
    const QStringList expected{QStringLiteral("Kamera 0 konfiguriert: OSTREL Kamera"),
                               QStringLiteral("Kamera 1 konfiguriert: OSTREL Kamera"),
                               QStringLiteral("Mikrofon eingebunden: OSTREL Mikrofon"),
                               QStringLiteral("2 Kameras live · Mikrofon aktiv"),
                               QStringLiteral("Aufnahme läuft (1920×1080, Audio: an)"),
                               QStringLiteral("Aufnahme gespeichert: ") + movies[0],
                               QStringLiteral("Kamera-Sessions gestoppt")};
    qsizetype at = 0;
    for (const QString& line : expected) {
        const qsizetype found = messages.indexOf(line, at);
        EXPECT_GE(found, at) << line.toStdString() << "\nin:\n"
                             << messages.join(u'\n').toStdString();
        if (found >= 0)
            at = found + 1;
    }
}
