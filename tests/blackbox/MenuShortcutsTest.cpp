// The menu shortcuts as a user types them into the running app, and the two ways a desktop
// ends it during a recording (Ctrl+Q, SIGTERM at logout): the recording is saved first.

#include "blackbox/AppRun.h"
#include "blackbox/RecordedSound.h"
#include "recording/MediaProbe.h"
#include "support/EventLoop.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSettings>

#include <gtest/gtest.h>

#include <csignal>

namespace {

// Width of the Macro inset from its white outline: the two columns near the window's bottom
// that are white over 20 rows. -1 when there are not two.
int insetWidth(const QImage& screen, const QRect& window) {
    std::vector<int> columns;
    for (int x = window.left(); x <= window.right(); ++x) {
        bool white = true;
        for (int y = window.bottom() - 30; y < window.bottom() - 10 && white; ++y) {
            const QColor c = screen.pixelColor(x, y);
            white = c.red() > 235 && c.green() > 235 && c.blue() > 235;
        }
        if (white)
            columns.push_back(x);
    }
    if (columns.size() < 2)
        return -1;
    return columns.back() - columns.front();
}

// Starts a recording and waits until pictures of it are on disk (its first fragment), so that
// ending it at once saves a file however busy the machine is; returns the log line count before.
int startRecording(AppRun& app) {
    const int from = int(app.logLines().size());
    EXPECT_TRUE(app.startRecording());
    EXPECT_TRUE(pollUntil(
        [&] {
            const QFileInfoList partial =
                QDir(app.recordingFolder())
                    .entryInfoList({QStringLiteral(".ostrel-*")}, QDir::Files | QDir::Hidden);
            return !partial.isEmpty() && partial.first().size() > 0;
        },
        30000));
    return from;
}

// German in an English UI: umlauts, ß, and common German words of the app's texts.
bool looksGerman(const QString& text) {
    static const QRegularExpression german(
        QStringLiteral("[äöüÄÖÜß]|\\b(und|der|die|das|nicht|kein|keine|oder|mit|für|dein|deine|"
                       "Kamera|Kameras|Aufnahme|Aufnahmen|Einstellungen|Ordner|Fehler|FEHLER|"
                       "Mikrofon|Datei|Hilfe|Bild|Ton|Protokoll|Berechtigungen|Befehl|Wähle|"
                       "Auswählen|Abbrechen|Speichern|Schließen|Allgemein|Darstellung|Vorschlag|"
                       "Einrichtung|Weiter|Zurück|Fertig|Größe|Makro)\\b"));
    return german.match(text).hasMatch();
}

} // namespace

// The English UI shows no German outside the log lines: every window, tab, menu, the about
// box and the setup, in the dark appearance (each saved as a screenshot to look at). On this
// US English system the cameras take 60 Hz mains.
TEST(MenuShortcuts, EnglishUiShowsNoGermanInItsWindows) {
    AppRunOptions options;
    options.environment.insert(QStringLiteral("LANG"), QStringLiteral("en_US.UTF-8"));
    options.environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("en_US.UTF-8"));
    options.environment.insert(QStringLiteral("LANGUAGE"), QStringLiteral("en"));
    options.settings.insert(QStringLiteral("appearanceMode"), 2);
    QStringList german;
    const auto scan = [&german](AppRun& app, const char* where) {
        // Not the app's texts: log lines, device names, the default practice name, paths.
        QStringList messages;
        for (const QString& line : app.logLines())
            messages << line.section(QRegularExpression(QStringLiteral("\\s{2,}")), 2).trimmed();
        const QList<AppRun::ShownText> shown = app.shownTexts();
        EXPECT_FALSE(shown.isEmpty()) << where;
        for (AppRun::ShownText item : shown) {
            if (messages.contains(item.text.trimmed()))
                continue;
            for (const QString& data :
                 {QStringLiteral("OSTREL Kamera"), QStringLiteral("OSTREL Mikrofon"),
                  QStringLiteral("Praxis Dr. Muster"), app.home(),
                  QFileInfo(app.recordingFolder()).fileName()})
                item.text.remove(data);
            if (looksGerman(item.text))
                german << QStringLiteral("%1 / %2 / %3: %4")
                              .arg(QLatin1String(where), item.window, item.objectName, item.text);
        }
        saveForLooking(app.screenshot(), QStringLiteral("english-") + QLatin1String(where));
    };

    const QString main = QStringLiteral("^OSTREL$"), settings = QStringLiteral("^Settings$");
    AppRun app(options);
    ASSERT_STARTED(app.startLive());
    // A camera's first start takes the mains frequency of the region.
    EXPECT_TRUE(app.waitForLog(QStringLiteral("Kamera Wide: Netzfrequenz der Region: 60 Hz")));
    EXPECT_TRUE(pumpUntil([&] {
        return QSettings(app.home() + QStringLiteral("/.config/ostrel/ostrel.conf"),
                         QSettings::IniFormat)
                   .value(QStringLiteral("cameraControls/ostrel-virtual-camera-1/"
                                         "powerLineFrequency"))
                   .toString() == u"2";
    }));
    scan(app, "main");
    // Each menu, opened, by a text of its own.
    const std::pair<QString, QString> menus[] = {
        {QStringLiteral("File"), QStringLiteral("Open Recording Folder")},
        {QStringLiteral("Recording"), QStringLiteral("Take Photo")},
        {QStringLiteral("Help"), QStringLiteral("Diagnostics")},
        {QStringLiteral("OSTREL"), QStringLiteral("About OSTREL")}};
    for (const auto& [menu, item] : menus) {
        // A click that lands while the last menu is still closing only closes it.
        bool open = false;
        for (int attempt = 0; attempt < 3 && !open; ++attempt) {
            ASSERT_TRUE(app.clickShown(menu, main));
            open = app.waitForShown(item, 3000, main).has_value();
        }
        ASSERT_TRUE(open) << menu.toStdString();
        scan(app, menu.toLatin1().constData());
        if (menu != QStringLiteral("OSTREL")) {
            ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape")));
        }
    }
    ASSERT_TRUE(app.clickShown(QStringLiteral("About OSTREL"), main));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("versionLabel"), 15000, main));
    scan(app, "about");
    ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape")));

    ASSERT_TRUE(app.clickShown(QStringLiteral("Help"), main));
    ASSERT_TRUE(app.clickShown(QStringLiteral("Diagnostics"), main));
    ASSERT_TRUE(
        app.waitForShown(QStringLiteral("logHeading"), 15000, QStringLiteral("^Diagnostics$")));
    scan(app, "diagnostics");
    ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape"), QStringLiteral("^Diagnostics$")));

    ASSERT_TRUE(app.pressKeysUntil(
        QStringLiteral("ctrl+comma"),
        [&] { return app.waitForShown(QStringLiteral("tab0"), 0, settings).has_value(); }, main));
    for (int tab = 0; tab < 5; ++tab) {
        ASSERT_TRUE(app.clickShown(QStringLiteral("tab%1").arg(tab), settings));
        if (tab == 2) {
            ASSERT_TRUE(app.clickShown(QStringLiteral("developerDisclosure"), settings));
        }
        scan(app, QByteArray("settings-tab").append(char('0' + tab)).constData());
    }
    ASSERT_TRUE(app.clickShown(QStringLiteral("tab1"), settings));
    ASSERT_TRUE(app.clickShown(QStringLiteral("changeFolderButton"), settings));
    ASSERT_TRUE(app.clickShown(QStringLiteral("newFolderButton"), settings));
    scan(app, "folder-chooser");
    ASSERT_TRUE(app.waitForShown(QStringLiteral("OSTREL Recordings"), 15000, settings))
        << "the suggested folder's name in English";
    app.signal(SIGTERM);
    ASSERT_EQ(app.waitForExit(), 0);

    options.onboarded = false;
    AppRun setup(options);
    ASSERT_STARTED(setup.start());
    for (int page = 0; page < 9; ++page) {
        scan(setup, QByteArray("setup-").append(char('0' + page)).constData());
        if (page < 8) {
            ASSERT_TRUE(setup.clickShown(QStringLiteral("primaryButton"), main));
        }
    }
    EXPECT_TRUE(german.isEmpty()) << german.join(u'\n').toStdString();
}

// Photo, Macro size, diagnostics and settings by their keys (Ctrl+Shift+O is
// DesktopServices.OpenFolderAsksTheFileManagerElseXdgOpen's), for a user of an earlier version
// who updates: the recording folder stored under the earlier key is where the photos go, and the
// settings file then holds it under the new key only.
TEST(MenuShortcuts, MenuKeysAnswerAfterAnUpdate) {
    AppRun app;
    const QString conf = app.home() + QStringLiteral("/.config/ostrel/ostrel.conf");
    const QString legacyFolderKey = QStringLiteral("recordingFolderBookmark");
    {
        QSettings file(conf, QSettings::IniFormat);
        file.setValue(legacyFolderKey, file.value(QStringLiteral("recordingFolderPath")));
        file.remove(QStringLiteral("recordingFolderPath"));
    }
    ASSERT_STARTED(app.startLive());

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    EXPECT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 3))
        << app.describe().toStdString();

    // Ctrl+− down to the smallest inset, Ctrl++ up to the largest.
    const QRect window = app.windowGeometry();
    ASSERT_FALSE(window.isEmpty());
    for (int i = 0; i < 8; ++i)
        ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+minus")));
    const QImage small = app.waitForScreen([&](const QImage& shot) {
        return std::abs(insetWidth(shot, window) - window.width() / 10) <= 4;
    });
    EXPECT_NEAR(insetWidth(small, window), window.width() / 10, 4);
    for (int i = 0; i < 14; ++i)
        ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+plus")));
    const QImage large = app.waitForScreen([&](const QImage& shot) {
        return std::abs(insetWidth(shot, window) - window.width() * 7 / 10) <= 4;
    });
    saveForLooking(large, QStringLiteral("macro-large"));
    EXPECT_NEAR(insetWidth(large, window), window.width() * 7 / 10, 4);

    // "Teilen…" (Ctrl+S) in the diagnostics window saves the whole log as a text file beside the
    // log; Escape closes the window.
    const QString diagnose = QStringLiteral("^Diagnose$");
    ASSERT_TRUE(app.clickShown(QStringLiteral("Hilfe"), mainWindowTitle()));
    ASSERT_TRUE(app.clickShown(QStringLiteral("Diagnose"), mainWindowTitle()));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("logHeading"), 15000, diagnose));
    ASSERT_TRUE(app.pressKeysUntil(
        QStringLiteral("ctrl+s"),
        [&] {
            return app.waitForShown(QStringLiteral("fileNameTextField"), 0, diagnose).has_value();
        },
        diagnose));
    saveForLooking(app.screenshot(), QStringLiteral("diagnostics-save"));
    ASSERT_TRUE(app.clickShown(QStringLiteral("Speichern"), diagnose));

    const QString saved =
        QFileInfo(app.logPath()).dir().filePath(QStringLiteral("OSTREL-Diagnose.txt"));
    ASSERT_TRUE(pollUntil([&] { return QFile::exists(saved); })) << app.describe().toStdString();
    QFile file(saved);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.startsWith(QStringLiteral("OSTREL Diagnose-Protokoll\n")))
        << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("App gestartet")));
    EXPECT_TRUE(text.contains(QStringLiteral("2 Kameras live")));
    // Copying the command that grants camera access always shows that it did something.
    ASSERT_TRUE(app.clickShown(QStringLiteral("copyGroupCommand"), diagnose));
    EXPECT_TRUE(app.waitForShown(QStringLiteral("Kopiert"), 10000, diagnose));

    ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape"), diagnose));
    EXPECT_TRUE(pumpUntil([&] {
        return !app.waitForShown(QStringLiteral("logHeading"), 0, diagnose);
    })) << "Escape closes the window";

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+comma")));
    EXPECT_TRUE(pumpUntil([&] {
        return !app.windowGeometry(QStringLiteral("^Einstellungen$")).isEmpty();
    })) << "the settings window opened";

    // The settings window has the focus now; Ctrl+Q quits from there too.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q"), QStringLiteral("^Einstellungen$")));
    EXPECT_EQ(app.waitForExit(30000), 0);
    const QSettings stored(conf, QSettings::IniFormat);
    EXPECT_FALSE(stored.contains(legacyFolderKey));
    EXPECT_EQ(stored.value(QStringLiteral("recordingFolderPath")).toByteArray(),
              app.recordingFolder().toUtf8());
}

// The two ways a desktop ends the app during a recording: Ctrl+Q, and SIGTERM at logout.
TEST(MenuShortcuts, QuitOrTerminationSignalWhileRecordingEndsAfterTheRecordingIsSaved) {
    for (const bool quit : {true, false}) {
        SCOPED_TRACE(quit ? "Ctrl+Q" : "SIGTERM");
        AppRun app;
        ASSERT_STARTED(app.startLive());
        const int from = startRecording(app);
        if (quit)
            ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
        else
            app.signal(SIGTERM);
        EXPECT_EQ(app.waitForExit(60000), 0) << app.describe().toStdString();
        EXPECT_TRUE(
            app.waitForLog(QStringLiteral("Beenden: Aufnahme wird abgeschlossen"), 1000, from));
        EXPECT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: OSTREL-"), 1000, from));
        const QStringList files = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
        ASSERT_EQ(files.size(), 1) << files.join(u' ').toStdString();
        const ProbedFile probed = probeFile(app.recordingFolder() + u'/' + files.first());
        ASSERT_TRUE(probed.ok);
        EXPECT_GT(probed.duration(), 0.0);
    }
}

// Hurried hands: photos pressed and recordings ended within one second keep every file, each
// under a name of its own ("-2", "-3" …). Then a gloved finger resting on a key: held R, Space
// and Ctrl+R act once each, however often the keyboard repeats them.
TEST(MenuShortcuts, HurriedKeysKeepEveryFileAndHeldKeysActOnce) {
    AppRun app;
    ASSERT_STARTED(app.startLive());
    for (int press = 0; press < 3; ++press)
        ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Fotos gespeichert")));
    EXPECT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 9))
        << app.recordingFiles(QStringLiteral("OSTREL-*.jpg")).join(u' ').toStdString();
    for (int recording = 0; recording < 2; ++recording) {
        startRecording(app);
        ASSERT_FALSE(app.stopRecording().isEmpty()) << app.describe().toStdString();
    }
    const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    EXPECT_EQ(movies.size(), 2) << movies.join(u' ').toStdString();
    for (const QString& movie : movies)
        EXPECT_TRUE(probeFile(app.recordingFolder() + u'/' + movie).ok) << movie.toStdString();
    const QStringList saved = app.logLines().filter(QStringLiteral("Aufnahme gespeichert: "));
    ASSERT_EQ(saved.size(), 2);
    EXPECT_NE(saved[0].section(u':', -1), saved[1].section(u':', -1)) << "two names";

    const int from = int(app.logLines().size());
    ASSERT_TRUE(app.pressKeys(QStringLiteral("r"), mainWindowTitle(), 1500));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft"), 30000, from));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("space"), mainWindowTitle(), 1500));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Fotos gespeichert"), 30000, from));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r"), mainWindowTitle(), 1500));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 30000, from));
    // A photo set and a stop more would have come by now, had a repeat got through.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    ASSERT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 15));
    const QStringList lines = app.logLines().mid(from);
    EXPECT_EQ(lines.filter(QStringLiteral("Aufnahme läuft")).size(), 1)
        << app.describe().toStdString();
    EXPECT_EQ(lines.filter(QStringLiteral("Aufnahme gespeichert")).size(), 1);
    EXPECT_EQ(app.recordingFiles(QStringLiteral("OSTREL-*.jpg")).size(), 15);
    EXPECT_EQ(app.recordingFiles(QStringLiteral("OSTREL-*.mp4")).size(), 3);
}

// A recording is seen in the window whatever else happens, and the cameras stay as they are
// inside it: W swaps them only once it is saved.
TEST(MenuShortcuts, ARecordingShowsAndKeepsItsCamerasToTheEnd) {
    AppRun app;
    ASSERT_STARTED(app.startLive());
    const int from = int(app.logLines().size());
    ASSERT_TRUE(app.startRecording(QStringLiteral("r")));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("w")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Kamerawechsel wartet"), 10000, from));
    EXPECT_FALSE(app.windowGeometry(QStringLiteral(" REC .* OSTREL$")).isEmpty())
        << "the title says so";
    EXPECT_TRUE(app.waitForShown([](const AppRun::ShownText& shown) {
        return shown.objectName == QStringLiteral("statusText") &&
               shown.text == QStringLiteral("Aufnahme");
    })) << "and the top bar";

    // With the bars hidden (6 s after the last key), the corner mark stays: red pixels.
    const QRect window = app.windowGeometry();
    // Where the mark sits below the menu bar; the top bar covers it while shown.
    const QRect corner(window.left() + 16, window.top() + 40, 100, 20);
    const auto redCorner = [&](const QImage& screen) {
        int red = 0;
        for (int y = corner.top(); y <= corner.bottom(); ++y)
            for (int x = corner.left(); x <= corner.right(); ++x) {
                const QColor c = screen.pixelColor(x, y);
                red += c.red() > 200 && c.green() < 90 && c.blue() < 90;
            }
        return red > corner.width() * corner.height() * 2 / 5; // white text on red
    };
    ASSERT_FALSE(redCorner(app.screenshot())) << "the top bar covers the corner at first";
    EXPECT_TRUE(redCorner(app.waitForScreen(redCorner, 20000))) << app.describe().toStdString();

    ASSERT_TRUE(app.pressKeys(QStringLiteral("r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("2 Kameras live"), 30000, from));
    const QStringList lines = app.logLines().mid(from);
    EXPECT_LT(lineOf(lines, QStringLiteral("Aufnahme beendet: ")),
              lineOf(lines, QStringLiteral("Kamera-Sessions gestoppt")))
        << lines.join(u'\n').toStdString();
    EXPECT_TRUE(app.windowGeometry(QStringLiteral(" REC .* OSTREL$")).isEmpty());

    // Running the setup again from the settings ends a recording and saves it before the setup
    // takes the cameras.
    ASSERT_TRUE(app.startRecording(QStringLiteral("r")));
    const int again = int(app.logLines().size());
    const QString settings = QStringLiteral("^Einstellungen$");
    ASSERT_TRUE(app.pressKeysUntil(QStringLiteral("ctrl+comma"), [&] {
        return app.waitForShown(QStringLiteral("tab2"), 0, settings).has_value();
    }));
    ASSERT_TRUE(app.clickShown(QStringLiteral("tab2"), settings));
    // The button ends the tab: the wheel brings it into the window, as a user would.
    const QRect box = app.windowGeometry(settings);
    for (int notch = 0; notch < 40; ++notch)
        ASSERT_TRUE(app.click({box.left() + 8, box.center().y()}, settings, 5));
    ASSERT_TRUE(app.clickShown(QStringLiteral("rerunSetupButton"), settings));
    ASSERT_TRUE(app.waitForShown(QStringLiteral("primaryButton"))) << "the setup shows";
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 30000, again));
    const QStringList rerun = app.logLines().mid(again);
    const int ended = lineOf(rerun, QStringLiteral("Aufnahme beendet: "));
    EXPECT_GT(ended, lineOf(rerun, QStringLiteral("Einrichtung: Aufnahme wird abgeschlossen")));
    EXPECT_LT(ended, lineOf(rerun, QStringLiteral("Kamera-Sessions gestoppt")))
        << rerun.join(u'\n').toStdString();
    ASSERT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.mp4"), 2));
    for (const QString& file : app.recordingFiles(QStringLiteral("OSTREL-*.mp4")))
        EXPECT_TRUE(probeFile(QDir(app.recordingFolder()).filePath(file)).ok) << file.toStdString();
}

// M mutes a running recording at once, and M again brings its sound back: the file's sound is
// the microphone's tone, then a silence as long as the mute, then the tone again.
TEST(MenuShortcuts, MuteActsAtOnceInsideARecording) {
    AppRun app;
    ASSERT_STARTED(app.startLive());
    const int from = startRecording(app);
    recordFor(1);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("m")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Ton der Aufnahme stumm geschaltet"), 10000, from));
    recordFor(4);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("m")));
    ASSERT_TRUE(
        app.waitForLog(QStringLiteral("Ton der Aufnahme wieder eingeschaltet"), 10000, from));
    recordFor(3);
    const QString movie = app.stopRecording();
    ASSERT_FALSE(movie.isEmpty());

    const std::vector<SoundStretch> sound = soundStretches(movie);
    ASSERT_FALSE(sound.empty());
    const SoundStretch mute = longestSilence(sound, sound.size());
    // A busy machine may lose a moment of sound, never four seconds.
    EXPECT_GE(mute.length(), 3.45) << "the mute";
    EXPECT_LE(mute.length(), 5.05);
    EXPECT_GE(heardSeconds(sound, 0, mute.from), 0.45) << "the tone before the mute";
    EXPECT_GE(heardSeconds(sound, mute.to, sound.back().to), 0.95) << "the tone after it";
}
