// ostrel --help and --version as a user types them: answered on the terminal, exit 0, with no
// window system at all (any attempt to open a window would end the program with an error), no
// log entry, and in the system's language.

#include "blackbox/AppRun.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

// No display, and the X11 platform forced: only a program that never opens a window exits 0.
AppRunOptions withoutWindowSystem(const QString& language) {
    AppRunOptions options;
    options.environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    options.environment.insert(QStringLiteral("LANG"), language);
    options.environment.insert(QStringLiteral("LC_ALL"), language);
    options.environment.insert(QStringLiteral("LANGUAGE"), language.left(2));
    return options;
}

} // namespace

TEST(CommandLine, VersionPrintsTheBuildAndExitsWithoutAWindow) {
    AppRun app(withoutWindowSystem(QStringLiteral("de_DE.UTF-8")));
    for (const QString& option : {QStringLiteral("--version"), QStringLiteral("-v")}) {
        const AppRun::Output result = app.runToExit({option});
        EXPECT_EQ(result.exitCode, 0) << result.standardError.toStdString();
        EXPECT_TRUE(result.standardError.isEmpty()) << result.standardError.toStdString();
        const QStringList lines = result.standardOutput.split(u'\n', Qt::SkipEmptyParts);
        ASSERT_EQ(lines.size(), 2) << result.standardOutput.toStdString();
        EXPECT_TRUE(lines[0].startsWith(QStringLiteral("OSTREL 1.0 (Build ")))
            << lines[0].toStdString();
        EXPECT_TRUE(lines[1].contains(QStringLiteral(" · Linux "))) << lines[1].toStdString();
    }
    EXPECT_FALSE(QFile::exists(app.logPath())) << "no start-up entry in the log";
    // The counter-check: with no window system the real start fails.
    const AppRun::Output start = app.runToExit({QStringLiteral("--"), QStringLiteral("--help")});
    EXPECT_NE(start.exitCode, 0);
    EXPECT_FALSE(start.standardOutput.contains(QStringLiteral("Aufruf:")));
}

TEST(CommandLine, HelpNamesTheOptionsTheEnvironmentAndTheFilesInTheSystemLanguage) {
    AppRun app(withoutWindowSystem(QStringLiteral("de_DE.UTF-8")));
    const AppRun::Output result = app.runToExit({QStringLiteral("--help")});
    EXPECT_EQ(result.exitCode, 0) << result.standardError.toStdString();
    EXPECT_TRUE(result.standardError.isEmpty()) << result.standardError.toStdString();
    const QString& text = result.standardOutput;
    EXPECT_TRUE(text.startsWith(QStringLiteral("Aufruf: ostrel [OPTION]\n"))) << text.toStdString();
    for (const QString& expected :
         {QStringLiteral("-h, --help"), QStringLiteral("-v, --version"),
          QStringLiteral("Umgebungsvariablen:"), QStringLiteral("OSTREL_VIRTUAL_DEVICES=1"),
          QStringLiteral("virtuelles Kamerapaar"), QStringLiteral("OSTREL_VIRTUAL_FAULTS"),
          QStringLiteral("--save-camera-stream GERÄT DATEI SEKUNDEN"),
          QStringLiteral("OSTREL_VIRTUAL_STREAMS"),
          QStringLiteral("Einstellungen: ") + app.home() +
              QStringLiteral("/.config/ostrel/ostrel.conf"),
          QStringLiteral("Diagnoseprotokoll: ") + app.logPath()})
        EXPECT_TRUE(text.contains(expected)) << expected.toStdString() << "\n"
                                             << text.toStdString();
    EXPECT_FALSE(QFile::exists(app.logPath()));

    // An English system language.
    AppRun english(withoutWindowSystem(QStringLiteral("en_GB.UTF-8")));
    const AppRun::Output usage = english.runToExit({QStringLiteral("-h")});
    EXPECT_EQ(usage.exitCode, 0) << usage.standardError.toStdString();
    EXPECT_TRUE(usage.standardOutput.startsWith(QStringLiteral("Usage: ostrel [OPTION]\n")))
        << usage.standardOutput.toStdString();
    EXPECT_TRUE(usage.standardOutput.contains(QStringLiteral("Environment variables:")));
    EXPECT_TRUE(usage.standardOutput.contains(QStringLiteral("OSTREL_VIRTUAL_DEVICES=1")));
    EXPECT_FALSE(usage.standardOutput.contains(QStringLiteral("Umgebungsvariablen")));
}

TEST(CommandLine, SavingACameraStreamOrAnUnknownOptionSaysWhatIsWrong) {
    AppRun app(withoutWindowSystem(QStringLiteral("de_DE.UTF-8")));
    const QString file = app.home() + QStringLiteral("/wide.mjpeg");
    const AppRun::Output missing =
        app.runToExit({QStringLiteral("--save-camera-stream"), QStringLiteral("/dev/video-none"),
                       file, QStringLiteral("2")});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_EQ(missing.standardError, QStringLiteral("/dev/video-none gibt es nicht\n"));
    const AppRun::Output wrong = app.runToExit(
        {QStringLiteral("--save-camera-stream"), QStringLiteral("/dev/video0"), file});
    EXPECT_EQ(wrong.exitCode, 2);
    EXPECT_TRUE(wrong.standardError.startsWith(
        QStringLiteral("Aufruf: ostrel --save-camera-stream GERÄT DATEI SEKUNDEN")));
    EXPECT_FALSE(QFile::exists(file));
    // An unknown option prints the usage and exits with 2.
    const AppRun::Output result = app.runToExit({QStringLiteral("--bogus")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.standardError.startsWith(QStringLiteral("Unbekannte Option: --bogus\n")))
        << result.standardError.toStdString();
    EXPECT_TRUE(result.standardError.contains(QStringLiteral("Aufruf: ostrel [OPTION]")));
}
