#include "app/CommandLine.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

struct ProgramRun {
    int exitCode = -1;
    QProcess::ExitStatus status = QProcess::CrashExit;
    QString out;
    QString err;
};

// Starts the built program as a user would, in a fresh HOME and with no window system at
// all: any attempt to open a window would end it with an error instead of exit 0.
ProgramRun runOstrel(const QStringList& arguments, const QString& home, const QString& language) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "LANGUAGE", "LC_MESSAGES"})
        env.remove(QString::fromLatin1(name));
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    env.insert(QStringLiteral("HOME"), home);
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
    env.insert(QStringLiteral("LANG"), language);
    env.insert(QStringLiteral("LC_ALL"), language);
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(OSTREL_BINARY), arguments);
    ProgramRun run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitCode();
    run.status = process.exitStatus();
    run.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}

class CommandLineRun : public ::testing::Test {
protected:
    ProgramRun run(const QStringList& arguments,
                   const QString& language = QStringLiteral("de_DE.UTF-8")) {
        return runOstrel(arguments, home.path(), language);
    }

    // Nothing a started application leaves behind: the log file, a settings file.
    void expectNothingWritten() const {
        EXPECT_TRUE(QDir(home.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries).isEmpty())
            << QDir(home.path())
                   .entryList(QDir::NoDotAndDotDot | QDir::AllEntries)
                   .join(u' ')
                   .toStdString();
    }

    QTemporaryDir home;
};

} // namespace

TEST(CommandLine, HelpAndVersionAreFoundAmongQtOptionsButNotAfterTheEndMarker) {
    using R = CommandLineRequest;
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel")}), std::nullopt);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("--help")}), R::help);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("-h")}), R::help);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("-v")}), R::version);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("-platform"),
                                  QStringLiteral("offscreen"), QStringLiteral("--version")}),
              R::version);
    EXPECT_EQ(commandLineRequest(
                  {QStringLiteral("ostrel"), QStringLiteral("--"), QStringLiteral("--help")}),
              std::nullopt);
    // The program's own name is never read as a request.
    EXPECT_EQ(commandLineRequest({QStringLiteral("--help")}), std::nullopt);
    EXPECT_EQ(commandLineRequest({QStringLiteral("ostrel"), QStringLiteral("--helpme")}),
              std::nullopt);
}

TEST_F(CommandLineRun, VersionPrintsTheBuildAndExitsWithoutAWindow) {
    for (const QString& option : {QStringLiteral("--version"), QStringLiteral("-v")}) {
        const ProgramRun result = run({option});
        ASSERT_EQ(result.status, QProcess::NormalExit) << result.err.toStdString();
        EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
        EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
        const QStringList lines = result.out.split(u'\n', Qt::SkipEmptyParts);
        ASSERT_EQ(lines.size(), 2) << result.out.toStdString();
        EXPECT_TRUE(lines[0].startsWith(QStringLiteral("OSTREL 1.0 (Build ")))
            << lines[0].toStdString();
        EXPECT_TRUE(lines[1].contains(QStringLiteral(" · Linux "))) << lines[1].toStdString();
    }
    expectNothingWritten();
}

TEST_F(CommandLineRun, HelpInGermanNamesTheOptionsTheEnvironmentAndTheFiles) {
    const ProgramRun result = run({QStringLiteral("--help")});
    ASSERT_EQ(result.status, QProcess::NormalExit);
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.err.isEmpty()) << result.err.toStdString();
    const QString& text = result.out;
    EXPECT_TRUE(text.startsWith(QStringLiteral("Aufruf: ostrel [OPTION]\n"))) << text.toStdString();
    for (const QString& expected :
         {QStringLiteral("-h, --help"), QStringLiteral("-v, --version"),
          QStringLiteral("Umgebungsvariablen:"), QStringLiteral("OSTREL_VIRTUAL_DEVICES=1"),
          QStringLiteral("virtuelles Kamerapaar"), QStringLiteral("OSTREL_VIRTUAL_FAULTS"),
          QStringLiteral("Einstellungen: ") + home.path() +
              QStringLiteral("/.config/ostrel/ostrel.conf"),
          QStringLiteral("Diagnoseprotokoll: ") + home.path()})
        EXPECT_TRUE(text.contains(expected)) << expected.toStdString() << "\n"
                                             << text.toStdString();
    expectNothingWritten();
}

TEST_F(CommandLineRun, HelpFollowsAnEnglishSystemLanguage) {
    const ProgramRun result = run({QStringLiteral("-h")}, QStringLiteral("en_GB.UTF-8"));
    EXPECT_EQ(result.exitCode, 0) << result.err.toStdString();
    EXPECT_TRUE(result.out.startsWith(QStringLiteral("Usage: ostrel [OPTION]\n")))
        << result.out.toStdString();
    EXPECT_TRUE(result.out.contains(QStringLiteral("Environment variables:")));
    EXPECT_TRUE(result.out.contains(QStringLiteral("OSTREL_VIRTUAL_DEVICES=1")));
    EXPECT_FALSE(result.out.contains(QStringLiteral("Umgebungsvariablen")));
}

TEST_F(CommandLineRun, WithoutAnswerTheProgramTriesToOpenItsWindow) {
    // The counter-check of the tests above: with no window system the real start fails.
    const ProgramRun result = run({QStringLiteral("--"), QStringLiteral("--help")});
    EXPECT_FALSE(result.status == QProcess::NormalExit && result.exitCode == 0);
    EXPECT_FALSE(result.out.contains(QStringLiteral("Aufruf:")));
}
