// The built app as a user starts it: the window comes up live on the virtual pair, shows both
// pictures, and Ctrl+Q ends it cleanly; with no documents folder to write into, the log moves.

#include "blackbox/AppRun.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

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
