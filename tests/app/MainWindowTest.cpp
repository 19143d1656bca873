#include "app/MainWindow.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QImage>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <gtest/gtest.h>

TEST(MainWindow, OpensTitledOSTRELRendersAndClosesCleanly) {
    QTemporaryDir dir;
    SettingsStore settings(dir.filePath(QStringLiteral("ostrel.conf")));
    auto engine = std::make_unique<QQmlApplicationEngine>();
    ASSERT_FALSE(loadMainWindow(*engine, settings).has_value());
    ASSERT_EQ(engine->rootObjects().size(), 1);
    auto* window = qobject_cast<QQuickWindow*>(engine->rootObjects().first());
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(window->title(), QStringLiteral("OSTREL"));
    EXPECT_TRUE(window->isVisible());

    ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
    const QImage shot = window->grabWindow();
    ASSERT_FALSE(shot.isNull());
    EXPECT_EQ(shot.size(), window->size() * window->devicePixelRatio());
    // The background is the ink colour; the word mark is drawn on it.
    EXPECT_EQ(QColor(shot.pixel(5, 5)), QColor(10, 10, 10));
    if (const QByteArray out = qgetenv("OSTREL_SCREENSHOT_DIR"); !out.isEmpty())
        shot.save(QDir(QString::fromUtf8(out)).filePath(QStringLiteral("main-window.png")));

    window->close();
    engine.reset();
    pumpPosted();
}
