// The built app recording as a user drives it (Ctrl+R, Ctrl+P) through crashes, full drives,
// lost folders and cheap cameras, and what is on disk afterwards as players see it (ffprobe and
// GStreamer).

#include "blackbox/AppRun.h"
#include "recording/MediaProbe.h"
#include "support/EventLoop.h"
#include "support/QuirkyMjpeg.h"

#include <QColor>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <numbers>
#include <sys/statvfs.h>
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

// A camera picture to find again in a recording: one colour per quadrant (RGB, `colours` top
// left, top right, bottom left, bottom right) under soft vertical stripes, which make it a live
// picture to the window check and average out over their period of 16 pixels.
PixelBuffer quadrantPicture(int width, int height, const std::array<QColor, 4>& colours) {
    PixelBuffer picture = PixelBuffer::allocate(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const QColor& c = colours[std::size_t((y * 2 / height) * 2 + x * 2 / width)];
            const int stripe = int(std::lround(30 * std::sin(x * 2 * std::numbers::pi / 16)));
            std::uint8_t* p = picture.row(y) + x * 4;
            p[0] = std::uint8_t(std::clamp(c.blue() + stripe, 0, 255));
            p[1] = std::uint8_t(std::clamp(c.green() + stripe, 0, 255));
            p[2] = std::uint8_t(std::clamp(c.red() + stripe, 0, 255));
            p[3] = 255;
        }
    return picture;
}

// A stream file of `picture` as a cheap camera sends it: every frame without Huffman tables,
// with stray bytes before its end marker, zero padding after it, or all of these.
void writeQuirkyStream(const QString& path, const PixelBuffer& picture,
                       QuirkyMjpeg::Sampling sampling) {
    using namespace QuirkyMjpeg;
    const Bytes clean = encode(picture, sampling);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    for (const Bytes& frame :
         {withoutHuffmanTables(clean), withStrayBytesBeforeEnd(clean, 9), withPadding(clean, 3000),
          withPadding(withStrayBytesBeforeEnd(withoutHuffmanTables(clean), 11), 500)})
        ASSERT_EQ(file.write(reinterpret_cast<const char*>(frame.data()), qint64(frame.size())),
                  qint64(frame.size()));
}

// Mean colour of a square of `size` pixels centred at `centre` (smooth scaling averages areas).
QColor meanColour(const QImage& image, QPoint centre, int size) {
    return image.copy(QRect(centre - QPoint(size / 2, size / 2), QSize(size, size)))
        .scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .pixelColor(0, 0);
}

} // namespace

TEST(RecordingSurvival, TenSecondsWithAPhotoAreSavedWhole) {
    AppRun app;
    ASSERT_STARTED(app.startLive());
    const auto started = app.startRecording();
    ASSERT_TRUE(started && started->contains(QStringLiteral("(1920×1080, Audio: an)")));
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
    const ProbedFile probed = probeFile(file);
    EXPECT_EQ(probed.stream("audio").value("codec_name").toString(), "aac");
    EXPECT_NEAR(probed.stream("video").value("bit_rate").toString().toDouble(), 10e6, 2.5e6);
    const QStringList photos = app.recordingFiles(QStringLiteral("OSTREL-*.jpg"));
    ASSERT_EQ(photos.size(), 3);
    for (const char* kind : {"-Ansicht.jpg", "-Macro.jpg", "-Wide.jpg"})
        EXPECT_EQ(photos.filter(QString::fromLatin1(kind)).size(), 1) << kind;
}

// With no microphone assigned ("Kein Ton") the file has no sound stream; muted with M before the
// start it has a silent one, which M can bring back to life inside the recording.
TEST(RecordingSurvival, WithoutMicrophoneTheFileHasNoSoundAndMutedOnlySilence) {
    for (const bool microphone : {false, true}) {
        SCOPED_TRACE(microphone ? "muted" : "no microphone");
        AppRunOptions options;
        options.microphone = microphone;
        AppRun app(options);
        ASSERT_STARTED(app.startLive());
        ASSERT_TRUE(!microphone || app.pressKeys(QStringLiteral("m")));
        ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
        ASSERT_TRUE(app.waitForLog(microphone ? QStringLiteral("Ton der Aufnahme stumm geschaltet")
                                              : QStringLiteral("Audio: aus)")));
        QElapsedTimer recording;
        recording.start();
        recordFor(4);
        ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
        const double seconds = recording.elapsed() / 1000.0;
        ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 60000));
        const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
        ASSERT_EQ(movies.size(), 1);
        const QString file = QDir(app.recordingFolder()).filePath(movies[0]);
        expectPlayable(file, seconds - 2.0, seconds + 0.5);
        EXPECT_EQ(probeFile(file).streamCount(QStringLiteral("audio")), microphone ? 1 : 0);
        const std::vector<double> levels = audioLevels(file);
        EXPECT_EQ(levels.empty(), !microphone);
        EXPECT_TRUE(std::all_of(levels.begin(), levels.end(), [](double l) { return l < 0.01; }))
            << "the tone, about 0.18, is muted";
    }
}

TEST(RecordingSurvival, KilledRecordingIsRecoveredWhenTheAppIsStartedRightAgain) {
    AppRun app;
    ASSERT_STARTED(app.startLive());
    ASSERT_TRUE(app.startRecording());
    // Killed once two fragments of two seconds are complete on disk (a third has begun): how
    // long that takes depends on how busy the machine is, what is kept does not.
    const auto fragments = [&] {
        const QStringList partial = partialFiles(app.recordingFolder());
        return partial.isEmpty() ? 0
                                 : int(topLevelBoxes(app.recordingFolder() + u'/' + partial.first())
                                           .count(QStringLiteral("moof")));
    };
    ASSERT_TRUE(pollUntil([&] { return fragments() >= 3; }, 60000))
        << "fragments on disk: " << fragments();
    app.signal(SIGKILL);
    EXPECT_EQ(app.waitForExit(10000), std::nullopt) << "a crash, not an exit";
    ASSERT_EQ(partialFiles(app.recordingFolder()).size(), 1);

    const int before = int(app.logLines().size());
    ASSERT_STARTED(app.startLive());
    const auto recovered =
        app.waitForLog(QStringLiteral("Aufnahme nach Absturz wiederhergestellt: "), 30000, before);
    ASSERT_TRUE(recovered) << app.logLines().join(u'\n').toStdString();
    const QStringList movies = app.recordingFiles(QStringLiteral("OSTREL-*.mp4"));
    ASSERT_EQ(movies.size(), 1);
    EXPECT_TRUE(recovered->endsWith(movies[0]));
    EXPECT_TRUE(partialFiles(app.recordingFolder()).isEmpty());
    // At least the two complete two-second fragments.
    expectPlayable(QDir(app.recordingFolder()).filePath(movies[0]), 3.9, 60.0);
}

TEST(RecordingSurvival, DriveFillingUpDuringARecordingKeepsWhatWasWritten) {
    AppRunOptions options;
    options.fileSizeLimit = 4 << 20; // the drive is full after 4 MiB of this file
    AppRun app(options);
    ASSERT_STARTED(app.startLive());
    ASSERT_TRUE(app.startRecording());
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

// A small drive of its own for the recording folder, filled from outside while recording: the
// app warns once with the time left, then ends the recording by itself before the drive is full
// and saves it.
TEST(RecordingSurvival, DriveRunningLowWarnsOnceThenStopsTheRecordingAndSavesIt) {
    AppRunOptions options;
    // 2.5 minutes of 1080p above the stop reserve of 1 GB: below the warning level at once.
    options.tmpfsRecordingFolder = 1'000'000'000 + 5 * 89'128'960 / 2;
    AppRun app(options);
    ASSERT_STARTED(app.startLive());
    const QString folder =
        QStringLiteral("/proc/%1/root%2").arg(app.pid()).arg(app.recordingFolder());
    const auto leaveFree = [&](qint64 free) {
        QFile filler(folder + QStringLiteral("/filler-%1").arg(free));
        ASSERT_TRUE(filler.open(QIODevice::WriteOnly));
        struct statvfs drive {};
        ASSERT_EQ(::statvfs(QFile::encodeName(folder).constData(), &drive), 0);
        ASSERT_EQ(
            ::posix_fallocate(filler.handle(), 0, qint64(drive.f_bavail * drive.f_frsize) - free),
            0);
    };
    const QString warning = QStringLiteral("Speicher fast voll · ≈ 2 Min");
    QElapsedTimer recording;
    recording.start();
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+r")));
    ASSERT_TRUE(app.waitForLog(
        QStringLiteral("Speicherplatz wird knapp: ≈ 2 Min Restzeit am Aufnahmeziel")))
        << app.describe().toStdString();
    // Once the bars hide, the warning stays in sight above the picture.
    EXPECT_TRUE(app.waitForShown([&](const AppRun::ShownText& item) {
        return item.objectName == QStringLiteral("storageWarningOverlay") && item.text == warning;
    }));
    // Fewer minutes left leave the warning as it was (a check comes every 5 s).
    leaveFree(1'050'000'000);
    recordFor(6);
    EXPECT_TRUE(app.waitForShown(warning, 0));

    leaveFree(900'000'000);
    ASSERT_TRUE(app.waitForLog(QStringLiteral("MB frei) — Aufnahme wird automatisch beendet")))
        << app.describe().toStdString();
    EXPECT_TRUE(app.waitForAlert());
    EXPECT_TRUE(app.waitForShown(
        QStringLiteral("Aufnahme automatisch beendet: Der Speicherplatz am Ziel ist fast voll. "
                       "Die Aufnahme wurde gespeichert.")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Aufnahme gespeichert: "), 60000))
        << app.describe().toStdString();
    EXPECT_FALSE(app.waitForShown(warning, 0)) << "the warning goes with the recording";
    EXPECT_EQ(app.logLines().filter(QStringLiteral("Speicherplatz wird knapp")).size(), 1);
    const QStringList movies = QDir(folder).entryList({QStringLiteral("OSTREL-*.mp4")});
    ASSERT_EQ(movies.size(), 1);
    expectPlayable(folder + u'/' + movies[0], 8, recording.elapsed() / 1000.0 + 0.5);
}

// The recording folder is deleted while a recording is written into it: the app notices, says
// so, goes on in the folder made anew, and saves the whole recording there at the stop.
TEST(RecordingSurvival, FolderDeletedDuringARecordingIsMadeAnewAndTheWholeRecordingSaved) {
    AppRun app;
    ASSERT_STARTED(app.startLive());
    const int before = int(app.logLines().size());
    ASSERT_TRUE(app.startRecording());
    recordFor(3);
    ASSERT_TRUE(QDir(app.recordingFolder()).removeRecursively());
    const auto noticed = app.waitForLog(
        QStringLiteral("Aufnahmedatei nicht mehr erreichbar (Ordner gelöscht"), 20000, before);
    ASSERT_TRUE(noticed) << app.describe().toStdString();
    EXPECT_TRUE(noticed->endsWith(app.recordingFolder()));
    EXPECT_TRUE(app.waitForAlert());
    EXPECT_EQ(partialFiles(app.recordingFolder()).size(), 1);
    recordFor(3);
    const QString movie = app.stopRecording();
    ASSERT_FALSE(movie.isEmpty()) << app.describe().toStdString();
    EXPECT_EQ(app.recordingFiles(QStringLiteral("OSTREL-*.mp4")).size(), 1);
    EXPECT_TRUE(partialFiles(app.recordingFolder()).isEmpty());
    // From the press to the stop: the seconds before the deletion are there too.
    expectPlayable(movie, 6.5, 60);
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
    const auto restore = qScopeGuard([&] {
        if (root)
            QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), folder});
        QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                          QFileDevice::ExeOwner);
    });

    ASSERT_STARTED(app.startLive());
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

// Two cameras that send every frame the way inexpensive UVC cameras do, played from files
// through the app's MJPEG decoder: the recording runs at the camera rate and holds each
// camera's own picture, turned by 180 degrees, the Wide one filling the canvas.
TEST(RecordingSurvival, CamerasWithQuirkyMjpegRecordTheirPicturesAtTheCameraRate) {
    QTemporaryDir streams;
    const std::array<QColor, 4> wideColours{QColor(200, 50, 50), QColor(50, 180, 60),
                                            QColor(50, 70, 200), QColor(150, 150, 150)};
    // 1280 × 720 where the app negotiated 1920 × 1080: the header's size is what counts.
    const QString wide = streams.filePath(QStringLiteral("wide.mjpeg"));
    writeQuirkyStream(wide, quadrantPicture(1280, 720, wideColours), QuirkyMjpeg::Sampling::s422);
    const std::array<QColor, 4> macroColours{QColor(220, 200, 40), QColor(40, 200, 220),
                                             QColor(200, 40, 220), QColor(90, 90, 90)};
    const QString macro = streams.filePath(QStringLiteral("macro.mjpeg"));
    writeQuirkyStream(macro, quadrantPicture(640, 360, macroColours), QuirkyMjpeg::Sampling::s420);
    AppRunOptions options;
    // The frame rate is the capture path's and the encoder's; a smaller window leaves them the
    // CPU that software rendering of a full-screen live view would take.
    options.screenWidth = 1280;
    options.screenHeight = 720;
    options.environment.insert(QStringLiteral("OSTREL_VIRTUAL_STREAMS"),
                               QStringLiteral("ostrel-virtual-camera-1=%1;"
                                              "ostrel-virtual-camera-2=%2")
                                   .arg(wide, macro));
    AppRun app(options);
    ASSERT_STARTED(app.startLive());
    const auto started = app.startRecording();
    ASSERT_TRUE(started && started->contains(QStringLiteral("(1920×1080")));
    recordFor(5);
    const QString file = app.stopRecording();
    ASSERT_FALSE(file.isEmpty()) << app.describe().toStdString();
    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    // The video stream's own length: the sound may run a little longer.
    const double seconds =
        probed.stream(QStringLiteral("video")).value("duration").toString().toDouble();
    const int frames = decodedVideoFrames(file);
    // Every camera picture reached the recorder: written, paced out evenly or dropped by a busy
    // encoder, by the app's own count over its own recording time. A decoder that threw away
    // the frames libjpeg warns about lost about half of these.
    const QString log = app.logLines().join(u'\n');
    static const QRegularExpression summary(
        QStringLiteral("Aufnahme beendet: (\\d+) Frames, Ø ([\\d.]+) fps, verworfen: (\\d+) "
                       "\\(Compositing\\), (\\d+) \\(Encoder\\)"));
    static const QRegularExpression paced(
        QStringLiteral("(\\d+) Kamerabilder planmäßig ausgelassen"));
    const QRegularExpressionMatch counts = summary.match(log);
    ASSERT_TRUE(counts.hasMatch()) << log.toStdString();
    const int written = counts.captured(1).toInt();
    const double elapsed = written / counts.captured(2).toDouble();
    const int seen = written + counts.captured(3).toInt() + counts.captured(4).toInt() +
                     paced.match(log).captured(1).toInt();
    std::printf("quirky streams: %d frames in %.2f s in the file (%.1f fps); %d camera pictures "
                "in %.2f s reached the recorder (%.1f per second)\n",
                frames, seconds, frames / seconds, seen, elapsed, seen / elapsed);
    EXPECT_GE(seen / elapsed, 27.0) << log.toStdString();
    EXPECT_GT(frames, 0);

    // Source point (x, y) of the 1280 × 720 Wide picture, turned and scaled by 1.5, lies at
    // ((1280 - x) · 1.5, (720 - y) · 1.5); these keep clear of the Macro inset, which sits at
    // the bottom centre (576 × 324 from (672, 756)) with its quadrants turned as well.
    const QImage first = firstVideoFrame(file);
    ASSERT_EQ(first.size(), QSize(1920, 1080));
    saveForLooking(first, QStringLiteral("quirky-streams"));
    const std::pair<QPoint, QColor> expected[] = {
        {QPoint(1440, 810), wideColours[0]},  // Wide, top left, now bottom right
        {QPoint(420, 810), wideColours[1]},   // Wide, top right
        {QPoint(1440, 270), wideColours[2]},  // Wide, bottom left
        {QPoint(420, 270), wideColours[3]},   // Wide, bottom right
        {QPoint(1104, 999), macroColours[0]}, // Macro, top left
        {QPoint(816, 999), macroColours[1]},  // Macro, top right
        {QPoint(1104, 837), macroColours[2]}, // Macro, bottom left
        {QPoint(816, 837), macroColours[3]},  // Macro, bottom right
    };
    for (const auto& [at, colour] : expected) {
        const QColor seen = meanColour(first, at, 48); // two stripe periods
        EXPECT_LE(std::abs(seen.red() - colour.red()) + std::abs(seen.green() - colour.green()) +
                      std::abs(seen.blue() - colour.blue()),
                  36)
            << "at " << at.x() << "," << at.y() << ": " << seen.name().toStdString() << " for "
            << colour.name().toStdString();
    }
}
