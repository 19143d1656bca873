#include "recording/RecordingEngine.h"

#include "recording/MediaProbe.h"
#include "recording/TestImages.h"
#include "recording/ffmpeg/FragmentRepair.h"
#include "recording/ffmpeg/Mp4Writer.h"
#include "support/EventLoop.h"
#include "support/SyntheticMedia.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/error.h>
}

#include <algorithm>
#include <atomic>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

using namespace std::chrono_literals;

// Readable failure output for texts.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace {

constexpr MediaTime frameInterval = 33'333'333ns;
const MediaTime captureStart = 5000s;

MediaTime frameTime(int index) {
    return captureStart + index * frameInterval;
}

FrameJob job(int index, int wideWidth = 640, int wideHeight = 360) {
    FrameJob job;
    job.wide = syntheticFrame(wideWidth, wideHeight, index);
    job.macro = syntheticFrame(320, 240, index + 7);
    job.macroZoom = 1.1;
    job.pts = frameTime(index);
    return job;
}

struct StopResult {
    std::optional<QString> file;
    std::optional<QString> error;
};

class RecordingEngineTest : public ::testing::Test {
protected:
    void SetUp() override {
        engine.setClockForTesting([this] { return clock.load(); });
    }

    QString path(const QString& name) const { return dir.filePath(name); }

    // Hands the frames over one at a time, each composed and taken by the encoder before the
    // next, while the clock advances by one frame each.
    void feed(int first, int last, int wideWidth = 640, int wideHeight = 360) {
        for (int i = first; i < last; ++i) {
            engine.enqueueFrame(job(i, wideWidth, wideHeight));
            engine.waitUntilIdle();
            clock = clock + 1.0 / 30;
        }
    }

    StopResult stop() {
        auto result = std::make_shared<std::optional<StopResult>>();
        auto mutex = std::make_shared<std::mutex>();
        engine.stop([result, mutex](std::optional<QString> file, std::optional<QString> error) {
            std::lock_guard lock(*mutex);
            *result = StopResult{std::move(file), std::move(error)};
        });
        EXPECT_TRUE(pumpUntil([&] {
            std::lock_guard lock(*mutex);
            return result->has_value();
        }));
        std::lock_guard lock(*mutex);
        return result->value_or(StopResult{});
    }

    QTemporaryDir dir;
    std::atomic<double> clock{100.0};
    RecordingEngine engine;
};

} // namespace

TEST_F(RecordingEngineTest, NewerJobReplacesThePendingOne) {
    const QString file = path("pending.mp4");
    ASSERT_EQ(engine.start(file, 640, 360, false, {}, 0.3), std::nullopt);
    std::promise<void> release;
    engine.holdRecordQueueForTesting(release.get_future().share());
    FrameJob dark;
    dark.wide = solid(640, 360, {10, 10, 10});
    dark.pts = frameTime(0);
    FrameJob bright = dark;
    bright.wide = solid(640, 360, {240, 240, 240});
    bright.pts = frameTime(1);
    engine.enqueueFrame(dark);   // waits in the pending slot
    engine.enqueueFrame(bright); // replaces it
    EXPECT_EQ(engine.counters().droppedBusy, 1);
    release.set_value();
    engine.waitUntilIdle();
    const auto c = engine.counters();
    EXPECT_EQ(c.framesAppended, 1);
    EXPECT_EQ(c.droppedNotReady, 0);
    ASSERT_EQ(stop().file, file);
    const QImage picture = firstVideoFrame(file);
    ASSERT_FALSE(picture.isNull());
    EXPECT_GT(qGray(picture.pixel(320, 180)), 200); // the newer job was the one composed
}

TEST_F(RecordingEngineTest, StopBeforeTheFirstFrameCancelsTheFile) {
    const QString file = path("empty.mp4");
    ASSERT_EQ(engine.start(file, 640, 360, true, {}, 0.3), std::nullopt);
    engine.appendAudio(syntheticTone({false, 16, 1, 44100}, frameTime(0), 441));
    const StopResult result = stop();
    EXPECT_EQ(result.file, std::nullopt);
    EXPECT_TRUE(result.error);
    EXPECT_FALSE(QFile::exists(file));
    // Stopping again, and a frame arriving after the stop.
    EXPECT_TRUE(stop().error);
    engine.enqueueFrame(job(0));
    engine.waitUntilIdle();
    EXPECT_EQ(engine.counters().framesAppended, 0);
}

TEST_F(RecordingEngineTest, KilledRecordingStillPlaysUpToItsLastFragment) {
    const QString file = path("killed.mp4");
    QProcess helper;
    helper.start(QStringLiteral(OSTREL_KILL_HELPER), {file});
    ASSERT_TRUE(helper.waitForStarted());
    // Two fragments on the disk, then the process dies without any chance to finish.
    ASSERT_TRUE(pumpUntil([&] { return topLevelBoxes(file).count("moof") >= 2; }, 120000));
    ::kill(pid_t(helper.processId()), SIGKILL);
    helper.waitForFinished();
    EXPECT_EQ(helper.exitStatus(), QProcess::CrashExit);

    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    EXPECT_EQ(probed.stream("video").value("codec_name").toString(), "hevc");
    EXPECT_EQ(probed.stream("audio").value("codec_name").toString(), "aac");
    EXPECT_GE(decodedVideoFrames(file), 60);
    EXPECT_GE(probed.duration(), 2.0);

    // Repair cuts a copy that ends inside a fragment (the disk filled up mid-write) back to its
    // last complete one, and finds nothing in one without a complete fragment.
    const QString cut = path("cut.mp4");
    ASSERT_TRUE(QFile::copy(file, cut));
    const qint64 cutSize = QFileInfo(file).size() - 3000;
    ASSERT_TRUE(QFile::resize(cut, cutSize));
    const QString headerOnly = path("header-only.mp4");
    ASSERT_TRUE(QFile::copy(file, headerOnly));
    ASSERT_TRUE(QFile::resize(headerOnly, 1500));
    const auto repair = [](const QString& name, std::int64_t& us) {
        const int fd = ::open(QFile::encodeName(name).constData(), O_RDWR | O_CLOEXEC);
        const int result = ffmpeg::repairFragmentedMp4(fd, us);
        ::close(fd);
        return result;
    };
    std::int64_t us = 0;
    ASSERT_EQ(repair(cut, us), 0);
    const int frames = decodedVideoFrames(cut);
    EXPECT_GE(frames, 60);
    // Players show the length of what is in the file: 30 frames a second.
    EXPECT_NEAR(probeFile(cut).duration(), frames / 30.0, 0.15);
    EXPECT_NEAR(us / 1e6, frames / 30.0, 0.15);
    EXPECT_LT(QFileInfo(cut).size(), cutSize) << "cut back to its last complete fragment";
    EXPECT_EQ(topLevelBoxes(cut).last(), QStringLiteral("mdat"));
    EXPECT_EQ(repair(headerOnly, us), AVERROR_INVALIDDATA);
}

TEST_F(RecordingEngineTest, RateLimitLeavesFramesOutEvenlySoTheFileRunsSteadily) {
    const QString file = path("paced.mp4");
    ASSERT_EQ(engine.start(file, 320, 180, false, {}, 0.3), std::nullopt);
    engine.setRateLimit(24); // of every 30 camera frames 24 are kept: one in five is left out
    feed(0, 60, 320, 180);
    const auto c = engine.counters();
    EXPECT_EQ(c.framesAppended, 48);
    EXPECT_EQ(c.skippedPaced, 12);
    EXPECT_EQ(c.droppedBusy + c.droppedNotReady, 0); // left out on purpose is not a drop
    ASSERT_EQ(stop().file, file);

    // Every gap in the file is one or two camera frames, and the long ones come every
    // fifth frame: a steady cadence, no bursts of missing frames.
    std::vector<double> pts;
    for (const ProbedPacket& p : probePackets(file, "v"))
        pts.push_back(p.pts);
    std::sort(pts.begin(), pts.end());
    ASSERT_EQ(pts.size(), 48u);
    std::vector<std::size_t> longGaps;
    for (std::size_t i = 1; i < pts.size(); ++i) {
        const double gap = pts[i] - pts[i - 1];
        const bool one = std::abs(gap - 1.0 / 30) < 0.002;
        const bool two = std::abs(gap - 2.0 / 30) < 0.002;
        EXPECT_TRUE(one || two) << "gap " << gap << " before frame " << i;
        if (two)
            longGaps.push_back(i);
    }
    ASSERT_GE(longGaps.size(), 10u);
    for (std::size_t i = 1; i < longGaps.size(); ++i)
        EXPECT_EQ(longGaps[i] - longGaps[i - 1], 4u);

    // The next recording starts without a limit.
    ASSERT_EQ(engine.start(path("unpaced.mp4"), 320, 180, false, {}, 0.3), std::nullopt);
    EXPECT_EQ(engine.rateLimit(), 0);
    feed(0, 10, 320, 180);
    EXPECT_EQ(engine.counters().framesAppended, 10);
    EXPECT_TRUE(stop().file);

    // The pace is of the camera's own rate: a camera at 15 fps (every other time stamp) is kept
    // whole under 24, and two of every three frames are kept under 10.
    ASSERT_EQ(engine.start(path("dim.mp4"), 320, 180, false, {}, 0.3), std::nullopt);
    engine.setRateLimit(24);
    for (int i = 0; i < 60; i += 2) {
        engine.enqueueFrame(job(i, 320, 180));
        engine.waitUntilIdle();
    }
    EXPECT_NEAR(engine.cameraRate(), 15, 0.01);
    EXPECT_EQ(engine.counters().framesAppended, 30);
    engine.setRateLimit(10);
    for (int i = 60; i < 120; i += 2) {
        engine.enqueueFrame(job(i, 320, 180));
        engine.waitUntilIdle();
    }
    EXPECT_EQ(engine.counters().framesAppended, 50);
    EXPECT_EQ(engine.counters().skippedPaced, 10);
    EXPECT_EQ(engine.counters().cameraFrames, 60);
    EXPECT_TRUE(stop().file);
}

TEST_F(RecordingEngineTest, FailingHardwareEncoderFallsBackToSoftwareWithoutLosingTheRecording) {
    // A render node that is no GPU: the VAAPI encoder is really tried and fails to open.
    const QString fakeNode = path("renderD128");
    {
        QFile node(fakeNode);
        ASSERT_TRUE(node.open(QIODevice::WriteOnly));
    }
    qputenv("OSTREL_VAAPI_DEVICE", fakeNode.toUtf8());
    const QString file = path("fallback.mp4");
    const std::optional<QString> started = engine.start(file, 640, 360, false, {}, 0.3);
    qunsetenv("OSTREL_VAAPI_DEVICE");
    ASSERT_EQ(started, std::nullopt);
    EXPECT_EQ(engine.videoEncoderName(), "libx265");
    feed(0, 45);
    const StopResult result = stop();
    ASSERT_EQ(result.file, file);
    EXPECT_EQ(result.error, std::nullopt);
    EXPECT_EQ(decodedVideoFrames(file), 45);
}
