#include "app/AppController.h"
#include "capture/virtual/VirtualBackend.h"
#include "control/CameraManager.h"
#include "control/FrameStore.h"
#include "diagnostics/OstrelLog.h"
#include "recording/RecordingEngine.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"
#include "support/LogProbe.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace {

class QuitHandshakeTest : public ::testing::Test {
protected:
    void SetUp() override {
        settings = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("ostrel.ini")));
        settings->setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
        settings->setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
        ASSERT_TRUE(QDir().mkpath(folder()));
        CameraManager::Options options;
        options.scheduler = &scheduler;
        options.tempFolder = dir.path();
        options.macroStartPause = 0ms;
        cam = std::make_unique<CameraManager>(backend, *settings, options);
        cam->setSaveURL(QUrl::fromLocalFile(folder()));
        cam->startCapture();
        cam->drainConfigurationQueue();
        pumpPosted();
        ASSERT_TRUE(cam->running());
        ASSERT_TRUE(pumpUntil([] { return FrameStore::shared().latestBuffer(0).has_value(); }));
    }
    void TearDown() override {
        cam.reset();
        FrameStore::shared().clear();
    }
    QString folder() const { return dir.filePath(QStringLiteral("Aufnahmen")); }
    QStringList saved() const {
        return QDir(folder()).entryList({QStringLiteral("OSTREL-*.mp4")}, QDir::Files);
    }
    int entriesWith(const QString& text) const { return int(log.messages().count(text)); }

    QTemporaryDir dir;
    VirtualBackend backend;
    ManualScheduler scheduler;
    std::unique_ptr<SettingsStore> settings;
    std::unique_ptr<CameraManager> cam;
    LogProbe log;
};

const QString kQuitting = QStringLiteral("Beenden: Aufnahme wird abgeschlossen und gespeichert…");

} // namespace

TEST_F(QuitHandshakeTest, QuitWithoutRecordingStopsCaptureAndEndsAtOnce) {
    int terminated = 0;
    AppController delegate([&] { ++terminated; });
    const int before = entriesWith(kQuitting);
    EXPECT_EQ(delegate.applicationShouldTerminate(), AppController::Reply::now);
    EXPECT_FALSE(cam->running());
    EXPECT_EQ(cam->status(), CameraStatus::stopped);
    delegate.requestQuit();
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(entriesWith(kQuitting), before);
}

TEST_F(QuitHandshakeTest, QuitWhileRecordingEndsOnlyAfterTheFileIsSaved) {
    cam->startRecordingWith(false, false, true, QStringLiteral("Praxis"), 0.3);
    ASSERT_TRUE(pumpUntil([&] { return cam->recorder().counters().framesAppended >= 10; }));

    bool previousCalled = false;
    cam->onRecordingFinished = [&] { previousCalled = true; };
    QStringList savedWhenTerminated;
    int terminated = 0;
    AppController delegate([&] {
        ++terminated;
        savedWhenTerminated = saved();
    });
    delegate.requestQuit();
    EXPECT_TRUE(delegate.quitting());
    EXPECT_EQ(terminated, 0) << "the answer is later";
    EXPECT_EQ(entriesWith(kQuitting), 1);

    delegate.requestQuit(); // a second request meanwhile is ignored
    EXPECT_EQ(delegate.applicationShouldTerminate(), AppController::Reply::cancel);

    ASSERT_TRUE(pumpUntil([&] { return terminated > 0; }));
    EXPECT_EQ(terminated, 1);
    EXPECT_EQ(savedWhenTerminated.size(), 1) << "the recording was in the folder first";
    EXPECT_FALSE(previousCalled) << "the earlier one-shot callback is dropped";
    EXPECT_FALSE(cam->running()) << "capture stopped before the end";
    EXPECT_EQ(entriesWith(kQuitting), 1);
}
