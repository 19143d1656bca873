#include "control/CameraManager.h"
#include "capture/CameraErrorTexts.h"
#include "capture/virtual/VirtualBackend.h"
#include "control/FrameStore.h"
#include "recording/MediaProbe.h"
#include "recording/RecordingEngine.h"
#include "recording/ffmpeg/FragmentRepair.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingFiles.h"
#include "support/EventLoop.h"
#include "support/SyntheticMedia.h"

#include "capture/CaptureTestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

// Read at use: the ids are statics of another file.
#define kWide VirtualDevices::camera1ID
#define kMacro VirtualDevices::camera2ID

class CameraManagerTest : public ::testing::Test {
protected:
    void SetUp() override {
        settings = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("ostrel.ini")));
        settings->setValue(Setting::wideDeviceUID, kWide);
        settings->setValue(Setting::macroDeviceUID, kMacro);
        ASSERT_TRUE(QDir().mkpath(tempFolder()));
        ASSERT_TRUE(QDir().mkpath(folder()));
    }

    void TearDown() override {
        manager.reset();
        FrameStore::shared().clear();
    }

    QString tempFolder() const { return dir.filePath(QStringLiteral("tmp")); }
    QString folder() const { return dir.filePath(QStringLiteral("Aufnahmen")); }

    CameraManager& make() {
        CameraManager::Options options;
        options.scheduler = &scheduler;
        options.tempFolder = tempFolder();
        options.macroStartPause = 0ms;
        options.freeSpace = [](const QString&, const std::optional<QString>&,
                               const std::optional<QString>&) {
            return std::optional<std::int64_t>(500'000'000'000); // never near the reserve
        };
        manager = std::make_unique<CameraManager>(backend, *settings, options);
        manager->setSaveURL(QUrl::fromLocalFile(folder()));
        return *manager;
    }

    // Lets the configuration queue finish and its outcome reach the main thread.
    void settle() {
        manager->drainConfigurationQueue();
        pumpPosted();
    }

    bool bothCamerasDeliver() {
        return pumpUntil([] {
            return FrameStore::shared().latestBuffer(0) && FrameStore::shared().latestBuffer(1);
        });
    }

    CameraManager& live() {
        CameraManager& cam = make();
        cam.startCapture();
        settle();
        EXPECT_EQ(cam.status(), CameraStatus::live);
        EXPECT_TRUE(bothCamerasDeliver());
        return cam;
    }

    QStringList filesIn(const QString& path, const QString& pattern) const {
        return QDir(path).entryList({pattern}, QDir::Files, QDir::Name);
    }

    QTemporaryDir dir;
    VirtualBackend backend;
    ManualScheduler scheduler;
    std::unique_ptr<SettingsStore> settings;
    std::unique_ptr<CameraManager> manager;
    LogProbe log;
};

} // namespace

TEST_F(CameraManagerTest, SameCameraForWideAndMacroNeverStarts) {
    settings->setValue(Setting::macroDeviceUID, kWide);
    CameraManager& cam = make();
    cam.startCapture();
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::searching);
    scheduler.advance(60s);
    EXPECT_EQ(cam.status(), CameraStatus::noCameras);
    EXPECT_FALSE(cam.running());
}

TEST_F(CameraManagerTest, EmptyAssignmentIsFilledFromTheExternalCameras) {
    settings->remove(Setting::wideDeviceUID);
    settings->remove(Setting::macroDeviceUID);
    CameraManager& cam = make();
    cam.startCapture();
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::live);
    EXPECT_TRUE(settings->text(Setting::wideDeviceUID).isEmpty()) << "kept in memory only";
}

TEST_F(CameraManagerTest, CameraWithoutPictureIsRestartedThreeTimesThenGivenUp) {
    backend.devices().setSilent(kMacro, true);
    CameraManager& cam = make();
    cam.startCapture();
    for (int restart = 1; restart <= 3; ++restart) {
        settle();
        ASSERT_EQ(cam.status(), CameraStatus::live) << restart;
        ASSERT_TRUE(pumpUntil([] { return FrameStore::shared().latestBuffer(0).has_value(); }));
        scheduler.advance(3s);
        EXPECT_EQ(cam.status(), CameraStatus::restarting);
        EXPECT_EQ(cam.watchdogRetries(), restart);
        EXPECT_TRUE(log.messages().contains(
            QStringLiteral("Kamera ohne Bild (Wide:true Macro:false) — automatischer Neustart %1/3")
                .arg(restart)));
    }
    settle();
    ASSERT_TRUE(pumpUntil([] { return FrameStore::shared().latestBuffer(0).has_value(); }));
    scheduler.advance(3s);
    EXPECT_EQ(cam.status(), CameraStatus::noImage);
    EXPECT_TRUE(cam.running()) << "the restart button stays hidden";
    EXPECT_TRUE(
        log.entries().back() ==
        std::make_pair(LogLevel::error,
                       QStringLiteral("Kamera liefert kein Bild (Wide:true Macro:false) — "
                                      "bitte USB-Verbindung/Hub prüfen und neu starten (↻).")));
    scheduler.advance(10s);
    EXPECT_EQ(cam.status(), CameraStatus::noImage) << "the watchdog is not armed again";
}

TEST_F(CameraManagerTest, StopWhileSearchingDoesNothingAndStopWhileLiveStopsEverything) {
    backend.devices().unplug(kMacro);
    CameraManager& cam = make();
    cam.startCapture();
    settle();
    cam.stopCapture();
    EXPECT_EQ(cam.status(), CameraStatus::searching);
    EXPECT_TRUE(cam.polling());

    backend.devices().replug(kMacro);
    pumpPosted();
    scheduler.advance(800ms);
    settle();
    ASSERT_TRUE(bothCamerasDeliver());
    cam.stopCapture();
    EXPECT_EQ(cam.status(), CameraStatus::stopped);
    EXPECT_FALSE(cam.running());
    EXPECT_EQ(cam.connectedCount(), 0);
    EXPECT_TRUE(cam.fps().empty());
    EXPECT_FALSE(FrameStore::shared().latestBuffer(0));
    EXPECT_EQ(log.messages().last(), QStringLiteral("Kamera-Sessions gestoppt"));
}

TEST_F(CameraManagerTest, WithoutFolderTheFileStaysInTheTemporaryFolder) {
    CameraManager& cam = live();
    cam.setSaveURL(QUrl());
    cam.startRecordingWith(false, false, false, QString(), 0.3);
    ASSERT_TRUE(pumpUntil([&] { return cam.recorder().counters().framesAppended >= 3; }));
    bool finished = false;
    cam.onRecordingFinished = [&] { finished = true; };
    cam.stopRecording();
    ASSERT_TRUE(pumpUntil([&] { return finished; }));
    const QStringList temp = filesIn(tempFolder(), QStringLiteral("ostrel-*.mp4"));
    ASSERT_EQ(temp.size(), 1);
    EXPECT_EQ(cam.activeTempFile(), QDir(tempFolder()).filePath(temp[0]));
    EXPECT_EQ(log.messages().last(),
              QStringLiteral("Kein Aufnahmeordner gewählt — Datei bleibt im temporären Ordner: ") +
                  temp[0]);
}

// A drive that stops answering (a frozen file system, a hung network folder): the recording
// goes on in memory and says why, without blaming the computer; a finish that still waits for
// the drive after ten seconds is given up, so that quitting goes on; once the drive answers, the
// recording is saved after all.
TEST_F(CameraManagerTest, StalledDriveIsSaidAndAFinishWaitingForItIsGivenUpAfterTenSeconds) {
    CameraManager& cam = live();
    cam.startRecordingWith(false, false, false, QString(), 0.3);
    ASSERT_TRUE(pumpUntil([&] { return cam.activeTempFile().has_value(); }));
    ASSERT_TRUE(pumpUntil([&] { return cam.recorder().counters().framesAppended >= 20; }));
    cam.recorder().holdDiskForTesting(true);
    ASSERT_TRUE(pumpUntil([&] { return cam.recorder().counters().diskWaitingMs >= 2000; }));
    scheduler.advance(500ms);
    EXPECT_TRUE(cam.recordingNotice().startsWith(QStringLiteral("Laufwerk reagiert nicht")));
    EXPECT_EQ(cam.recorder().rateLimit(), 0) << "the drive's stall is not the encoder's";

    bool finished = false;
    cam.onRecordingFinished = [&] { finished = true; };
    cam.stopRecording();
    scheduler.advance(9s);
    EXPECT_FALSE(finished);
    scheduler.advance(1s);
    EXPECT_TRUE(finished);
    EXPECT_FALSE(cam.isRecording());
    ASSERT_TRUE(cam.userAlert());
    EXPECT_TRUE(cam.userAlert()->startsWith(
        QStringLiteral("Die Aufnahme konnte nicht abgeschlossen werden: Das Laufwerk reagiert")));
    EXPECT_TRUE(filesIn(folder(), QStringLiteral("OSTREL-*.mp4")).isEmpty());

    cam.recorder().holdDiskForTesting(false);
    ASSERT_TRUE(pumpUntil([&] {
        return log.messages().join(u'\n').contains(QStringLiteral("Aufnahme gespeichert: "));
    }));
    const QStringList saved = filesIn(folder(), QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(saved.size(), 1);
    EXPECT_GE(decodedVideoFrames(QDir(folder()).filePath(saved[0])), 20);
}

// What a run that died mid-recording leaves: a partial file with some complete fragments,
// whose lock went with the process.
void recordAbandoned(const QString& path, int frames) {
    RecordingEngine engine;
    ASSERT_EQ(engine.start(path, 320, 180, false, {}, 0.3), std::nullopt);
    for (int i = 0; i < frames; ++i) {
        FrameJob job;
        job.wide = syntheticFrame(320, 180, i);
        job.pts = std::chrono::seconds(10) + i * MediaTime(33'333'333);
        engine.enqueueFrame(job);
        engine.waitUntilIdle();
    }
} // the engine goes without finishing: the file keeps its fragments and no duration

TEST_F(CameraManagerTest, CrashedRecordingIsRecoveredAtOnceButNotOneStillBeingWritten) {
    auto crashed = PartialRecording::create(folder(), 1763301909);
    auto running = PartialRecording::create(folder(), 1763301999);
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<PartialRecording>>(crashed));
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<PartialRecording>>(running));
    const QString crashedPath = std::get<std::unique_ptr<PartialRecording>>(crashed)->path();
    const QString runningPath = std::get<std::unique_ptr<PartialRecording>>(running)->path();
    recordAbandoned(crashedPath, 150);
    crashed = QString();                                    // its owner died just now
    QFile(runningPath).open(QIODevice::WriteOnly);          // another instance is writing this one
    ::chmod(QFile::encodeName(crashedPath).constData(), 0); // the crash left it without a mode
    // Named like ours, but not ours to touch: another program's MP4, and another user's file.
    const QString foreignPath = QDir(folder()).filePath(QStringLiteral(".ostrel-1.partial.mp4"));
    const QString otherUserPath = QDir(folder()).filePath(QStringLiteral(".ostrel-2.partial.mp4"));
    recordAbandoned(foreignPath, 150);
    {
        QFile foreign(foreignPath);
        ASSERT_TRUE(foreign.open(QIODevice::ReadWrite));
        QByteArray bytes = foreign.readAll();
        ASSERT_TRUE(bytes.contains(ffmpeg::recordingMark));
        bytes.replace(ffmpeg::recordingMark, "Fremde");
        foreign.seek(0);
        foreign.write(bytes);
    }
    ASSERT_TRUE(QFile::copy(foreignPath, otherUserPath));
    // Only root can give a file away.
    const bool otherUser =
        ::chown(QFile::encodeName(otherUserPath).constData(), ::geteuid() + 1, ::getegid()) == 0;
    if (!otherUser)
        QFile::remove(otherUserPath);

    CameraManager::Options options; // set up as the app does, the folder given afterwards
    options.scheduler = &scheduler;
    options.tempFolder = tempFolder();
    manager = std::make_unique<CameraManager>(backend, *settings, options);
    QSignalSpy recovered(manager.get(), &CameraManager::leftoversRecovered);
    manager->setSaveURL(QUrl::fromLocalFile(folder()));
    ASSERT_TRUE(pumpUntil([&] { return recovered.count() == 1; }));
    EXPECT_EQ(recovered.first().first().toInt(), 1);

    const QStringList saved = filesIn(folder(), QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(saved.size(), 1);
    EXPECT_TRUE(log.messages().contains(
        QStringLiteral("Aufnahme nach Absturz wiederhergestellt: ") + saved[0]));
    EXPECT_FALSE(QFile::exists(crashedPath));
    EXPECT_TRUE(QFile::exists(runningPath)) << "held by its writer: never taken";
    EXPECT_TRUE(QFile::exists(foreignPath));
    EXPECT_EQ(QFile::exists(otherUserPath), otherUser);
    const QString file = QDir(folder()).filePath(saved[0]);
    EXPECT_EQ(QFileInfo(file).permissions() & 0x0fff,
              QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ReadGroup |
                  QFileDevice::ReadOther)
        << "a new recording's mode";
    // Left alone files are reported once, not at every look.
    manager->setSaveURL(QUrl::fromLocalFile(tempFolder()));
    ASSERT_TRUE(pumpUntil([&] { return recovered.count() == 2; }));
    manager->setSaveURL(QUrl::fromLocalFile(folder()));
    ASSERT_TRUE(pumpUntil([&] { return recovered.count() == 3; }));
    const QStringList messages = log.messages();
    EXPECT_EQ(messages.count(QStringLiteral("Teilaufnahme nicht angetastet (nicht von OSTREL "
                                            "geschrieben): ") +
                             foreignPath),
              1);
    EXPECT_EQ(messages.count(QStringLiteral("Teilaufnahme nicht angetastet (gehört einem anderen "
                                            "Benutzer): ") +
                             otherUserPath),
              otherUser ? 1 : 0);
    const ProbedFile probed = probeFile(file);
    const int frames = decodedVideoFrames(file);
    EXPECT_GE(frames, 60);
    EXPECT_NEAR(probed.duration(), frames / 30.0, 0.15);
}

// A stop while a start is in flight: the start's late outcome must not bring back "Live", a
// running flag or a watchdog that restarts cameras someone else may now use.
TEST_F(CameraManagerTest, StartThatFinishesAfterAStopIsIgnored) {
    CameraManager& cam = make();
    cam.startCapture();
    ASSERT_TRUE(cam.starting());
    cam.stopCapture();
    EXPECT_EQ(cam.status(), CameraStatus::stopped);
    settle(); // the start's outcome arrives only now
    EXPECT_EQ(cam.status(), CameraStatus::stopped);
    EXPECT_FALSE(cam.running());
    EXPECT_EQ(cam.connectedCount(), 0);
    EXPECT_FALSE(log.messages().contains(QStringLiteral("2 Kameras live")));
    scheduler.advance(10s);
    EXPECT_EQ(cam.status(), CameraStatus::stopped) << "no watchdog, no poll step";
    EXPECT_FALSE(log.messages().join(u'\n').contains(QStringLiteral("automatischer Neustart")));

    // Stop, then start again at once (a swap of Wide and Macro): only the second start counts.
    cam.startCapture();
    cam.stopCapture();
    cam.startCapture();
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::live);
    EXPECT_EQ(log.messages().count(QStringLiteral("2 Kameras live")), 1);
    ASSERT_TRUE(bothCamerasDeliver());
}

TEST_F(CameraManagerTest, StartThatFinishesAfterAnUnplugLeavesTheCameraDisconnected) {
    CameraManager& cam = make();
    cam.startCapture();
    ASSERT_TRUE(cam.starting());
    backend.devices().unplug(kMacro);
    cam.deviceDisconnected({kMacro, VirtualDevices::cameraName, DeviceType::external});
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::cameraDisconnected);
    EXPECT_FALSE(cam.running());
    EXPECT_FALSE(cam.starting()) << "the outcome ran, so the next start may go";

    backend.devices().replug(kMacro);
    pumpPosted();
    scheduler.advance(800ms); // the poll loop's next attempt
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::live);
}

// A stop while a start is in flight, then a start before the next poll step: one poll loop
// only, so the search lasts its full 60 attempts (about 47 s), says so once and stops; a camera
// plugged in then starts the run.
TEST_F(CameraManagerTest, StopAndStartDuringPollingKeepOnePollLoopThatGivesUpAfterSixtyAttempts) {
    CameraManager& cam = make();
    cam.startCapture();
    ASSERT_TRUE(cam.starting());
    ASSERT_TRUE(cam.polling());
    cam.stopCapture();
    backend.devices().unplug(kMacro); // the notice is not delivered: no event loop runs
    cam.startCapture();
    EXPECT_EQ(cam.status(), CameraStatus::searching);
    scheduler.advance(30s);
    EXPECT_EQ(cam.status(), CameraStatus::searching);
    EXPECT_TRUE(cam.polling());
    EXPECT_EQ(cam.pollCount(), 38);
    scheduler.advance(17200ms);
    EXPECT_EQ(cam.status(), CameraStatus::noCameras);
    EXPECT_EQ(cam.pollCount(), 60);
    EXPECT_FALSE(cam.polling());
    scheduler.advance(60s);
    EXPECT_EQ(scheduler.pendingCount(), 0) << "no polling after giving up";
    settle();
    EXPECT_EQ(log.messages().count(QStringLiteral(
                  "Kameras nicht erkannt — beide anstecken; bei Bedarf neu starten.")),
              1);

    backend.devices().replug(kMacro);
    pumpPosted();
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::live);
}

// A camera that stops sending pictures during a recording is restarted in place, at once and
// then after 1, 2, 4 and 4 s, while the other camera and the recording go on; after the fifth
// failed try it is given up with an alert, and only at the recording's end does the whole run
// stop and start again.
TEST_F(CameraManagerTest, StalledCameraIsRestartedFiveTimesThenGivenUpWhileTheRecordingGoesOn) {
    settings->setValue(Setting::micDeviceUID, VirtualDevices::microphoneID);
    CameraManager& cam = live();
    cam.startRecordingWith(false, true, false, QString(), 0.3);
    ASSERT_TRUE(pumpUntil([&] { return cam.recorder().counters().framesAppended >= 3; }));
    backend.devices().stall(kMacro);
    ASSERT_TRUE(pumpUntil([&] { return cam.status() == CameraStatus::restarting; }, 10000));
    EXPECT_TRUE(log.messages().contains(QStringLiteral(
        "Makro-Kamera (OSTREL Kamera) liefert kein Bild mehr — wird neu gestartet")));
    const std::chrono::milliseconds pauses[] = {1s, 2s, 4s, 4s};
    for (int attempt = 1; attempt <= 5; ++attempt) {
        settle();
        EXPECT_EQ(
            log.messages().count(
                QStringLiteral("Makro-Kamera wird neu gestartet (Versuch %1/5)").arg(attempt)),
            1);
        EXPECT_TRUE(cam.running()) << "the restart stays inside the run";
        EXPECT_TRUE(cam.wideLive());
        scheduler.advance(3s); // the restarted stream shows no picture
        if (attempt < 5) {
            const auto pause = pauses[attempt - 1];
            scheduler.advance(pause - 1ms);
            EXPECT_EQ(log.messages().filter(QStringLiteral("Versuch %1/5").arg(attempt + 1)).size(),
                      0);
            scheduler.advance(1ms);
        }
    }
    const QString message = QStringLiteral("Makro-Kamera (OSTREL Kamera) liefert kein Bild mehr — "
                                           "USB-Verbindung/Hub prüfen und neu starten (↻)");
    EXPECT_TRUE(log.entries().back() == std::make_pair(LogLevel::error, message));
    EXPECT_EQ(cam.userAlert(), message);
    EXPECT_EQ(cam.status(), CameraStatus::cameraDisconnected);
    EXPECT_EQ(cam.connectedCount(), 1);
    EXPECT_FALSE(cam.running());
    EXPECT_TRUE(cam.cameraMissing());
    EXPECT_TRUE(cam.wideLive()) << "Wide and the sound go on";
    EXPECT_FALSE(cam.macroLive());
    EXPECT_TRUE(cam.micActive());
    const int appended = cam.recorder().counters().framesAppended;
    ASSERT_TRUE(pumpUntil([&] { return cam.recorder().counters().framesAppended > appended + 5; }));

    backend.devices().unstall(kMacro);
    bool finished = false;
    cam.onRecordingFinished = [&] { finished = true; };
    cam.stopRecording();
    ASSERT_TRUE(pumpUntil([&] { return finished; }));
    EXPECT_EQ(filesIn(folder(), QStringLiteral("OSTREL-*.mp4")).size(), 1);
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::live) << "the whole run started again";
    EXPECT_FALSE(cam.cameraMissing());
}

// Two cameras on one USB 2 hub: not "cameras not found" after 60 attempts, but the bandwidth
// message, alerted once.
TEST_F(CameraManagerTest, NoUsbBandwidthIsSaidOnceAndNotCalledMissingCameras) {
    backend.devices().setNoBandwidth(kMacro, true);
    CameraManager& cam = make();
    cam.startCapture();
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::cameraError);
    const QString bandwidth = QStringLiteral(
        "USB-Bandbreite reicht nicht — Kameras an verschiedene USB-Anschlüsse anschließen");
    EXPECT_EQ(cam.userAlert(), bandwidth);
    cam.setUserAlert(std::nullopt); // dismissed
    for (int step = 0; step < 60; ++step) {
        scheduler.advance(800ms);
        settle();
    }
    EXPECT_FALSE(cam.userAlert()) << "the same cause is not alerted at every attempt";
    EXPECT_FALSE(cam.polling());
    EXPECT_EQ(cam.status(), CameraStatus::cameraError);
    EXPECT_FALSE(log.messages().contains(
        QStringLiteral("Kameras nicht erkannt — beide anstecken; bei Bedarf neu starten.")));
    EXPECT_TRUE(log.messages().contains(QStringLiteral("Kameras gefunden, starten aber nicht: ") +
                                        bandwidth));
}

// No rights to the camera, or another program streaming from it: the window says what to do,
// once per cause, in the user's language (German here, no translator installed).
TEST_F(CameraManagerTest, CameraWithoutRightsOrBusyAlertsWhatToDo) {
    backend.devices().setInputError(kMacro, CameraErrorTexts::noAccess());
    CameraManager& cam = make();
    cam.startCapture();
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::cameraError);
    EXPECT_EQ(cam.userAlert(), CameraErrorTexts::noAccess());
    EXPECT_TRUE(log.messages().contains(QStringLiteral("Kamera 1 (OSTREL Kamera): ") +
                                        CameraErrorTexts::noAccess()));

    // Rights granted; now another program holds the Wide camera.
    backend.devices().setInputError(kMacro, QString());
    const QString busy = CameraErrorTexts::busy(QStringLiteral("cheese, PID 4711"));
    backend.devices().setStartError(kWide, busy);
    scheduler.advance(800ms);
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::cameraError);
    EXPECT_EQ(cam.userAlert(), busy);

    backend.devices().setStartError(kWide, QString()); // the other program quit
    scheduler.advance(800ms);
    settle();
    EXPECT_EQ(cam.status(), CameraStatus::live);
}
