// The built app as a user starts it: the first start walks the setup; later starts come up live
// on the virtual pair, once per user, and Ctrl+Q ends them cleanly; with no documents folder to
// write into, the log moves.

#include "blackbox/AppRun.h"
#include "capture/virtual/VirtualDevices.h"
#include "settings/SettingsStore.h"
#include "support/PrivateBus.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <optional>

namespace {

using Shown = AppRun::ShownText;

// Return until the page titled `title` shows.
bool nextPage(AppRun& app, const QString& title) {
    return app.pressKeysUntil(QStringLiteral("Return"),
                              [&] { return app.waitForShown(title, 0).has_value(); });
}

// Opens the picker whose current entry is shown at `picker` and chooses `option` in its list.
bool pick(AppRun& app, QRect picker, const QString& option) {
    if (!app.click(picker.center()))
        return false;
    const auto entry = app.waitForShown([&](const Shown& item) {
        return item.text == option && item.area.top() != picker.top() &&
               item.area.left() < picker.right() && item.area.right() > picker.left();
    });
    return entry && app.click(entry->area.center()) && app.waitForShown([&](const Shown& item) {
        return item.text == option && item.area.topLeft() == picker.topLeft();
    });
}

} // namespace

// The first start walks the setup with Return and the mouse; a disabled step holds Return. Its
// choices are stored as made, the same window goes live, and the next start skips the setup.
TEST(AppStart, FirstStartWalksTheSetupIntoTheLiveViewAndTheNextStartSkipsIt) {
    AppRunOptions options;
    options.onboarded = false;
    AppRun app(options);
    ASSERT_STARTED(app.start());
    ASSERT_TRUE(app.waitForShown(QStringLiteral("Los geht's")));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r"))); // nothing to record yet
    ASSERT_TRUE(nextPage(app, QStringLiteral("Kameras anschließen")));
    ASSERT_TRUE(app.clickShown(QStringLiteral("Zurück")));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("Los geht's")));
    for (const char* title : {"Kameras anschließen", "Kamera am Kopfband ausrichten",
                              "Kabel verlegen", "Aufnahmeordner wählen"})
        ASSERT_TRUE(nextPage(app, QString::fromUtf8(title))) << title;
    // Held without a folder: the chooser opens on this page, at the home folder.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("Return")));
    ASSERT_TRUE(app.clickShown(QStringLiteral("Ordner wählen…")));
    ASSERT_TRUE(app.clickShown(QStringLiteral("Aufnahmen")));
    ASSERT_TRUE(app.clickShown(QStringLiteral("Auswählen")));
    ASSERT_TRUE(app.waitForShown(app.recordingFolder()));
    ASSERT_TRUE(nextPage(app, QStringLiteral("Kameras zuordnen")));
    // Both pickers on the second camera hold the setup until Macro takes the first.
    const auto wide = app.waitForShown(QStringLiteral("OSTREL Kamera #1"));
    const auto macro = app.waitForShown(QStringLiteral("OSTREL Kamera #2"));
    ASSERT_TRUE(wide && macro);
    ASSERT_TRUE(pick(app, wide->area, QStringLiteral("OSTREL Kamera #2")));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("Bitte zwei verschiedene Kameras wählen.")));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("Return")));
    ASSERT_TRUE(pick(app, macro->area, QStringLiteral("OSTREL Kamera #1")));
    ASSERT_TRUE(nextPage(app, QStringLiteral("Mikrofon wählen")));
    const auto mic = app.waitForShown(QStringLiteral("Kein Ton"));
    ASSERT_TRUE(mic && pick(app, mic->area, QStringLiteral("OSTREL Mikrofon")));
    ASSERT_TRUE(nextPage(app, QStringLiteral("So bedienst du OSTREL")));
    ASSERT_TRUE(nextPage(app, QStringLiteral("Fertig")));
    QMap<QString, QString> summary;
    for (const Shown& item : app.shownTexts())
        summary[item.objectName] = item.text;
    EXPECT_EQ(summary.value(QStringLiteral("summaryFolder")), QStringLiteral("Aufnahmen"));
    EXPECT_EQ(summary.value(QStringLiteral("summaryWide")), QStringLiteral("OSTREL Kamera #2"));
    EXPECT_EQ(summary.value(QStringLiteral("summaryMacro")), QStringLiteral("OSTREL Kamera #1"));
    EXPECT_EQ(summary.value(QStringLiteral("summaryMic")), QStringLiteral("OSTREL Mikrofon"));
    ASSERT_TRUE(app.clickShown(QStringLiteral("setupPraxisField")));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+a")));
    ASSERT_TRUE(app.typeText(QStringLiteral("Praxis Nord")));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("Praxis Nord")));
    const int finished = int(app.logLines().size());
    ASSERT_TRUE(app.clickShown(QStringLiteral("Einrichtung abschließen")));

    ASSERT_STARTED(app.waitForLive(finished));
    EXPECT_TRUE(app.logLines().filter(QStringLiteral("Aufnahme läuft")).isEmpty());
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    ASSERT_EQ(app.waitForExit(30000), 0);
    const SettingsStore stored(app.home() + QStringLiteral("/.config/ostrel/ostrel.conf"));
    EXPECT_TRUE(stored.didCompleteOnboarding());
    EXPECT_EQ(stored.wideDeviceUID(), VirtualDevices::camera2ID);
    EXPECT_EQ(stored.macroDeviceUID(), VirtualDevices::camera1ID);
    EXPECT_EQ(stored.micDeviceUID(), VirtualDevices::microphoneID);
    EXPECT_EQ(stored.recordingFolderPath(), app.recordingFolder().toUtf8());
    EXPECT_EQ(stored.praxisText(), QStringLiteral("Praxis Nord"));

    ASSERT_STARTED(app.startLive());
    EXPECT_FALSE(app.waitForShown(QStringLiteral("primaryButton"), 0)) << "no setup the next time";
}

// One OSTREL per user, in a HOME whose Documents is a file: the log moves to the data folder
// and says so once; --help names it there and answers while the app runs; a second start brings
// the minimised window back to the front and ends, with no window and no log entry of its own;
// with no session bus to ask over, it still ends and says why, and the running one works on
// until Ctrl+Q ends it. The plain start too: startLive waits for both pictures.
TEST(AppStart, SecondStartsBesideTheRunningAppAndALogMovedOutOfDocumentsThatIsAFile) {
    std::optional<PrivateBus> bus(std::in_place);
    ASSERT_TRUE(bus->isValid());
    AppRunOptions options;
    options.environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus->address());
    AppRun app(options);
    const QString documents = app.home() + QStringLiteral("/Documents");
    ASSERT_TRUE(QDir(documents).removeRecursively());
    {
        QFile file(documents);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const QString moved =
        app.home() + QStringLiteral("/.local/share/ostrel/ostrel/ostrel-diagnose.log");
    ASSERT_EQ(app.logPath(), moved);
    ASSERT_STARTED(app.startLive());
    saveForLooking(app.screenshot(), QStringLiteral("start"));

    const QStringList warnings =
        app.logLines().filter(QStringLiteral("  WARN  Diagnoseprotokoll: "));
    ASSERT_EQ(warnings.size(), 1) << app.describe().toStdString();
    EXPECT_TRUE(warnings[0].endsWith(documents +
                                     QStringLiteral(" ist kein beschreibbarer Ordner, das "
                                                    "Protokoll steht jetzt in ") +
                                     moved))
        << warnings[0].toStdString();
    const AppRun::Output help = app.runToExit({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.standardOutput.contains(QStringLiteral("Diagnoseprotokoll: ") + moved + u'\n'))
        << help.standardOutput.toStdString();

    ASSERT_TRUE(app.minimise());
    // Promptly: well before a call on the bus would time out (25 s).
    const AppRun::Output second = app.startAgain(15000);
    EXPECT_EQ(second.exitCode, 0) << second.standardError.toStdString();
    EXPECT_TRUE(app.waitForFront()) << app.describe().toStdString();
    EXPECT_TRUE(app.waitForLog(QStringLiteral("INFO  Erneuter Start: Fenster nach vorne geholt")));
    saveForLooking(app.screenshot(), QStringLiteral("second-start"));
    bus.reset();
    const AppRun::Output third = app.startAgain(15000);
    EXPECT_EQ(third.exitCode, 1);
    EXPECT_TRUE(third.standardError.startsWith(QStringLiteral(
        "OSTREL läuft bereits. Sein Fenster konnte nicht nach vorne geholt werden: ")))
        << third.standardError.toStdString();
    EXPECT_EQ(app.logLines().filter(QStringLiteral("App gestartet")).size(), 1)
        << app.describe().toStdString();
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0) << app.describe().toStdString();
}
