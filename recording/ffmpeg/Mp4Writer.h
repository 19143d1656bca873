#pragma once

#include "media/AudioBuffer.h"
#include "media/MediaTime.h"
#include "media/PixelBuffer.h"
#include "recording/ffmpeg/AudioEncoder.h"
#include "recording/ffmpeg/FfmpegPtr.h"
#include "recording/ffmpeg/FileOutput.h"
#include "recording/ffmpeg/VideoEncoder.h"
#include "recording/ffmpeg/VideoFramePool.h"

#include <QString>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace ffmpeg {

// An MP4 file with one HEVC track and optionally one AAC track, written as fragments of about
// two seconds so that a crash or a pulled drive loses at most the newest fragment.
//
// Encoding and muxing run on the writer's own thread behind a queue of at most
// `maxQueuedVideoFrames` pictures: when it is full the writer is not ready for more video and
// the caller drops the frame instead of waiting. All other calls come from one thread (the
// recording queue); the completion of `finish` runs on the writer's thread.
class Mp4Writer {
public:
    enum class Status { created, writing, completed, failed, cancelled };

    // A fifth of a second: enough to ride out a moment when the encoder threads get no CPU
    // (a window redraw, a fragment written) on a machine the encoder keeps up on.
    static constexpr int maxQueuedVideoFrames = 6;
    static constexpr int maxQueuedAudioBuffers = 64;
    static constexpr std::int64_t fragmentMicroseconds = 2'000'000;
    // Encoded data held in memory while the drive does not answer, in seconds at the video bit
    // rate (with room for a rate that runs high for a while).
    static constexpr int diskBacklogSeconds = 20;

    // The container for `path` (not yet opened); null when it cannot be made.
    static std::unique_ptr<Mp4Writer> create(const QString& path);
    // Abandons a file that was not finished: the thread stops, the file stays as it is.
    ~Mp4Writer();

    Mp4Writer(const Mp4Writer&) = delete;
    Mp4Writer& operator=(const Mp4Writer&) = delete;

    // Opens an HEVC encoder (hardware first) and adds its track; false when none opens.
    bool addVideoInput(const VideoEncoderSettings& settings);
    // Adds the AAC track; false when the encoder does not open.
    bool addAudioInput();
    bool hasAudioInput() const { return m_audioEncoder != nullptr; }
    QString videoEncoderName() const { return m_videoEncoder ? m_videoEncoder->name() : QString(); }
    // Encoders tried before the one that opened, which did not open.
    const QStringList& failedVideoEncoders() const { return m_failedVideoEncoders; }

    // Opens the file and writes the header; the error description on failure.
    std::optional<QString> startWriting();
    // Presentation times of appended media are taken relative to this time.
    void startSession(MediaTime start);

    Status status() const;
    QString errorText() const; // empty when FFmpeg gave none

    bool isReadyForMoreVideo() const;
    // Pictures queued and not yet taken by the encoder.
    int queuedVideoFrames() const;
    // Pictures the encoder has taken from the queue so far.
    int videoFramesTaken() const;
    // Whether a frame at `pts` would advance the track: equal or earlier times are refused.
    bool acceptsVideoTime(MediaTime pts) const;
    // A frame from the writer's pool (YUV420P, BT.709 limited range, canvas size) to draw the
    // next picture into.
    FramePtr makeVideoFrame();
    // Queue a picture for encoding; false when it was not taken (not ready, time not
    // advancing, not writing).
    bool appendVideo(const PixelBuffer& bgra, MediaTime pts);
    bool appendVideoFrame(FramePtr frame, MediaTime pts);

    bool isReadyForMoreAudio() const;
    bool appendAudio(const AudioBuffer& buffer);

    // Encodes what is queued, completes the file and then calls `completion` on the writer's
    // thread; `status()` is then completed or failed.
    void finish(std::function<void()> completion);
    // Stops at once and removes the file.
    void cancel();

    // Waits until the writer's thread has taken every queued item, or is held (tests and
    // benchmarks).
    void waitUntilQueueEmpty();

    // How long encoded data has been waiting for the drive (zero while it keeps up), and how
    // much of it waits. Any thread.
    std::chrono::milliseconds diskWaitingFor() const;
    std::int64_t diskBacklogBytes() const;
    // Continues the file at `path` (a new, empty file) after what was written so far; `done`
    // runs on the disk thread with the error text on failure.
    void relocate(const QString& path, std::function<void(std::optional<QString>)> done);
    // Stops waiting for a drive that does not answer: a finish that waits for it completes
    // as failed, and the file is completed on the disk thread when the drive answers.
    void abandonDisk();

    // Test hooks: from now on every write to the file fails, as on a pulled drive; and the
    // writer's thread takes nothing from its queue while held, as when the encoder is slow.
    void injectWriteFault();
    void holdEncoding(bool held);
    void holdDisk(bool held);

private:
    struct Item {
        enum class Kind { video, audio, finish } kind;
        FramePtr frame;
        AudioBuffer audio;
        std::int64_t audioStart = 0; // in samples of the audio time line
        std::function<void()> completion;
    };

    Mp4Writer() = default;
    std::int64_t videoTicks(MediaTime pts) const;
    bool push(Item item);
    void run();
    void encodeVideo(AVFrame* frame);
    void encodeAudio(const Item& item);
    void complete();
    int writePacket(AVPacket* packet, AVStream* stream, AVRational from);
    void fail(int code);
    void stopThread();
    bool failed() const;

    QString m_path;
    FormatContextPtr m_format;
    std::unique_ptr<FileOutput> m_file; // set before the writer's thread starts
    std::int64_t m_maxDiskBacklog = 0;
    std::unique_ptr<VideoEncoder> m_videoEncoder;
    QStringList m_failedVideoEncoders;
    std::unique_ptr<AudioEncoder> m_audioEncoder;
    std::unique_ptr<VideoFramePool> m_framePool;
    AVStream* m_videoStream = nullptr;
    AVStream* m_audioStream = nullptr;
    std::int64_t m_frameDuration = 0; // one frame at the expected rate, in video ticks

    // Producer side (the recording queue).
    MediaTime m_sessionStart{0};
    bool m_sessionStarted = false;
    std::int64_t m_lastVideoTicks = 0;
    bool m_anyVideo = false;

    // Writer thread side.
    PacketPtr m_packet;
    std::int64_t m_mediaEnd = 0; // end of the latest packet of any track, in microseconds

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_taken; // an item left the queue
    bool m_held = false;
    bool m_finishRequested = false; // nothing more is queued after the finish item
    std::deque<Item> m_items;
    int m_queuedVideo = 0;
    int m_videoTaken = 0;
    int m_queuedAudio = 0;
    bool m_abort = false;
    Status m_status = Status::created;
    QString m_error;
    std::thread m_thread;
};

} // namespace ffmpeg
