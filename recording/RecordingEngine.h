#pragma once

#include "media/AudioBuffer.h"
#include "media/PixelBuffer.h"
#include "recording/CompositeLayout.h"
#include "recording/CompositeRenderer.h"
#include "recording/FrameJob.h"
#include "recording/FramePacer.h"
#include "recording/ffmpeg/Mp4Writer.h"
#include "runtime/SerialQueue.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

// Turns the live camera streams into one MP4 file: each Wide frame is composed with the Macro
// inset and the watermark and appended with its capture time; microphone samples go beside it.
// Capture threads hand frames over through a single pending slot and are never held up: what
// cannot be composed or encoded in time is dropped and counted.
//
// Threads: `enqueueFrame`, `appendAudio` and the accessors from any thread; `start` blocks
// until the writer is ready. Composition, encoding hand-off and finishing run on the serial
// queue "com.ostrel.record". `onFailure` and most completions of `stop` are called on that
// queue; callers move to the main thread themselves.
class RecordingEngine {
public:
    // (file, error): exactly one of them is present.
    using Completion =
        std::function<void(std::optional<QString> file, std::optional<QString> error)>;

    RecordingEngine();
    ~RecordingEngine(); // a running recording is abandoned; its fragments stay playable

    RecordingEngine(const RecordingEngine&) = delete;
    RecordingEngine& operator=(const RecordingEngine&) = delete;

    bool active() const;
    int wideIndex() const;
    int macroIndex() const;
    double macroFraction() const;
    void setMacroFraction(double fraction);

    // Opens `path` for a recording of width × height; the error text when that fails. While a
    // recording runs it only takes over the fraction and returns none.
    std::optional<QString> start(const QString& path, int width, int height, bool withAudio,
                                 const PixelBuffer& overlay, double macroFraction);
    void enqueueFrame(FrameJob job);
    void appendAudio(const AudioBuffer& buffer);
    // While muted, the sound track gets silence in place of each buffer.
    void setSoundMuted(bool muted);
    bool soundMuted() const;
    int takeAppendedThisSecond();
    void stop(Completion completion);

    // Called with the message when the writer fails during a recording (once per recording).
    std::function<void(const QString&)> onFailure;
    // Benchmarks: called on the recording queue with the capture time of each appended frame.
    std::function<void(MediaTime pts)> onAppended;

    struct Counters {
        int framesAppended = 0;
        int droppedBusy = 0;
        int droppedNotReady = 0;
        int backlogged = 0;   // appends that found the previous frame not yet taken by the encoder
        int skippedPaced = 0; // Wide frames left out on purpose to keep an even, lower rate
        int cameraFrames = 0; // Wide frames offered, kept or not
        int encoded = 0;      // frames the encoder has taken
        int plainFrames = 0;  // frames written before the watermark was there
        // How long encoded data has been waiting for the drive, as of the latest frame or
        // sound; zero while the drive keeps up.
        int diskWaitingMs = 0;
        std::int64_t diskBacklogBytes = 0;
    };
    Counters counters() const;

    // Paces the running recording evenly to `fps` (0: every camera frame). Set when the machine
    // cannot keep up, so that the file runs at a steady rate instead of stuttering.
    void setRateLimit(int fps);
    int rateLimit() const;
    // The Wide camera's frame rate as measured from its frames; 0 before two frames.
    double cameraRate() const;
    // CPU time the video encoders' threads have used so far (reads /proc: not per frame).
    static std::chrono::microseconds encoderCpuTime();
    // The watermark of the running recording, when it was not ready at the start: frames
    // composed from now on carry it.
    void setOverlay(const PixelBuffer& overlay);
    // The name of the open (or last opened) video encoder, e.g. "libx265".
    QString videoEncoderName() const;

    // Average bit rate of the video for a canvas width.
    static std::int64_t videoBitRate(int width) { return width < 2560 ? 10'000'000 : 18'000'000; }

    // Tests and benchmarks: waits until every handed-over job has been composed and every
    // composed frame has been taken by the encoder.
    void waitUntilIdle();
    // Test hooks: a wall clock of the test's making (seconds); nothing on the recording queue
    // runs until `release` is ready; the encoder takes nothing while held; the open file's
    // writes fail from now on.
    void setClockForTesting(std::function<double()> clock);
    void holdRecordQueueForTesting(std::shared_future<void> release);
    void holdEncodingForTesting(bool held); // also holds writers that are finishing
    // Tests: how many writers are still completing a file.
    int finishingWriterCount();
    void injectWriteFaultForTesting();
    void holdDiskForTesting(bool held); // also holds writers that are finishing

    // Continues the running recording's file at `path` (a new, empty file; the old one lost
    // its name or its drive). `done` gets the error text on failure, on any thread.
    void relocate(const QString& path, std::function<void(std::optional<QString>)> done);

private:
    std::optional<QString> prepareWriter(const QString& path, int width, int height, bool withAudio,
                                         const PixelBuffer& overlay);
    void drain();
    void appendFrame(const FrameJob& job);
    void checkDropWindow();
    void noteDisk();
    void appendAudioOnQueue(const AudioBuffer& buffer);
    void finish(Completion completion);
    void logSummary();
    void resetWriter();
    void releaseMemoryWhenIdle();
    double now() const;

    // Recording queue only.
    CompositeRenderer m_renderer;
    std::unique_ptr<ffmpeg::Mp4Writer> m_writer; // the running recording's, or none
    // Writers completing their files; each is released by its own completion.
    std::vector<std::unique_ptr<ffmpeg::Mp4Writer>> m_finishingWriters;
    SizeD m_canvas{1920, 1080};
    PixelBuffer m_overlay;
    bool m_sessionStarted = false;
    bool m_finishing = false;
    bool m_failureLogged = false;
    QString m_fileURL;
    double m_startedAt = 0;
    double m_winStart = 0;
    int m_winAppends = 0;
    int m_winDropsBase = 0;
    bool m_dropWarned = false;
    std::function<double()> m_clock;

    // Under m_lock.
    mutable std::mutex m_lock;
    int m_wideIndex = 0;
    int m_macroIndex = 1;
    double m_macroFraction = defaultMacroFraction;
    bool m_active = false;
    std::optional<FrameJob> m_pending;
    bool m_draining = false;
    int m_framesAppended = 0;
    int m_appendedThisSecond = 0;
    int m_droppedBusy = 0;
    int m_droppedNotReady = 0;
    int m_backlogged = 0;
    int m_skippedPaced = 0;
    int m_cameraFrames = 0;
    int m_encoded = 0;
    int m_plainFrames = 0;
    int m_diskWaitingMs = 0;
    bool m_soundMuted = false;
    std::int64_t m_diskBacklogBytes = 0;
    FramePacer m_pacer;
    QString m_encoderName;

    // Last: destroyed first, so queued work still finds every other member.
    std::unique_ptr<SerialQueue> m_recordQueue;
};
