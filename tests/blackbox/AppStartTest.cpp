// The built app as a user starts it: the window comes up live on the virtual pair, shows both
// pictures, and Ctrl+Q ends it cleanly; the first start walks the setup; with no documents
// folder to write into, the log moves.

#include "blackbox/AppRun.h"
#include "capture/virtual/VirtualDevices.h"
#include "settings/SettingsStore.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

using Shown = AppRun::ShownText;

bool clickShown(AppRun& app, const QString& textOrName) {
    const auto item = app.waitForShown(textOrName);
    return item && app.click(item->area.center());
}

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

TEST(AppStart, ComesUpLiveWithBothPicturesAndQuitsWithItsShortcut) {
    AppRun app;
    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();

    const QRect window = app.windowGeometry();
    ASSERT_FALSE(window.isEmpty());
    // Wide fills the window; the Macro inset sits at the bottom centre.
    const QRect wide(window.left(), window.top() + 100, window.width(), window.height() / 3);
    const QRect inset(window.center().x() - window.width() / 8,
                      window.bottom() - window.height() / 5, window.width() / 4,
                      window.height() / 8);
    const QImage screen = app.waitForScreen([&](const QImage& shot) {
        return texturedShare(shot, wide) > 0.3 && texturedShare(shot, inset) > 0.3;
    });
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        screen.save(out + QStringLiteral("/blackbox-start.png"));
    EXPECT_GT(texturedShare(screen, wide), 0.3);
    EXPECT_GT(texturedShare(screen, inset), 0.3);

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0);
}

// The first start walks the setup with Return and the mouse; a disabled step holds Return. Its
// choices are stored as made, the same window goes live, and the next start skips the setup.
TEST(AppStart, FirstStartWalksTheSetupIntoTheLiveViewAndTheNextStartSkipsIt) {
    AppRunOptions options;
    options.onboarded = false;
    AppRun app(options);
    ASSERT_FALSE(app.start());
    ASSERT_TRUE(app.waitForShown(QStringLiteral("Los geht's")));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r"))); // nothing to record yet
    ASSERT_TRUE(nextPage(app, QStringLiteral("Kameras anschließen")));
    ASSERT_TRUE(clickShown(app, QStringLiteral("Zurück")));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("Los geht's")));
    for (const char* title : {"Kameras anschließen", "Kamera am Kopfband ausrichten",
                              "Kabel verlegen", "Aufnahmeordner wählen"})
        ASSERT_TRUE(nextPage(app, QString::fromUtf8(title))) << title;
    // Held without a folder: the chooser opens on this page, at the home folder.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("Return")));
    ASSERT_TRUE(clickShown(app, QStringLiteral("Ordner wählen…")));
    ASSERT_TRUE(clickShown(app, QStringLiteral("Aufnahmen")));
    ASSERT_TRUE(clickShown(app, QStringLiteral("Auswählen")));
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
    ASSERT_TRUE(clickShown(app, QStringLiteral("setupPraxisField")));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+a")));
    ASSERT_TRUE(app.typeText(QStringLiteral("Praxis Nord")));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("Praxis Nord")));
    const int finished = int(app.logLines().size());
    ASSERT_TRUE(clickShown(app, QStringLiteral("Einrichtung abschließen")));

    const auto error = app.waitForLive(finished);
    ASSERT_FALSE(error) << error->toStdString();
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

    const auto again = app.startLive();
    ASSERT_FALSE(again) << again->toStdString();
    EXPECT_FALSE(app.waitForShown(QStringLiteral("primaryButton"), 0)) << "no setup the next time";
}

TEST(AppStart, DocumentsThatIsAFileMovesTheLogToTheDataFolderAndSaysSoOnce) {
    AppRun app;
    const QString documents = app.home() + QStringLiteral("/Documents");
    ASSERT_TRUE(QDir(documents).removeRecursively());
    {
        QFile file(documents);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const QString moved =
        app.home() + QStringLiteral("/.local/share/ostrel/ostrel/ostrel-diagnose.log");
    ASSERT_EQ(app.logPath(), moved);
    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();

    const QStringList warnings =
        app.logLines().filter(QStringLiteral("  WARN  Diagnoseprotokoll: "));
    ASSERT_EQ(warnings.size(), 1) << app.describe().toStdString();
    EXPECT_TRUE(warnings[0].endsWith(documents +
                                     QStringLiteral(" ist kein beschreibbarer Ordner, das "
                                                    "Protokoll steht jetzt in ") +
                                     moved))
        << warnings[0].toStdString();
    // --help names the log where it is, and answers while the app runs.
    const AppRun::Output help = app.runToExit({QStringLiteral("--help")});
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.standardOutput.contains(QStringLiteral("Diagnoseprotokoll: ") + moved + u'\n'))
        << help.standardOutput.toStdString();
}
