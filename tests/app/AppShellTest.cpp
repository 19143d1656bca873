#include "app/AppShell.h"
#include "app/AppController.h"
#include "capture/virtual/VirtualBackend.h"
#include "control/CameraManager.h"
#include "control/FrameStore.h"
#include "diagnostics/LogListModel.h"
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
#include <QQmlComponent>
#include <QQmlContext>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class AppShellTest : public ::testing::Test {
protected:
    void SetUp() override {
        settings = std::make_unique<SettingsStore>(dir.filePath(QStringLiteral("ostrel.ini")));
    }
    void TearDown() override {
        engine.reset();
        shell.reset();
        FrameStore::shared().clear();
    }

    QQuickWindow* open() {
        shell = std::make_unique<AppShell>(*settings, backend, [this] {
            ++terminated;
            savedWhenTerminated = saved();
        });
        engine = std::make_unique<QQmlApplicationEngine>();
        EXPECT_FALSE(shell->load(*engine).has_value());
        if (engine->rootObjects().isEmpty())
            return nullptr;
        auto* window = qobject_cast<QQuickWindow*>(engine->rootObjects().first());
        EXPECT_TRUE(pumpUntil([&] { return window->isExposed(); }));
        return window;
    }

    // The main view with both virtual cameras live and a recording folder.
    QQuickWindow* openLive() {
        settings->setValue(Setting::didCompleteOnboarding, true);
        settings->setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
        settings->setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
        QQuickWindow* window = open();
        if (!window)
            return nullptr;
        EXPECT_TRUE(QDir().mkpath(folder()));
        shell->recordings().setFolder(QUrl::fromLocalFile(folder()));
        EXPECT_TRUE(pumpUntil([&] { return shell->camera().running(); }));
        return window;
    }

    // Starts a recording with the menu command and waits until frames reach the file.
    bool record(QQuickWindow* window) {
        auto* action = window->findChild<QObject*>(QStringLiteral("toggleRecordingAction"));
        if (!action)
            return false;
        QMetaObject::invokeMethod(action, "trigger");
        return pumpUntil([&] {
            return shell->camera().isRecording() &&
                   shell->camera().recorder().counters().framesAppended >= 10;
        });
    }

    QString folder() const { return dir.filePath(QStringLiteral("Aufnahmen")); }
    QStringList saved() const {
        return QDir(folder()).entryList({QStringLiteral("OSTREL-*.mp4")}, QDir::Files);
    }

    // The shown window of that name (a closed one may linger until it is deleted).
    static QQuickWindow* topLevel(const QString& name) {
        for (QWindow* window : QGuiApplication::topLevelWindows())
            if (window->objectName() == name && window->isVisible())
                return qobject_cast<QQuickWindow*>(window);
        return nullptr;
    }

    // A button of the diagnostics window's level filter (made by a Repeater, so found among
    // the row's child items).
    static QObject* filterButton(QQuickWindow* window, const QString& label) {
        auto* row = window->findChild<QQuickItem*>(QStringLiteral("levelFilter"));
        if (!row)
            return nullptr;
        for (QQuickItem* item : row->childItems())
            if (item->objectName() == QStringLiteral("filter_") + label)
                return item;
        return nullptr;
    }

    QObject* content(QQuickWindow* window) const {
        auto* loader = window->findChild<QObject*>(QStringLiteral("content"));
        return loader ? loader->property("item").value<QObject*>() : nullptr;
    }

    QTemporaryDir dir;
    VirtualBackend backend;
    std::unique_ptr<SettingsStore> settings;
    std::unique_ptr<AppShell> shell;
    std::unique_ptr<QQmlApplicationEngine> engine;
    int terminated = 0;
    QStringList savedWhenTerminated;
    LogProbe log;
};

} // namespace

TEST_F(AppShellTest, RunningTheSetupAgainWhileRecordingSavesTheRecordingFirst) {
    QQuickWindow* window = openLive();
    ASSERT_TRUE(window);
    ASSERT_TRUE(record(window));

    QMetaObject::invokeMethod(window, "openSettings");
    QQuickWindow* settingsWindow = topLevel(QStringLiteral("ostrel-settings"));
    ASSERT_TRUE(settingsWindow);
    auto* rerun = settingsWindow->findChild<QObject*>(QStringLiteral("rerunSetupButton"));
    ASSERT_TRUE(rerun);
    QMetaObject::invokeMethod(rerun, "clicked");
    EXPECT_FALSE(content(window)->property("cam").isValid()) << "the setup shows at once";

    // Saving runs on a worker after the recording has stopped.
    ASSERT_TRUE(pumpUntil([&] { return !shell->camera().isRecording() && saved().size() == 1; }))
        << "the recording is saved, not left open";
    EXPECT_TRUE(pumpUntil([&] { return !shell->camera().running(); }))
        << "the cameras are free for the setup";
    EXPECT_EQ(log.messages().count(
                  QStringLiteral("Einrichtung: Aufnahme wird abgeschlossen und gespeichert…")),
              1);
    const QString file = QDir(folder()).filePath(saved().first());
    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    EXPECT_EQ(probed.stream(QStringLiteral("video")).value("width").toInt(), 1920);
    const qint64 size = QFileInfo(file).size();

    // Back in the main view the cameras run again, and nothing reaches the saved file.
    settings->setValue(Setting::didCompleteOnboarding, true);
    ASSERT_TRUE(pumpUntil([&] { return shell->camera().running(); }));
    ASSERT_TRUE(pumpUntil([&] {
        return FrameStore::shared().latestBuffer(0).has_value() &&
               FrameStore::shared().latestBuffer(1).has_value();
    }));
    EXPECT_FALSE(shell->camera().isRecording());
    EXPECT_EQ(QFileInfo(file).size(), size);
    EXPECT_EQ(saved().size(), 1);
}

TEST_F(AppShellTest, ClosingTheWindowWhileRecordingQuitsOnlyAfterTheFileIsSaved) {
    QQuickWindow* window = openLive();
    ASSERT_TRUE(window);
    ASSERT_TRUE(record(window));

    window->close();
    EXPECT_EQ(terminated, 0) << "the quit waits for the recording";
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(shell->controller().quitting());
    ASSERT_TRUE(pumpUntil([&] { return terminated > 0; }));
    EXPECT_EQ(savedWhenTerminated.size(), 1);
    EXPECT_FALSE(shell->camera().running());
}
