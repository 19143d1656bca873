// The built app loses a camera or the microphone in the middle of a recording, on the virtual
// devices with faults that fire a set time after the device first streamed; the saved files are
// checked as players see them.

#include "blackbox/AppRun.h"
#include "blackbox/RecordedSound.h"
#include "recording/MediaProbe.h"

#include <QDateTime>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <functional>

namespace {

const QString macroID = QStringLiteral("ostrel-virtual-camera-2");
const QString microphoneID = QStringLiteral("ostrel-virtual-microphone");

// The time of a log file line ("2026-11-24 15:48:08  WARN  …"), to the second.
std::optional<QTime> timeOf(const QString& line) {
    static const QRegularExpression stamp(QStringLiteral("(\\d\\d:\\d\\d:\\d\\d)"));
    const auto match = stamp.match(line);
    if (!match.hasMatch())
        return std::nullopt;
    return QTime::fromString(match.captured(1), QStringLiteral("HH:mm:ss"));
}

bool isAlertRed(const QColor& c) {
    return c.red() > 220 && c.green() > 50 && c.green() < 90 && c.blue() > 40 && c.blue() < 75;
}

bool isWarningOrange(const QColor& c) {
    return c.red() > 220 && c.green() > 130 && c.green() < 185 && c.blue() < 50;
}

// A banner of that colour: a row of it across the top middle of the window, below the menu bar.
bool bannerShown(const QImage& shot, const QRect& window,
                 const std::function<bool(const QColor&)>& colour) {
    for (int y = window.top() + 40; y < window.top() + 160; y += 2) {
        int hits = 0;
        for (int x = window.center().x() - 150; x < window.center().x() + 150; x += 3)
            hits += colour(shot.pixelColor(x, y));
        if (hits > 90)
            return true;
    }
    return false;
}

// Starts the app live and a recording with Ctrl+R.
void startRecording(AppRun& app) {
    ASSERT_STARTED(app.startLive());
    ASSERT_TRUE(app.startRecording()) << app.describe().toStdString();
}

// Stops the recording with Ctrl+R and returns the saved file, the only one.
QString stopAndSave(AppRun& app) {
    const QString file = app.stopRecording();
    EXPECT_FALSE(file.isEmpty()) << app.describe().toStdString();
    EXPECT_EQ(app.recordingFiles(QStringLiteral("OSTREL-*.mp4")).size(), 1);
    return file;
}

struct Tracks {
    double duration = 0;     // of the file
    double videoSeconds = 0; // from the first to the last picture
    double audioSeconds = 0;
    int pictures = 0;
    double longestGap = 0; // between two pictures
};

// How many pictures the app says it wrote ("Aufnahme beendet: N Frames").
int writtenPictures(const AppRun& app) {
    static const QRegularExpression written(QStringLiteral("Aufnahme beendet: (\\d+) Frames"));
    for (const QString& line : app.logLines())
        if (const auto match = written.match(line); match.hasMatch())
            return match.captured(1).toInt();
    return -1;
}

// What a player finds in the file, printed under `name`: every picture the app says it wrote,
// and GStreamer must read it too.
Tracks tracksOf(const AppRun& app, const QString& file, const char* name) {
    Tracks tracks;
    const ProbedFile probed = probeFile(file);
    EXPECT_TRUE(probed.ok) << file.toStdString();
    tracks.duration = probed.duration();
    tracks.audioSeconds =
        probed.stream(QStringLiteral("audio")).value("duration").toString().toDouble();
    std::vector<double> times;
    for (const ProbedPacket& packet : probePackets(file, QStringLiteral("v")))
        times.push_back(packet.pts);
    std::sort(times.begin(), times.end());
    tracks.pictures = int(times.size());
    if (!times.empty())
        tracks.videoSeconds = times.back() - times.front();
    for (std::size_t i = 1; i < times.size(); ++i)
        tracks.longestGap = std::max(tracks.longestGap, times[i] - times[i - 1]);
    std::printf("%s: file %.2f s, video %.2f s with %d pictures (%.1f fps), longest gap %.2f s, "
                "sound %.2f s\n",
                name, tracks.duration, tracks.videoSeconds, tracks.pictures,
                tracks.videoSeconds > 0 ? (tracks.pictures - 1) / tracks.videoSeconds : 0.0,
                tracks.longestGap, tracks.audioSeconds);
    EXPECT_EQ(tracks.pictures, writtenPictures(app)) << name;
    const std::optional<double> shown = gstreamerDuration(file);
    EXPECT_TRUE(shown) << "GStreamer cannot read the file";
    if (shown) {
        EXPECT_NEAR(*shown, tracks.duration, 0.5);
    }
    return tracks;
}

// The file as a player finds it after the Macro camera went and came back: every picture the
// app wrote, the Wide picture and the sound to the end, and the Macro inset back at the end.
void expectWideMacroAndSoundToTheEnd(const AppRun& app, const QString& file, const char* name) {
    const Tracks tracks = tracksOf(app, file, name);
    // How even the pictures are depends on how busy the machine is; a restart of the whole
    // pair would leave a gap of seconds.
    EXPECT_GT(tracks.videoSeconds, tracks.duration - 1.0) << "the Wide picture went on";
    EXPECT_LT(tracks.longestGap, 2.0) << "the Wide picture went on";
    EXPECT_GT(tracks.audioSeconds, tracks.duration - 0.5) << "the sound went on";
    // The inset at the bottom centre of the 1920×1080 picture shows a camera picture again.
    const QImage last = videoFrameAt(file, tracks.duration - 0.5);
    EXPECT_GT(texturedShare(last, QRect(810, 830, 300, 150)), 0.3) << "the inset came back";
}

} // namespace

TEST(CameraLoss, MacroStreamThatEndsComesBackByItselfAndTheFileKeepsPictureAndSound) {
    AppRunOptions options;
    options.faults = QStringLiteral("end=%1@8s").arg(macroID);
    AppRun app(options);
    startRecording(app);
    const auto back = app.waitForLog(QStringLiteral("Kamera wieder live: OSTREL Kamera (Makro)"));
    ASSERT_TRUE(back) << app.describe().toStdString();
    const QStringList lines = app.logLines();
    const int lost = lineOf(lines, QStringLiteral("Bildstrom der Makro-Kamera (OSTREL Kamera) "
                                                  "abgebrochen — wird neu gestartet"));
    ASSERT_GE(lost, 0) << app.describe().toStdString();
    EXPECT_LT(lineOf(lines, QStringLiteral("Aufnahme läuft")), lost) << "lost while recording";
    EXPECT_LT(lineOf(lines, QStringLiteral("Kamera-Sessions gestoppt")), 0);
    if (const auto from = timeOf(lines[lost]), to = timeOf(*back); from && to)
        std::printf("Macro stream end to picture back: %d ms\n", from->msecsTo(*to));
    recordFor(2); // a little recording after the return

    const QString file = stopAndSave(app);
    expectWideMacroAndSoundToTheEnd(app, file, "Macro stream end");
}

TEST(CameraLoss, MacroUnpluggedAndPluggedBackReturnsIntoTheSameRecording) {
    AppRunOptions options;
    options.faults = QStringLiteral("unplug=%1@8s;replug=%1@12s").arg(macroID);
    AppRun app(options);
    startRecording(app);
    const QString unplugged =
        QStringLiteral("Kamera getrennt: OSTREL Kamera (Makro) — USB-Verbindung/Hub prüfen");
    const auto gone = app.waitForLog(unplugged);
    ASSERT_TRUE(gone) << app.describe().toStdString();

    // The user sees which camera went, and the Wide picture stays on screen.
    const QRect window = app.windowGeometry();
    const QRect wide(window.left(), window.top() + 180, window.width(), window.height() / 4);
    const auto showsLoss = [&](const QImage& shot) {
        return bannerShown(shot, window, isAlertRed) && texturedShare(shot, wide) > 0.3;
    };
    const QImage screen = app.waitForScreen(showsLoss);
    saveForLooking(screen, QStringLiteral("macro-lost"));
    EXPECT_TRUE(showsLoss(screen)) << "banner and Wide picture";

    const auto back = app.waitForLog(QStringLiteral("Kamera wieder live: OSTREL Kamera (Makro)"));
    ASSERT_TRUE(back) << app.describe().toStdString();
    if (const auto from = timeOf(*gone), to = timeOf(*back); from && to)
        std::printf("Macro unplugged to picture back: %d ms (plugged in after 4000 ms)\n",
                    from->msecsTo(*to));
    const QStringList lines = app.logLines();
    EXPECT_EQ(lines.filter(unplugged).size(), 1) << "the stream end and the notice count once";
    EXPECT_LT(lineOf(lines, QStringLiteral("Kamera-Sessions gestoppt")), 0);
    recordFor(2);

    // The alert about the loss is still up: the menu's Ctrl+R works through it.
    EXPECT_TRUE(app.waitForAlert());
    const QString file = stopAndSave(app);
    expectWideMacroAndSoundToTheEnd(app, file, "Macro unplugged and back");
}

TEST(CameraLoss, WideUnpluggedKeepsTheSoundAndTheAlertLetsTheRecordingBeStopped) {
    AppRunOptions options;
    options.faults = QStringLiteral("unplug=ostrel-virtual-camera-1@8s");
    AppRun app(options);
    startRecording(app);
    ASSERT_TRUE(app.waitForLog(
        QStringLiteral("Kamera getrennt: OSTREL Kamera (Wide) — USB-Verbindung/Hub prüfen")))
        << app.describe().toStdString();
    recordFor(3); // sound without pictures

    // The alert has the keyboard: a plain R does not reach the view behind it, Escape closes
    // it, and then Ctrl+R stops the recording although no camera runs.
    ASSERT_TRUE(app.waitForAlert());
    EXPECT_TRUE(app.pressKeys(QStringLiteral("r")));
    EXPECT_TRUE(app.pressKeys(QStringLiteral("Escape")));
    EXPECT_FALSE(app.waitForAlert(false)) << "Escape closed the alert";
    EXPECT_FALSE(app.waitForLog(QStringLiteral("Aufnahme beendet"), 1500)) << "R went nowhere";
    const QString file = stopAndSave(app);
    const QStringList lines = app.logLines();
    EXPECT_EQ(lines.filter(QStringLiteral("Aufnahme läuft")).size(), 1);
    const Tracks tracks = tracksOf(app, file, "Wide unplugged");
    EXPECT_GT(tracks.audioSeconds, tracks.videoSeconds + 2.5) << "the sound went on";
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0);
}

// The microphone is pulled in the middle of a recording, plugged back in and pulled again for
// good: the user reads it in the log and sees it on screen, the picture runs on to the end, and
// the file's sound is the tone up to the loss, silence while it is gone, the tone again from its
// return and silence after the last loss, in one track that runs to the end.
TEST(CameraLoss, MicrophonePulledAndBackKeepsThePictureAndTheSoundAroundTheGap) {
    AppRunOptions options;
    // Late enough that a busy machine has started the recording by then.
    options.faults = QStringLiteral("unplug=%1@12s;replug=%1@17s;unplug=%1@22s").arg(microphoneID);
    AppRun app(options);
    startRecording(app);
    const QString pulled = QStringLiteral("Mikrofon getrennt: OSTREL Mikrofon");
    const auto gone = app.waitForLog(pulled);
    ASSERT_TRUE(gone) << app.describe().toStdString();
    EXPECT_TRUE(gone->contains(QStringLiteral(" WARN "))) << gone->toStdString();

    const QRect window = app.windowGeometry();
    const auto showsNotice = [&](const QImage& shot) {
        return bannerShown(shot, window, isWarningOrange);
    };
    const QImage screen = app.waitForScreen(showsNotice);
    saveForLooking(screen, QStringLiteral("microphone-lost"));
    EXPECT_TRUE(showsNotice(screen)) << "the notice over the picture";

    const auto back = app.waitForLog(QStringLiteral("Mikrofon wieder verbunden: OSTREL Mikrofon"));
    ASSERT_TRUE(back) << app.describe().toStdString();
    EXPECT_TRUE(back->contains(QStringLiteral(" INFO "))) << back->toStdString();
    EXPECT_FALSE(showsNotice(app.waitForScreen([&](const QImage& shot) {
        return !showsNotice(shot);
    }))) << "the notice went with the loss";
    const auto goneAgain = app.waitForLog(pulled, 30000, lineOf(app.logLines(), *back));
    ASSERT_TRUE(goneAgain) << app.describe().toStdString();
    recordFor(2); // silence to the end

    const QString file = stopAndSave(app);
    const QStringList lines = app.logLines();
    const int started = lineOf(lines, QStringLiteral("Aufnahme läuft"));
    EXPECT_LT(started, lineOf(lines, pulled)) << "pulled while recording";
    EXPECT_EQ(lines.filter(pulled).size(), 2) << "each loss once: its stream end and its notice";
    EXPECT_LT(lineOf(lines, QStringLiteral("Kamera-Sessions gestoppt")), 0);
    EXPECT_EQ(lines.filter(QStringLiteral("2 Kameras live")).size(), 1) << "cameras untouched";

    const Tracks tracks = tracksOf(app, file, "Microphone pulled and back");
    EXPECT_GT(tracks.videoSeconds, tracks.duration - 1.0) << "the picture went on";
    // Even with no restart, a machine too busy for the encoder leaves a gap of up to two.
    EXPECT_LT(tracks.longestGap, 3.0) << "the picture went on";
    EXPECT_GT(tracks.audioSeconds, tracks.duration - 0.5) << "one sound track to the end";

    // The sound ends in the silence of the last loss; before it, the gap is the longest silence
    // (the microphone was gone for 5 s). A machine too busy for the encoder drops sound it
    // cannot queue, so around the gap the tone is asked for most of the time, not all of it.
    const std::vector<SoundStretch> sound = soundStretches(file);
    for (const SoundStretch& stretch : sound)
        std::printf("sound %s %.1f–%.1f s\n", stretch.heard ? "heard " : "silent", stretch.from,
                    stretch.to);
    ASSERT_GE(sound.size(), 4u) << "tone, silence, tone, silence";
    const SoundStretch last = sound.back();
    EXPECT_FALSE(last.heard) << "silence after the last loss";
    const SoundStretch gap = longestSilence(sound, sound.size() - 1);
    EXPECT_GT(gap.length(), 3.5) << "silence while it was gone";
    // The log's times are whole seconds.
    const auto startTime = timeOf(lines[started]);
    const auto lossTime = timeOf(*gone);
    const auto backTime = timeOf(*back);
    const auto lastLossTime = timeOf(*goneAgain);
    ASSERT_TRUE(startTime && lossTime && backTime && lastLossTime);
    EXPECT_NEAR(gap.from, startTime->secsTo(*lossTime), 2.0) << "the sound up to the loss";
    EXPECT_NEAR(gap.to, startTime->secsTo(*backTime), 2.0) << "back at the right time";
    EXPECT_NEAR(last.from, startTime->secsTo(*lastLossTime), 2.0) << "up to the last loss";
    EXPECT_GT(heardSeconds(sound, 0, gap.from), 0.6 * gap.from) << "the sound before the loss";
    EXPECT_GT(heardSeconds(sound, gap.to, last.from), 0.6 * (last.from - gap.to))
        << "the sound is back";

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0);
}
