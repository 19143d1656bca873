// The built app on a desktop session bus of the test's own: it follows the desktop's dark mode
// from the settings portal, and "Aufnahmeordner öffnen" (Ctrl+Shift+O) asks the file manager,
// or opens the folder with xdg-open when there is none.

#include "blackbox/AppRun.h"
#include "support/EventLoop.h"
#include "support/FakePortal.h"
#include "support/PrivateBus.h"

#include <QColor>
#include <QFile>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

// The middle of the top bar, where only its background shows.
QColor topBarColour(const QImage& screen, const QRect& window) {
    return screen.pixelColor(window.center().x(), window.top() + 26);
}

// Shows the bars with a handled key (they hide after 6 s of quiet) and waits until the top bar
// has the colour asked for; the key is pressed again for each new try.
QImage waitForBar(AppRun& app, const QRect& window, const QColor& wanted) {
    QImage screen;
    for (int attempt = 0; attempt < 12; ++attempt) {
        app.pressKeys(QStringLiteral("3"));
        screen = app.waitForScreen(
            [&](const QImage& shot) { return topBarColour(shot, window) == wanted; }, 5000);
        if (topBarColour(screen, window) == wanted)
            break;
    }
    return screen;
}

} // namespace

TEST(DesktopServices, AutomaticAppearanceFollowsTheDesktopWhileRunning) {
    PrivateBus bus;
    ASSERT_TRUE(bus.isValid());
    FakePortal portal(bus);
    ASSERT_TRUE(portal.start(2));
    AppRunOptions options;
    options.environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    AppRun app(options);
    ASSERT_STARTED(app.start());
    const QRect window = app.windowGeometry();
    ASSERT_FALSE(window.isEmpty());

    // The desktop prefers light at the start, then switches to dark.
    for (const QString& name : {QStringLiteral("light"), QStringLiteral("dark")}) {
        if (name == u"dark")
            portal.changeColorScheme(1);
        const QColor bar(name == u"dark" ? 0x1c1c1e : 0xf2f2f0);
        const QImage screen = waitForBar(app, window, bar);
        EXPECT_EQ(topBarColour(screen, window).name().toStdString(), bar.name().toStdString())
            << name.toStdString();
        saveForLooking(screen, name);
    }
}

TEST(DesktopServices, OpenFolderAsksTheFileManagerElseXdgOpen) {
    PrivateBus bus;
    ASSERT_TRUE(bus.isValid());
    QTemporaryDir bin;
    const QString asked = bin.filePath(QStringLiteral("asked.txt"));
    QFile script(bin.filePath(QStringLiteral("xdg-open")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/sh\nprintf '%s\\n' \"$@\" > \"" + asked.toUtf8() + ".part\"\nmv \"" +
                 asked.toUtf8() + ".part\" \"" + asked.toUtf8() + "\"\n");
    script.close();
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

    AppRunOptions options;
    options.environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    options.environment.insert(QStringLiteral("PATH"),
                               bin.path() + u':' + qEnvironmentVariable("PATH"));
    AppRun app(options);
    ASSERT_STARTED(app.start());

    // No file manager on the bus: the folder opens with xdg-open.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+shift+o")));
    ASSERT_TRUE(pollUntil([&] { return QFile::exists(asked); }, 60000));
    QFile answer(asked);
    ASSERT_TRUE(answer.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(answer.readAll()), app.recordingFolder() + u'\n');
    answer.close();
    QFile::remove(asked);

    // With a file manager, it shows the folder, and xdg-open is left alone.
    QDBusConnection manager = bus.connect();
    FakeBusObject fake([](const QDBusMessage& call, const QDBusConnection& connection) {
        connection.send(call.createReply());
    });
    ASSERT_TRUE(
        manager.registerVirtualObject(QStringLiteral("/org/freedesktop/FileManager1"), &fake));
    ASSERT_TRUE(manager.registerService(QStringLiteral("org.freedesktop.FileManager1")));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+shift+o")));
    ASSERT_TRUE(pumpUntil([&] { return !fake.calls.isEmpty(); }, 60000));
    EXPECT_EQ(fake.calls.first().member(), QStringLiteral("ShowItems"));
    EXPECT_EQ(fake.calls.first().arguments().value(0).toStringList(),
              QStringList{QUrl::fromLocalFile(app.recordingFolder()).toString(QUrl::FullyEncoded)});
    // Everything the app does next is after the answer; a photo press is logged after it.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("space")));
    app.waitForLog(QStringLiteral("Foto"), 30000);
    EXPECT_FALSE(QFile::exists(asked));
    manager.unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
    manager.unregisterObject(QStringLiteral("/org/freedesktop/FileManager1"));
}
