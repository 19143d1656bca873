#include "capture/virtual/VirtualBackend.h"
#include "capture/virtual/VirtualDevices.h"
#include "control/CameraManager.h"
#include "control/FrameStore.h"
#include "devices/DeviceStore.h"
#include "recording/RecordingEngine.h"
#include "recording/ffmpeg/VideoEncoder.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"
#include "support/EventLoop.h"
#include "ui/main/LiveCameraView.h"
#include "ui/main/MainViewState.h"

#include <QDir>
#include <QKeyEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace std::chrono_literals;

namespace {

// The main view in a window, on the virtual cameras, with the camera manager and the view's
// own timers on one hand-driven clock.
class ContentViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        settings = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("ostrel.ini")));
        settings->setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
        settings->setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
        ASSERT_TRUE(QDir().mkpath(dir.filePath(QStringLiteral("Aufnahmen"))));
        ASSERT_TRUE(QDir().mkpath(dir.filePath(QStringLiteral("tmp"))));
        devices = std::make_unique<DeviceStore>(backend.discovery(), *settings);
        recordings = std::make_unique<RecordingsStore>(*settings);
        recordings->setFolder(QUrl::fromLocalFile(dir.filePath(QStringLiteral("Aufnahmen"))));
        CameraManager::Options options;
        options.scheduler = &scheduler;
        options.tempFolder = dir.filePath(QStringLiteral("tmp"));
        options.macroStartPause = 0ms;
        options.freeSpace = [](const QString&, const std::optional<QString>&,
                               const std::optional<QString>&) {
            return std::optional<std::int64_t>(500'000'000'000); // never near the reserve
        };
        options.cores = 8; // cores to spare
        cam = std::make_unique<CameraManager>(backend, *settings, options);
    }

    void TearDown() override {
        root.reset();
        window.reset();
        cam.reset();
        FrameStore::shared().clear();
    }

    // Opens the view; capture starts on the next turn of the event loop.
    void open() {
        window = std::make_unique<QQuickWindow>();
        window->resize(1000, 640);
        QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Ostrel/ContentView.qml")));
        // Built inside the window, as the shell does, so that its alerts find it.
        QObject* object = component.beginCreate(engine.rootContext());
        ASSERT_TRUE(object) << component.errorString().toStdString();
        root.reset(qobject_cast<QQuickItem*>(object));
        component.setInitialProperties(
            object, {{QStringLiteral("cam"), QVariant::fromValue(cam.get())},
                     {QStringLiteral("devices"), QVariant::fromValue(devices.get())},
                     {QStringLiteral("recordings"), QVariant::fromValue(recordings.get())},
                     {QStringLiteral("settings"), QVariant::fromValue(settings.get())}});
        root->setParentItem(window->contentItem());
        root->setSize(window->size());
        component.completeCreate();
        window->show();
        state = root->findChild<MainViewState*>(QStringLiteral("mainViewState"));
        ASSERT_TRUE(state);
        state->setScheduler(scheduler);
        root->forceActiveFocus();
        pumpPosted();
    }

    void openLive() {
        open();
        cam->drainConfigurationQueue();
        pumpPosted();
        ASSERT_TRUE(pumpUntil([this] { return cam->running(); }));
    }

    // Delivers a key to the view the way the window does; returns whether it was accepted.
    bool key(int code) {
        QKeyEvent event(QEvent::KeyPress, code, Qt::NoModifier);
        QCoreApplication::sendEvent(window.get(), &event);
        return event.isAccepted();
    }

    template <typename T = QQuickItem> T* find(const char* name) const {
        return root->findChild<T*>(QString::fromLatin1(name));
    }

    QTemporaryDir dir;
    VirtualBackend backend;
    ManualScheduler scheduler;
    std::unique_ptr<SettingsStore> settings;
    std::unique_ptr<DeviceStore> devices;
    std::unique_ptr<RecordingsStore> recordings;
    std::unique_ptr<CameraManager> cam;
    QQmlEngine engine;
    std::unique_ptr<QQuickWindow> window;
    std::unique_ptr<QQuickItem> root;
    MainViewState* state = nullptr;
};

} // namespace

TEST_F(ContentViewTest, MenuRecordingIsIgnoredWhileNoCameraRuns) {
    backend.devices().unplug(VirtualDevices::camera1ID);
    backend.devices().unplug(VirtualDevices::camera2ID);
    open();
    ASSERT_FALSE(cam->running());
    state->setRecordSeconds(42);
    QVariant result;
    ASSERT_TRUE(QMetaObject::invokeMethod(root.get(), "toggleRecording",
                                          Q_RETURN_ARG(QVariant, result), Q_ARG(QVariant, true)));
    EXPECT_EQ(state->recordSeconds(), 42); // not even reset
    EXPECT_FALSE(cam->isRecording());
    // Photos need a running camera too: no flash.
    EXPECT_TRUE(key(Qt::Key_Space));
    EXPECT_DOUBLE_EQ(state->flashOpacity(), 0);
}

TEST_F(ContentViewTest, UnreachableFolderWarnsAndAlerts) {
    QDir(recordings->folderPath()).removeRecursively();
    open();
    auto* alert = root->findChild<QObject*>(QStringLiteral("folderMissingAlert"));
    ASSERT_TRUE(alert);
    // Looked at off the GUI thread, so the answer comes a moment later.
    EXPECT_TRUE(pumpUntil([&] { return alert->property("visible").toBool(); }));
    EXPECT_EQ(alert->property("title").toString(), QStringLiteral("Aufnahmeordner nicht gefunden"));
}

TEST_F(ContentViewTest, AudioMeterLightsRoundedBarsAndNoneWhenMuted) {
    QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/Ostrel/AudioMeter.qml")));
    std::unique_ptr<QObject> meter(component.create());
    ASSERT_TRUE(meter) << component.errorString().toStdString();
    const std::pair<double, int> cases[] = {{0, 0},   {0.06, 0}, {0.07, 1}, {0.44, 4},
                                            {0.8, 6}, {0.94, 8}, {1, 8}};
    for (const auto& [level, lit] : cases) {
        meter->setProperty("level", level);
        EXPECT_EQ(meter->property("lit").toInt(), lit) << "level " << level;
    }
    meter->setProperty("muted", true);
    EXPECT_EQ(meter->property("lit").toInt(), 0);
}

// The pacing rule itself is RecordingPressure's; this finds faults in its wiring to the live
// views and the notice.
TEST_F(ContentViewTest, LiveViewGivesWayToAnEncoderThatFallsBehindAndSaysSoUntilItKeepsUpAgain) {
    openLive();
    auto* wide = find<LiveCameraView>("wideView");
    auto* macro = find<LiveCameraView>("macroView");
    ASSERT_TRUE(wide && macro);
    cam->startRecording(320, 180, false, QImage(), 0.3);
    // While the encoder shows what a frame costs it, the live views make room; on a machine
    // with cores to spare they are back at full rate two seconds in.
    EXPECT_EQ(wide->refreshInterval(), 100);
    for (int tick = 0; tick < 12 && wide->refreshInterval() != 33; ++tick) {
        const int encoded = cam->recorder().counters().encoded;
        ASSERT_TRUE(pumpUntil([&] { return cam->recorder().counters().encoded > encoded; }));
        scheduler.advance(500ms);
    }
    EXPECT_EQ(macro->refreshInterval(), 33);

    // The encoder takes nothing: every frame is dropped, each half-second tick that saw a drop
    // slows the views, and at their floor the recording is paced and the user told.
    cam->recorder().holdEncodingForTesting(true);
    for (int tick = 0; tick < 7; ++tick) {
        const auto drops = [this] {
            const auto c = cam->recorder().counters();
            return c.droppedBusy + c.droppedNotReady;
        };
        const int before = drops();
        ASSERT_TRUE(pumpUntil([&] { return drops() > before; }));
        scheduler.advance(500ms);
        if (tick == 0) {
            EXPECT_EQ(macro->refreshInterval(), 50);
            EXPECT_FALSE(find("recordingNotice")->isVisible());
        }
    }
    EXPECT_EQ(wide->refreshInterval(), 100);
    EXPECT_EQ(macro->refreshInterval(), 100);
    EXPECT_EQ(cam->recorder().rateLimit(), 10);
    EXPECT_TRUE(cam->recordingNotice().endsWith(
        QStringLiteral("Die Aufnahme läuft gleichmäßig mit 10 Bildern pro Sekunde.")));
    EXPECT_TRUE(find("recordingNotice")->isVisible());

    // It takes frames again: measured to keep up, it gets every frame back after a calm while,
    // and the notice goes.
    cam->recorder().holdEncodingForTesting(false);
    for (int tick = 0; tick < 60 && cam->recorder().rateLimit() != 0; ++tick) {
        const int encoded = cam->recorder().counters().encoded;
        ASSERT_TRUE(pumpUntil([&] { return cam->recorder().counters().encoded > encoded; }));
        scheduler.advance(500ms);
    }
    EXPECT_EQ(cam->recorder().rateLimit(), 0);
    EXPECT_FALSE(find("recordingNotice")->isVisible());

    // The recording ends: full rate again and no notice.
    cam->stopRecording();
    ASSERT_TRUE(pumpUntil([this] { return !cam->isRecording(); }, 20000));
    EXPECT_EQ(wide->refreshInterval(), 33);
    EXPECT_EQ(macro->refreshInterval(), 33);
    EXPECT_FALSE(find("recordingNotice")->isVisible());
}
