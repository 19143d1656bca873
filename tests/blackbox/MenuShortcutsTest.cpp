// The menu shortcuts as a user types them into the running app, and the two ways a desktop
// ends it during a recording (Ctrl+Q, SIGTERM at logout): the recording is saved first.

#include "blackbox/AppRun.h"
#include "recording/MediaProbe.h"
#include "support/EventLoop.h"

#include <QColor>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

namespace {

bool nearWhite(const QColor& color) {
    return color.red() > 235 && color.green() > 235 && color.blue() > 235;
}

// Width of the Macro inset from its white outline: the two columns near the window's bottom
// that are white over 20 rows. -1 when there are not two.
int insetWidth(const QImage& screen, const QRect& window) {
    std::vector<int> columns;
    for (int x = window.left(); x <= window.right(); ++x) {
        bool white = true;
        for (int y = window.bottom() - 30; y < window.bottom() - 10 && white; ++y)
            white = nearWhite(screen.pixelColor(x, y));
        if (white)
            columns.push_back(x);
    }
    if (columns.size() < 2)
        return -1;
    return columns.back() - columns.front();
}

// Starts the app and waits until both cameras are live.
void startLive(AppRun& app) {
    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();
}

void expectOneSavedRecording(const AppRun& app) {
    const QStringList files = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(files.size(), 1) << files.join(u' ').toStdString();
    const ProbedFile probed = probeFile(app.recordingFolder() + u'/' + files.first());
    ASSERT_TRUE(probed.ok);
    EXPECT_GT(probed.duration(), 0.0);
    EXPECT_EQ(probed.stream(QStringLiteral("video")).value("width").toInt(), 1920);
}

// Records for a moment with Ctrl+R; returns the log line count before the recording.
// Starts a recording and waits until pictures of it are on disk (its first fragment), so that
// ending it at once saves a file however busy the machine is.
int startRecording(AppRun& app) {
    const int from = int(app.logLines().size());
    EXPECT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    EXPECT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft"), 30000, from));
    EXPECT_TRUE(pumpUntil(
        [&] {
            for (const QFileInfo& file :
                 QDir(app.recordingFolder())
                     .entryInfoList({QStringLiteral(".ostrel-*")}, QDir::Files | QDir::Hidden))
                if (file.size() > 0)
                    return true;
            QThread::msleep(50);
            return false;
        },
        30000));
    return from;
}

// The first shown text of `window` (a regular expression) that `text` or the object name
// matches exactly, waiting until one shows.
std::optional<AppRun::ShownText> waitForText(AppRun& app, const QString& window,
                                             const QString& text, int timeoutMs = 15000,
                                             bool required = true) {
    const QRegularExpression title(window);
    const auto found = app.waitForShown(
        [&](const AppRun::ShownText& shown) {
            return title.match(shown.window).hasMatch() &&
                   (shown.text == text || shown.objectName == text);
        },
        timeoutMs);
    if (!found && required)
        ADD_FAILURE() << "not shown in " << window.toStdString() << ": " << text.toStdString();
    return found;
}

// Types `keys` into `window` until `text` shows in `shownIn`: a key typed while the focus is
// still moving from a window that just closed can be lost.
bool pressUntilShown(AppRun& app, const QString& keys, const QString& window,
                     const QString& shownIn, const QString& text) {
    if (app.pressKeysUntil(
            keys, [&] { return waitForText(app, shownIn, text, 0, false).has_value(); }, window))
        return true;
    ADD_FAILURE() << keys.toStdString() << " did not show " << text.toStdString();
    return false;
}

bool clickText(AppRun& app, const QString& window, const QString& text) {
    const auto shown = waitForText(app, window, text);
    return shown && app.click(shown->area.center());
}

void saveScreen(const AppRun& app, const char* name) {
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        app.screenshot().save(out + QStringLiteral("/blackbox-") + QLatin1String(name) +
                              QStringLiteral(".png"));
}

} // namespace

// "Teilen…" (Ctrl+S) in the diagnostics window saves the whole log as a text file beside the
// log; Escape closes the window.
TEST(MenuShortcuts, DiagnosticsSaveWritesTheLogFile) {
    AppRun app;
    startLive(app);
    ASSERT_TRUE(clickText(app, QStringLiteral("^OSTREL$"), QStringLiteral("Hilfe")));
    ASSERT_TRUE(clickText(app, QStringLiteral("^OSTREL$"), QStringLiteral("Diagnose")));
    ASSERT_TRUE(waitForText(app, QStringLiteral("^Diagnose$"), QStringLiteral("logHeading")));
    ASSERT_TRUE(pressUntilShown(app, QStringLiteral("ctrl+s"), QStringLiteral("^Diagnose$"),
                                QStringLiteral("^Diagnose$"), QStringLiteral("fileNameTextField")));
    saveScreen(app, "diagnostics-save");
    ASSERT_TRUE(clickText(app, QStringLiteral("^Diagnose$"), QStringLiteral("Speichern")));

    const QString saved =
        QFileInfo(app.logPath()).dir().filePath(QStringLiteral("OSTREL-Diagnose.txt"));
    ASSERT_TRUE(pumpUntil([&] {
        QThread::msleep(20);
        return QFile::exists(saved);
    })) << app.describe().toStdString();
    QFile file(saved);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    EXPECT_TRUE(text.startsWith(QStringLiteral("OSTREL Diagnose-Protokoll\n")))
        << text.toStdString();
    EXPECT_TRUE(text.contains(QStringLiteral("App gestartet")));
    EXPECT_TRUE(text.contains(QStringLiteral("2 Kameras live")));

    ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape"), QStringLiteral("^Diagnose$")));
    const auto diagnosticsShown = [&] {
        const QList<AppRun::ShownText> shown = app.shownTexts();
        return std::any_of(shown.begin(), shown.end(), [](const AppRun::ShownText& text) {
            return text.window == QStringLiteral("Diagnose");
        });
    };
    EXPECT_TRUE(pumpUntil([&] { return !diagnosticsShown(); })) << "Escape closes the window";
}

namespace {

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
// box and the setup, in the dark appearance (each saved as a screenshot to look at).
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
        saveScreen(app, (QByteArray("english-") + where).constData());
    };

    AppRun app(options);
    startLive(app);
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
            ASSERT_TRUE(clickText(app, QStringLiteral("^OSTREL$"), menu));
            open = waitForText(app, QStringLiteral("^OSTREL$"), item, 3000, false).has_value();
        }
        ASSERT_TRUE(open) << menu.toStdString();
        scan(app, menu.toLatin1().constData());
        if (menu != QStringLiteral("OSTREL")) {
            ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape")));
        }
    }
    ASSERT_TRUE(clickText(app, QStringLiteral("^OSTREL$"), QStringLiteral("About OSTREL")));
    ASSERT_TRUE(waitForText(app, QStringLiteral("^OSTREL$"), QStringLiteral("versionLabel")));
    scan(app, "about");
    ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape")));

    ASSERT_TRUE(clickText(app, QStringLiteral("^OSTREL$"), QStringLiteral("Help")));
    ASSERT_TRUE(clickText(app, QStringLiteral("^OSTREL$"), QStringLiteral("Diagnostics")));
    ASSERT_TRUE(waitForText(app, QStringLiteral("^Diagnostics$"), QStringLiteral("logHeading")));
    scan(app, "diagnostics");
    ASSERT_TRUE(app.pressKeys(QStringLiteral("Escape"), QStringLiteral("^Diagnostics$")));

    ASSERT_TRUE(pressUntilShown(app, QStringLiteral("ctrl+comma"), QStringLiteral("^OSTREL$"),
                                QStringLiteral("^Settings$"), QStringLiteral("tab0")));
    for (int tab = 0; tab < 5; ++tab) {
        ASSERT_TRUE(clickText(app, QStringLiteral("^Settings$"), QStringLiteral("tab%1").arg(tab)));
        if (tab == 2) {
            ASSERT_TRUE(clickText(app, QStringLiteral("^Settings$"),
                                  QStringLiteral("developerDisclosure")));
        }
        scan(app, QByteArray("settings-tab").append(char('0' + tab)).constData());
    }
    ASSERT_TRUE(clickText(app, QStringLiteral("^Settings$"), QStringLiteral("tab1")));
    ASSERT_TRUE(clickText(app, QStringLiteral("^Settings$"), QStringLiteral("changeFolderButton")));
    ASSERT_TRUE(clickText(app, QStringLiteral("^Settings$"), QStringLiteral("newFolderButton")));
    scan(app, "folder-chooser");
    ASSERT_TRUE(waitForText(app, QStringLiteral("^Settings$"), QStringLiteral("OSTREL Recordings")))
        << "the suggested folder's name in English";
    app.signal(SIGTERM);
    ASSERT_EQ(app.waitForExit(), 0);

    options.onboarded = false;
    AppRun setup(options);
    ASSERT_FALSE(setup.start());
    for (int page = 0; page < 9; ++page) {
        scan(setup, QByteArray("setup-").append(char('0' + page)).constData());
        if (page < 8) {
            ASSERT_TRUE(
                clickText(setup, QStringLiteral("^OSTREL$"), QStringLiteral("primaryButton")));
        }
    }
    EXPECT_TRUE(german.isEmpty()) << german.join(u'\n').toStdString();
}

TEST(MenuShortcuts, PhotoFolderSettingsAndMacroSizeAnswerTheirKeys) {
    // The file manager is whatever xdg-open starts; this one notes what it was asked to show.
    QTemporaryDir bin;
    const QString opened = bin.filePath(QStringLiteral("opened.txt"));
    QFile script(bin.filePath(QStringLiteral("xdg-open")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\necho \"$@\" >> '%1'\n").arg(opened).toUtf8());
    script.close();
    script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
    AppRunOptions options;
    options.environment.insert(QStringLiteral("PATH"),
                               bin.path() + u':' + qEnvironmentVariable("PATH"));
    options.environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"),
                               QStringLiteral("unix:path=/nonexistent"));
    AppRun app(options);
    startLive(app);

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    EXPECT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 3));

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+shift+o")));
    const bool shown = pumpUntil([&] {
        QFile file(opened);
        return file.open(QIODevice::ReadOnly) &&
               file.readAll().contains(app.recordingFolder().toUtf8());
    });
    EXPECT_TRUE(shown) << "the recording folder went to the file manager";

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
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        large.save(out + QStringLiteral("/blackbox-macro-large.png"));
    EXPECT_NEAR(insetWidth(large, window), window.width() * 7 / 10, 4);

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+comma")));
    EXPECT_TRUE(pumpUntil([&] {
        return !app.windowGeometry(QStringLiteral("^Einstellungen$")).isEmpty();
    })) << "the settings window opened";

    // The settings window has the focus now; Ctrl+Q quits from there too.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q"), QStringLiteral("^Einstellungen$")));
    EXPECT_EQ(app.waitForExit(30000), 0);
}

TEST(MenuShortcuts, QuitWhileRecordingEndsAfterTheRecordingIsSaved) {
    AppRun app;
    startLive(app);
    const int from = startRecording(app);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(60000), 0)
        << app.appOutput().toStdString() << app.logLines().join(u'\n').toStdString();
    EXPECT_TRUE(app.waitForLog(QStringLiteral("Beenden: Aufnahme wird abgeschlossen"), 1000, from));
    EXPECT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: OSTREL-"), 1000, from));
    expectOneSavedRecording(app);
}

TEST(MenuShortcuts, TerminationSignalWhileRecordingSavesTheRecordingFirst) {
    AppRun app;
    startLive(app);
    const int from = startRecording(app);
    app.signal(SIGTERM);
    EXPECT_EQ(app.waitForExit(60000), 0)
        << app.appOutput().toStdString() << app.logLines().join(u'\n').toStdString();
    EXPECT_TRUE(app.waitForLog(QStringLiteral("Beenden: Aufnahme wird abgeschlossen"), 1000, from));
    EXPECT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: OSTREL-"), 1000, from));
    expectOneSavedRecording(app);
}

// Hurried hands: photos pressed and recordings ended within one second keep every file, each
// under a name of its own ("-2", "-3" …).
TEST(MenuShortcuts, PhotosAndRecordingsWithinOneSecondAreAllKept) {
    AppRun app;
    startLive(app);
    for (int press = 0; press < 3; ++press)
        ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Fotos gespeichert")));
    EXPECT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 9))
        << app.recordingFiles(QStringLiteral("OSTREL-*.jpg")).join(u' ').toStdString();

    for (int recording = 0; recording < 2; ++recording) {
        const int from = startRecording(app);
        ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
        ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: OSTREL-"), 30000, from))
            << app.describe().toStdString();
    }
    const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    EXPECT_EQ(movies.size(), 2) << movies.join(u' ').toStdString();
    for (const QString& movie : movies)
        EXPECT_TRUE(probeFile(app.recordingFolder() + u'/' + movie).ok) << movie.toStdString();
    const QStringList saved = app.logLines().filter(QStringLiteral("Aufnahme gespeichert: "));
    ASSERT_EQ(saved.size(), 2);
    EXPECT_NE(saved[0].section(u':', -1), saved[1].section(u':', -1)) << "two names";
}

// A gloved finger resting on a key: held R, Space and Ctrl+R act once each, however often the
// keyboard repeats them.
TEST(MenuShortcuts, HeldKeysActOnce) {
    AppRun app;
    startLive(app);
    const int from = int(app.logLines().size());
    ASSERT_TRUE(app.pressKeys(QStringLiteral("r"), mainWindowTitle(), 1500));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft"), 30000, from));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("space"), mainWindowTitle(), 1500));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Fotos gespeichert"), 30000, from));
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r"), mainWindowTitle(), 1500));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 30000, from));
    // A photo set and a stop more would have come by now, had a repeat got through.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    ASSERT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 6));
    const QStringList lines = app.logLines().mid(from);
    EXPECT_EQ(lines.filter(QStringLiteral("Aufnahme läuft")).size(), 1)
        << app.describe().toStdString();
    EXPECT_EQ(lines.filter(QStringLiteral("Aufnahme gespeichert")).size(), 1);
    EXPECT_EQ(app.recordingFiles(QStringLiteral("OSTREL-*.jpg")).size(), 6);
    EXPECT_EQ(app.recordingFiles(QStringLiteral("OSTREL-*.mp4")).size(), 1);
}

// A recording is seen in the window whatever else happens, and the cameras stay as they are
// inside it: W swaps them only once it is saved.
TEST(MenuShortcuts, ARecordingShowsAndKeepsItsCamerasToTheEnd) {
    AppRun app;
    startLive(app);
    const int from = int(app.logLines().size());
    ASSERT_TRUE(app.pressKeys(QStringLiteral("r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft"), 30000, from));
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
    const auto at = [&](const QString& text) {
        for (int i = 0; i < lines.size(); ++i)
            if (lines[i].contains(text))
                return i;
        return -1;
    };
    EXPECT_LT(at(QStringLiteral("Aufnahme beendet: ")),
              at(QStringLiteral("Kamera-Sessions gestoppt")))
        << lines.join(u'\n').toStdString();
    EXPECT_TRUE(app.windowGeometry(QStringLiteral(" REC .* OSTREL$")).isEmpty());
}

// M mutes a running recording at once, and M again brings its sound back: the file's sound is
// the microphone's tone, then a silence as long as the mute, then the tone again.
TEST(MenuShortcuts, MuteActsAtOnceInsideARecording) {
    AppRun app;
    startLive(app);
    const int from = startRecording(app);
    recordFor(1);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("m")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Ton der Aufnahme stumm geschaltet"), 10000, from));
    recordFor(4);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("m")));
    ASSERT_TRUE(
        app.waitForLog(QStringLiteral("Ton der Aufnahme wieder eingeschaltet"), 10000, from));
    recordFor(3);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 30000, from));
    const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(movies.size(), 1);

    // Runs of 0.1 s windows with and without the tone (about 0.18 against 0).
    const std::vector<double> levels = audioLevels(app.recordingFolder() + u'/' + movies[0]);
    ASSERT_FALSE(levels.empty());
    std::size_t longestSilence = 0, silenceEnd = 0, run = 0;
    for (std::size_t i = 0; i < levels.size(); ++i) {
        run = levels[i] > 0.03 ? 0 : run + 1;
        if (run > longestSilence) {
            longestSilence = run;
            silenceEnd = i + 1;
        }
    }
    const auto heardWindows = [&](std::size_t begin, std::size_t end) {
        return std::count_if(levels.begin() + std::ptrdiff_t(begin),
                             levels.begin() + std::ptrdiff_t(end),
                             [](double level) { return level > 0.03; });
    };
    // A busy machine may lose a moment of sound, never four seconds.
    EXPECT_GE(longestSilence, 35u) << "the mute";
    EXPECT_LE(longestSilence, 50u);
    EXPECT_GE(heardWindows(0, silenceEnd - longestSilence), 5) << "the tone before the mute";
    EXPECT_GE(heardWindows(silenceEnd, levels.size()), 10) << "the tone after it";
}
