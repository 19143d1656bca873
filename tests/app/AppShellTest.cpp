#include "app/AppShell.h"
#include "capture/CameraManagerMac.h"
#include "capture/FrameStore.h"
#include "capture/virtual/VirtualBackend.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"
#include "support/FakePortal.h"
#include "ui/DesktopColorScheme.h"

#include <QGuiApplication>
#include <QPalette>
#include <QQmlApplicationEngine>
#include <QQmlComponent>
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
        shell = std::make_unique<AppShell>(*settings, backend, [this] { ++terminated; });
        engine = std::make_unique<QQmlApplicationEngine>();
        EXPECT_FALSE(shell->load(*engine).has_value());
        if (engine->rootObjects().isEmpty())
            return nullptr;
        auto* window = qobject_cast<QQuickWindow*>(engine->rootObjects().first());
        EXPECT_TRUE(pumpUntil([&] { return window->isExposed(); }));
        return window;
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
};

} // namespace

TEST_F(AppShellTest, FirstLaunchShowsTheSetupAndFinishingItSwitchesTheSameWindow) {
    QQuickWindow* window = open();
    ASSERT_TRUE(window);
    EXPECT_EQ(window->title(), QStringLiteral("OSTREL"));
    QObject* setup = content(window);
    ASSERT_TRUE(setup);
    EXPECT_FALSE(setup->property("cam").isValid()) << "the setup, not the main view";

    // Menu commands during the setup do nothing visible.
    auto* record = window->findChild<QObject*>(QStringLiteral("toggleRecordingAction"));
    ASSERT_TRUE(record);
    QMetaObject::invokeMethod(record, "trigger");
    pumpPosted();
    EXPECT_FALSE(shell->camera().isRecording());
    EXPECT_EQ(shell->camera().status(), CameraStatus::ready);

    settings->setValue(Setting::didCompleteOnboarding, true);
    pumpPosted();
    QObject* main = content(window);
    ASSERT_TRUE(main);
    EXPECT_TRUE(main->property("cam").isValid());
    EXPECT_EQ(window->minimumWidth(), 900);
}

TEST_F(AppShellTest, ClosingTheWindowWithoutRecordingQuitsAtOnce) {
    settings->setValue(Setting::didCompleteOnboarding, true);
    QQuickWindow* window = open();
    ASSERT_TRUE(window);
    window->close();
    pumpPosted();
    EXPECT_EQ(terminated, 1);
}

TEST_F(AppShellTest, AutomaticAppearanceFollowsTheDesktopThenThePalette) {
    PrivateBus bus;
    ASSERT_TRUE(bus.isValid());
    FakePortal portal(bus);
    ASSERT_TRUE(portal.start(2));
    QQuickWindow* window = open();
    ASSERT_TRUE(window);
    shell->colorScheme().listenOn(bus.connect());
    // The palette singleton every window draws with, as QML sees it.
    QQmlComponent probe(engine.get());
    probe.setData("import QtQml\nimport Ostrel\nQtObject { property bool dark: Theme.dark }",
                  QUrl(QStringLiteral("qrc:/Ostrel/ThemeProbe.qml")));
    std::unique_ptr<QObject> theme(probe.create());
    ASSERT_TRUE(theme) << probe.errorString().toStdString();
    const auto dark = [&] { return theme->property("dark").toBool(); };

    ASSERT_TRUE(pumpUntil([&] { return !dark(); })) << "the desktop prefers light";
    portal.changeColorScheme(1);
    ASSERT_TRUE(pumpUntil(dark)) << "the desktop switched to dark";

    // A choice in the settings wins over the desktop.
    settings->setValue(Setting::appearanceMode, 1);
    ASSERT_TRUE(pumpUntil([&] { return !dark(); }));
    settings->setValue(Setting::appearanceMode, 0);
    ASSERT_TRUE(pumpUntil(dark));

    // No stated preference: the palette decides.
    const bool paletteDark = QGuiApplication::palette().color(QPalette::Window).lightnessF() < 0.5;
    portal.changeColorScheme(0);
    ASSERT_TRUE(pumpUntil([&] {
        return shell->colorScheme().preference() == DesktopColorScheme::Preference::noPreference;
    }));
    pumpPosted();
    EXPECT_EQ(dark(), paletteDark);
}
