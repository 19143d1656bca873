#include "recording/ffmpeg/Mp4Writer.h"

#include "recording/MediaProbe.h"
#include "support/SyntheticMedia.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <thread>

using ffmpeg::Mp4Writer;
using namespace std::chrono_literals;

namespace {

constexpr MediaTime frameInterval = 33'333'333ns;
const MediaTime sessionStart = 1000s; // capture clocks do not start at zero

MediaTime frameTime(int index) {
    return sessionStart + index * frameInterval;
}

class Mp4WriterTest : public ::testing::Test {
protected:
    QString path(const QString& name) const { return dir.filePath(name); }

    std::unique_ptr<Mp4Writer> start(const QString& file, int width, int height, bool audio) {
        auto writer = Mp4Writer::create(file);
        EXPECT_TRUE(writer);
        if (!writer)
            return nullptr;
        EXPECT_TRUE(writer->addVideoInput({width, height, 10'000'000, 60, 30, true}));
        EXPECT_TRUE(!audio || writer->addAudioInput());
        const auto error = writer->startWriting();
        EXPECT_FALSE(error) << (error ? error->toStdString() : "");
        writer->startSession(sessionStart);
        return writer;
    }

    // Feeds frames first..last-1, waiting for room in the queue so that none is dropped.
    static void feed(Mp4Writer& writer, int first, int last, int width, int height) {
        for (int i = first; i < last; ++i) {
            writer.waitUntilQueueEmpty();
            ASSERT_TRUE(writer.appendVideo(syntheticFrame(width, height, i), frameTime(i)));
        }
    }

    static Mp4Writer::Status finish(Mp4Writer& writer) {
        std::promise<void> done;
        writer.finish([&] { done.set_value(); });
        done.get_future().wait();
        return writer.status();
    }

    QTemporaryDir dir;
};

} // namespace

TEST_F(Mp4WriterTest, WritesFragmentedHevcWithAacThatPlaysToItsFullDuration) {
    const QString file = path("a.mp4");
    auto writer = start(file, 640, 360, true);
    ASSERT_TRUE(writer);

    // Sound starting 0.2 s before the first picture, one second each from three microphones,
    // with a lost 0.5 s in the middle of the second.
    const AudioFormat formats[] = {
        {false, 16, 2, 48000}, {true, 32, 1, 44100}, {false, 32, 2, 16000}};
    MediaTime audioTime = sessionStart - 200ms;
    for (int i = 0; i < 90; ++i) {
        writer->waitUntilQueueEmpty();
        while (audioTime < frameTime(i + 1)) {
            const AudioFormat& format =
                formats[std::clamp(int(mediaSeconds(audioTime - sessionStart)), 0, 2)];
            const bool lost =
                audioTime >= sessionStart + 1200ms && audioTime < sessionStart + 1700ms;
            if (!lost) {
                ASSERT_TRUE(
                    writer->appendAudio(syntheticTone(format, audioTime, format.sampleRate / 50)));
            }
            audioTime += 20ms;
        }
        ASSERT_TRUE(writer->appendVideo(syntheticFrame(640, 360, i), frameTime(i)));
    }
    ASSERT_EQ(finish(*writer), Mp4Writer::Status::completed) << writer->errorText().toStdString();

    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    const QJsonObject video = probed.stream("video");
    EXPECT_EQ(video.value("codec_name").toString(), "hevc");
    EXPECT_EQ(video.value("codec_tag_string").toString(), "hvc1");
    const QJsonObject audio = probed.stream("audio");
    EXPECT_EQ(audio.value("codec_name").toString(), "aac");

    // 90 frames at 30 fps: 3 s, within one frame; the sound, gap filled, ends with the picture.
    EXPECT_NEAR(video.value("duration").toString().toDouble(), 3.0, 1.0 / 30);
    EXPECT_NEAR(probed.duration(), 3.0, 1.0 / 30);
    EXPECT_NEAR(audio.value("duration").toString().toDouble(), 3.0, 0.05);
    // Nothing of the sound from before the first picture was kept.
    EXPECT_NEAR(audio.value("start_time").toString().toDouble(), 0.0, 0.03);

    // Timestamps advance, key frames at most 60 frames apart.
    const auto packets = probePackets(file, "v");
    ASSERT_EQ(packets.size(), 90u);
    std::vector<double> pts;
    int sinceKey = 0;
    EXPECT_TRUE(packets.front().key);
    for (std::size_t i = 0; i < packets.size(); ++i) {
        pts.push_back(packets[i].pts);
        sinceKey = packets[i].key ? 0 : sinceKey + 1;
        EXPECT_LT(sinceKey, 60);
    }
    std::sort(pts.begin(), pts.end());
    for (std::size_t i = 1; i < pts.size(); ++i)
        EXPECT_NEAR(pts[i] - pts[i - 1], 1.0 / 30, 0.001);
    EXPECT_EQ(decodedVideoFrames(file), 90);
}

TEST_F(Mp4WriterTest, RefusesFramesWhoseTimeDoesNotAdvanceOrThatFindTheQueueFull) {
    const QString file = path("b.mp4");
    auto writer = start(file, 320, 240, false);
    ASSERT_TRUE(writer);
    EXPECT_FALSE(writer->acceptsVideoTime(sessionStart - 1ms)); // before the session
    const PixelBuffer picture = syntheticFrame(320, 240, 0);
    EXPECT_TRUE(writer->appendVideo(picture, frameTime(0)));
    writer->waitUntilQueueEmpty();
    EXPECT_TRUE(writer->appendVideo(picture, frameTime(1)));
    writer->waitUntilQueueEmpty();
    EXPECT_FALSE(writer->appendVideo(picture, frameTime(1)));       // duplicate
    EXPECT_FALSE(writer->appendVideo(picture, frameTime(0)));       // backwards
    EXPECT_FALSE(writer->appendVideo(picture, frameTime(1) + 1us)); // same 90 kHz tick

    writer->holdEncoding(true);
    constexpr int queued = Mp4Writer::maxQueuedVideoFrames;
    for (int i = 2; i < 2 + queued; ++i) {
        EXPECT_TRUE(writer->isReadyForMoreVideo());
        EXPECT_TRUE(writer->appendVideo(syntheticFrame(320, 240, i), frameTime(i)));
    }
    EXPECT_FALSE(writer->isReadyForMoreVideo());
    EXPECT_FALSE(writer->appendVideo(picture, frameTime(2 + queued)));
    writer->holdEncoding(false);
    writer->waitUntilQueueEmpty();
    EXPECT_TRUE(writer->isReadyForMoreVideo());
    // The refused frame did not use up its time: it can still come.
    EXPECT_TRUE(writer->appendVideo(picture, frameTime(2 + queued)));
    ASSERT_EQ(finish(*writer), Mp4Writer::Status::completed);
    EXPECT_EQ(decodedVideoFrames(file), 3 + queued);
}

// A frozen file system (fsfreeze, a hung network folder): the encoded fragments wait in memory,
// nothing is dropped, and the file is whole once the drive answers. Giving up on a drive that
// never answers is the camera manager's test, through the whole stack.
TEST_F(Mp4WriterTest, FrozenDriveKeepsEveryFrameInMemory) {
    const QString file = path("frozen.mp4");
    auto writer = start(file, 320, 240, false);
    ASSERT_TRUE(writer);
    feed(*writer, 0, 30, 320, 240);
    writer->holdDisk(true);
    const qint64 sizeWhenFrozen = QFileInfo(file).size();
    feed(*writer, 30, 300, 320, 240); // 9 s of fragments while the drive does not answer
    EXPECT_EQ(QFileInfo(file).size(), sizeWhenFrozen);
    EXPECT_GT(writer->diskBacklogBytes(), 0);
    writer->holdDisk(false);
    ASSERT_EQ(finish(*writer), Mp4Writer::Status::completed) << writer->errorText().toStdString();
    EXPECT_EQ(writer->diskBacklogBytes(), 0);
    EXPECT_EQ(writer->diskWaitingFor(), 0ms);
    EXPECT_EQ(decodedVideoFrames(file), 300);
}

TEST_F(Mp4WriterTest, FailsToStartInAMissingFolderAndCancelRemovesTheFile) {
    auto missing = Mp4Writer::create(path("no/such/folder/f.mp4"));
    ASSERT_TRUE(missing);
    ASSERT_TRUE(missing->addVideoInput({320, 240, 10'000'000, 60, 30, true}));
    EXPECT_EQ(missing->startWriting(), QString("No such file or directory"));
    EXPECT_EQ(missing->status(), Mp4Writer::Status::failed);

    auto odd = Mp4Writer::create(path("g.mp4"));
    EXPECT_FALSE(odd->addVideoInput({321, 241, 10'000'000, 60, 30, true}));

    const QString file = path("h.mp4");
    auto writer = start(file, 320, 240, true);
    ASSERT_TRUE(writer);
    feed(*writer, 0, 5, 320, 240);
    writer->cancel();
    EXPECT_EQ(writer->status(), Mp4Writer::Status::cancelled);
    EXPECT_FALSE(QFile::exists(file));
}
