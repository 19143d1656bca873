#include "app/AppShell.h"
#include "capture/virtual/VirtualBackend.h"
#include "control/CameraManager.h"
#include "control/FrameStore.h"
#include "recording/MediaProbe.h"
#include "recording/RecordingEngine.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"
#include "support/EventLoop.h"
#include "support/LogProbe.h"

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class AppShellTest : public ::testing::Test {
protected:
    void TearDown() override {
        engine.reset();
        shell.reset();
        FrameStore::shared().clear();
    }

    QString folder() const { return dir.filePath(QStringLiteral("Aufnahmen")); }
    QStringList saved() const {
        return QDir(folder()).entryList({QStringLiteral("OSTREL-*.mp4")}, QDir::Files);
    }

    QTemporaryDir dir;
    VirtualBackend backend;
    SettingsStore settings{dir.filePath(QStringLiteral("ostrel.ini"))};
    std::unique_ptr<AppShell> shell;
    std::unique_ptr<QQmlApplicationEngine> engine;
    LogProbe log;
};

// The shown window of that name (a closed one may linger until it is deleted).
QQuickWindow* topLevel(const QString& name) {
    for (QWindow* window : QGuiApplication::topLevelWindows())
        if (window->objectName() == name && window->isVisible())
            return qobject_cast<QQuickWindow*>(window);
    return nullptr;
}

} // namespace

TEST_F(AppShellTest, RunningTheSetupAgainWhileRecordingSavesTheRecordingFirst) {
    settings.setValue(Setting::didCompleteOnboarding, true);
    settings.setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
    settings.setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
    shell = std::make_unique<AppShell>(settings, backend, [] {});
    engine = std::make_unique<QQmlApplicationEngine>();
    ASSERT_FALSE(shell->load(*engine).has_value());
    ASSERT_FALSE(engine->rootObjects().isEmpty());
    auto* window = qobject_cast<QQuickWindow*>(engine->rootObjects().first());
    ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
    ASSERT_TRUE(QDir().mkpath(folder()));
    shell->recordings().setFolder(QUrl::fromLocalFile(folder()));
    ASSERT_TRUE(pumpUntil([&] { return shell->camera().running(); }));
    auto* record = window->findChild<QObject*>(QStringLiteral("toggleRecordingAction"));
    ASSERT_TRUE(record);
    QMetaObject::invokeMethod(record, "trigger");
    ASSERT_TRUE(pumpUntil([&] {
        return shell->camera().isRecording() &&
               shell->camera().recorder().counters().framesAppended >= 10;
    }));

    QMetaObject::invokeMethod(window, "openSettings");
    QQuickWindow* settingsWindow = topLevel(QStringLiteral("ostrel-settings"));
    ASSERT_TRUE(settingsWindow);
    auto* rerun = settingsWindow->findChild<QObject*>(QStringLiteral("rerunSetupButton"));
    ASSERT_TRUE(rerun);
    QMetaObject::invokeMethod(rerun, "clicked");
    auto* content = window->findChild<QObject*>(QStringLiteral("content"));
    EXPECT_FALSE(content->property("item").value<QObject*>()->property("cam").isValid())
        << "the setup shows at once";

    // Saving runs on a worker after the recording has stopped.
    ASSERT_TRUE(pumpUntil([&] { return !shell->camera().isRecording() && saved().size() == 1; }))
        << "the recording is saved, not left open";
    EXPECT_TRUE(pumpUntil([&] { return !shell->camera().running(); }))
        << "the cameras are free for the setup";
    EXPECT_EQ(log.messages().count(
                  QStringLiteral("Einrichtung: Aufnahme wird abgeschlossen und gespeichert…")),
              1);
    const QString file = QDir(folder()).filePath(saved().first());
    ASSERT_TRUE(probeFile(file).ok);
    const qint64 size = QFileInfo(file).size();

    // Back in the main view the cameras run again, and nothing reaches the saved file.
    settings.setValue(Setting::didCompleteOnboarding, true);
    ASSERT_TRUE(pumpUntil([&] { return shell->camera().running(); }));
    ASSERT_TRUE(pumpUntil([&] {
        return FrameStore::shared().latestBuffer(0).has_value() &&
               FrameStore::shared().latestBuffer(1).has_value();
    }));
    EXPECT_FALSE(shell->camera().isRecording());
    EXPECT_EQ(QFileInfo(file).size(), size);
    EXPECT_EQ(saved().size(), 1);
}
