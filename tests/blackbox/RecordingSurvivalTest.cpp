// The built app recording as a user drives it (Ctrl+R, Ctrl+P), and what is on disk
// afterwards as players see it (ffprobe and GStreamer): a normal recording with a photo, a
// crash with an immediate restart, a drive that fills up while recording, and a folder that
// cannot be written.

#include "blackbox/AppRun.h"
#include "recording/MediaProbe.h"
#include "support/EventLoop.h"

#include <QColor>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

#include <gtest/gtest.h>

#include <csignal>
#include <unistd.h>

namespace {

// Hidden files a recording leaves while it is written.
QStringList partialFiles(const QString& folder) {
    return QDir(folder).entryList({QStringLiteral(".ostrel-*")}, QDir::Files | QDir::Hidden);
}

// Both kinds of players agree on the length of the file, and it holds HEVC video.
void expectPlayable(const QString& file, double minSeconds, double maxSeconds) {
    SCOPED_TRACE(file.toStdString());
    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    EXPECT_EQ(probed.stream("video").value("codec_name").toString(), "hevc");
    EXPECT_GE(probed.duration(), minSeconds);
    EXPECT_LE(probed.duration(), maxSeconds);
    const int frames = decodedVideoFrames(file);
    // How many depends on how busy the machine is; pictures must be there, not only a length.
    EXPECT_GE(frames, int(minSeconds));
    if (haveGstreamerDiscoverer()) {
        const std::optional<double> shown = gstreamerDuration(file);
        ASSERT_TRUE(shown) << "GStreamer cannot read the file";
        EXPECT_NEAR(*shown, probed.duration(), 1.0) << "GStreamer shows another length";
    }
    const QImage first = firstVideoFrame(file);
    ASSERT_FALSE(first.isNull());
    EXPECT_GT(QColor(first.pixel(first.width() / 2, first.height() / 3)).value(), 20)
        << "a camera picture, not black";
}

// The app is up with both cameras live.
void startLive(AppRun& app) {
    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();
}

} // namespace

TEST(RecordingSurvival, TenSecondsWithAPhotoAreSavedWhole) {
    AppRun app;
    startLive(app);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft (1920×1080, Audio: an)")));
    QElapsedTimer recording;
    recording.start();
    recordFor(3);
    EXPECT_EQ(partialFiles(app.recordingFolder()).size(), 1)
        << "written on the folder's own drive while recording";
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+p")));
    ASSERT_TRUE(app.waitForFiles(QStringLiteral("OSTREL-*.jpg"), 3));
    recordFor(10 - recording.elapsed() / 1000.0);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    const double seconds = recording.elapsed() / 1000.0;
    const auto saved = app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 60000);
    ASSERT_TRUE(saved) << app.logLines().join(u'\n').toStdString();

    const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(movies.size(), 1);
    EXPECT_TRUE(saved->endsWith(movies[0]));
    EXPECT_TRUE(partialFiles(app.recordingFolder()).isEmpty());
    const QString file = QDir(app.recordingFolder()).filePath(movies[0]);
    expectPlayable(file, seconds - 2.0, seconds + 0.5);
    EXPECT_EQ(probeFile(file).stream("audio").value("codec_name").toString(), "aac");
    const QStringList photos = app.recordingFiles(QStringLiteral("OSTREL-*.jpg"));
    ASSERT_EQ(photos.size(), 3);
    for (const char* kind : {"-Ansicht.jpg", "-Macro.jpg", "-Wide.jpg"})
        EXPECT_EQ(photos.filter(QString::fromLatin1(kind)).size(), 1) << kind;

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0);
}

TEST(RecordingSurvival, KilledRecordingIsRecoveredWhenTheAppIsStartedRightAgain) {
    AppRun app;
    startLive(app);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft")));
    recordFor(8);
    app.signal(SIGKILL);
    EXPECT_EQ(app.waitForExit(10000), std::nullopt) << "a crash, not an exit";
    ASSERT_EQ(partialFiles(app.recordingFolder()).size(), 1);

    const int before = int(app.logLines().size());
    startLive(app);
    const auto recovered =
        app.waitForLog(QStringLiteral("Aufnahme nach Absturz wiederhergestellt: "), 30000, before);
    ASSERT_TRUE(recovered) << app.logLines().join(u'\n').toStdString();
    const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(movies.size(), 1);
    EXPECT_TRUE(recovered->endsWith(movies[0]));
    EXPECT_TRUE(partialFiles(app.recordingFolder()).isEmpty());
    // Up to the last complete two-second fragment of the eight seconds.
    expectPlayable(QDir(app.recordingFolder()).filePath(movies[0]), 4.0, 8.5);
}

TEST(RecordingSurvival, DriveFillingUpDuringARecordingKeepsWhatWasWritten) {
    AppRunOptions options;
    options.fileSizeLimit = 4 << 20; // the drive is full after 4 MiB of this file
    AppRun app(options);
    startLive(app);
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme läuft")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme-Writer fehlgeschlagen: "), 120000))
        << app.logLines().join(u'\n').toStdString();
    // The user is told, and the recording ends by itself.
    EXPECT_TRUE(app.waitForAlert());
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme-Fehler beim Abschluss: ")));
    const auto kept =
        app.waitForLog(QStringLiteral("Aufnahme bis zum Schreibfehler gespeichert: "));
    ASSERT_TRUE(kept) << app.logLines().join(u'\n').toStdString();

    const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(movies.size(), 1);
    EXPECT_TRUE(kept->endsWith(movies[0]));
    EXPECT_TRUE(partialFiles(app.recordingFolder()).isEmpty());
    const QString file = QDir(app.recordingFolder()).filePath(movies[0]);
    EXPECT_LE(QFileInfo(file).size(), options.fileSizeLimit);
    expectPlayable(file, 1.5, 60);
    EXPECT_TRUE(app.isRunning()) << "a full drive never takes the app down";
}

TEST(RecordingSurvival, FolderThatCannotBeWrittenIsReportedBeforeAnythingIsRecorded) {
    AppRun app;
    const QString folder = app.recordingFolder();
    // Permissions do not bind root; an immutable folder does.
    const bool root = ::geteuid() == 0;
    if (root) {
        if (QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("+i"), folder}) != 0)
            GTEST_SKIP() << "no way to make a folder unwritable for root here";
    } else {
        ASSERT_TRUE(QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    }
    struct Restore {
        QString folder;
        bool root;
        ~Restore() {
            if (root)
                QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), folder});
            QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                              QFileDevice::ExeOwner);
        }
    } restore{folder, root};

    startLive(app);
    const int before = int(app.logLines().size());
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    const auto refused =
        app.waitForLog(QStringLiteral("Aufnahme-Start fehlgeschlagen: "), 10000, before);
    ASSERT_TRUE(refused) << app.logLines().join(u'\n').toStdString();
    EXPECT_TRUE(
        refused->contains(QStringLiteral("Aufnahme-Start fehlgeschlagen: Aufnahmeordner nicht "
                                         "beschreibbar (Keine Schreibberechtigung)")));
    EXPECT_TRUE(app.waitForAlert());
    recordFor(2);
    const QStringList lines = app.logLines().mid(before);
    EXPECT_TRUE(lines.filter(QStringLiteral("Aufnahme läuft")).isEmpty()) << "nothing recorded";
    EXPECT_TRUE(QDir(folder).entryList(QDir::Files | QDir::Hidden).isEmpty());
}
