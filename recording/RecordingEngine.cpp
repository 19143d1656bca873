#include "recording/RecordingEngine.h"

#include "diagnostics/OstrelLog.h"
#include "runtime/HeapMemory.h"
#include "runtime/MainThread.h"
#include "runtime/ThreadCpu.h"

#include <algorithm>
#include <chrono>

using ffmpeg::Mp4Writer;

namespace {
const QString unknownError = QStringLiteral("unbekannt");

QString orUnknown(const QString& description) {
    return description.isEmpty() ? unknownError : description;
}
} // namespace

RecordingEngine::RecordingEngine()
    : m_clock([] {
          return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
              .count();
      }),
      m_recordQueue(std::make_unique<SerialQueue>("com.ostrel.record")) {
}

RecordingEngine::~RecordingEngine() {
    // Stop the writer's thread first; a finish in progress hands its completion to the queue,
    // which runs it before the queue goes away.
    m_recordQueue->sync([this] {
        m_writer.reset();
        m_finishingWriters.clear();
    });
    m_recordQueue.reset();
}

bool RecordingEngine::active() const {
    std::lock_guard lock(m_lock);
    return m_active;
}

int RecordingEngine::wideIndex() const {
    std::lock_guard lock(m_lock);
    return m_wideIndex;
}

int RecordingEngine::macroIndex() const {
    std::lock_guard lock(m_lock);
    return m_macroIndex;
}

double RecordingEngine::macroFraction() const {
    std::lock_guard lock(m_lock);
    return m_macroFraction;
}

void RecordingEngine::setMacroFraction(double fraction) {
    std::lock_guard lock(m_lock);
    m_macroFraction = fraction;
}

RecordingEngine::Counters RecordingEngine::counters() const {
    std::lock_guard lock(m_lock);
    Counters c;
    c.framesAppended = m_framesAppended;
    c.droppedBusy = m_droppedBusy;
    c.droppedNotReady = m_droppedNotReady;
    c.backlogged = m_backlogged;
    c.skippedPaced = m_skippedPaced;
    c.cameraFrames = m_cameraFrames;
    c.encoded = m_encoded;
    c.plainFrames = m_plainFrames;
    c.diskWaitingMs = m_diskWaitingMs;
    c.diskBacklogBytes = m_diskBacklogBytes;
    return c;
}

void RecordingEngine::setRateLimit(int fps) {
    std::lock_guard lock(m_lock);
    m_pacer.setLimit(fps);
}

int RecordingEngine::rateLimit() const {
    std::lock_guard lock(m_lock);
    return m_pacer.limit();
}

double RecordingEngine::cameraRate() const {
    std::lock_guard lock(m_lock);
    return m_pacer.cameraRate();
}

std::chrono::microseconds RecordingEngine::encoderCpuTime() {
    // The writer's thread and libx265's workers (named when the encoder opens).
    return cpuTimeOfThreads({QByteArrayLiteral("ostrel.encode"), QByteArrayLiteral("ostrel.x265")});
}

void RecordingEngine::setOverlay(const PixelBuffer& overlay) {
    m_recordQueue->async([this, overlay] {
        if (m_writer && !m_finishing)
            m_overlay = overlay;
    });
}

QString RecordingEngine::videoEncoderName() const {
    std::lock_guard lock(m_lock);
    return m_encoderName;
}

double RecordingEngine::now() const {
    return m_clock();
}

std::optional<QString> RecordingEngine::start(const QString& path, int width, int height,
                                              bool withAudio, const PixelBuffer& overlay,
                                              double macroFraction) {
    {
        std::lock_guard lock(m_lock);
        m_wideIndex = 0;
    }
    {
        std::lock_guard lock(m_lock);
        m_macroIndex = 1;
    }
    {
        std::lock_guard lock(m_lock);
        m_macroFraction = macroFraction;
    }
    {
        std::lock_guard lock(m_lock);
        if (m_active)
            return std::nullopt;
    }
    std::optional<QString> error;
    m_recordQueue->sync([&] { error = prepareWriter(path, width, height, withAudio, overlay); });
    if (error)
        return error;
    std::lock_guard lock(m_lock);
    m_active = true;
    m_pending.reset();
    m_draining = false;
    m_framesAppended = m_appendedThisSecond = m_droppedBusy = m_droppedNotReady = 0;
    m_backlogged = m_skippedPaced = m_cameraFrames = m_encoded = m_plainFrames = 0;
    m_diskWaitingMs = 0;
    m_pacer = FramePacer();
    m_diskBacklogBytes = 0;
    return std::nullopt;
}

std::optional<QString> RecordingEngine::prepareWriter(const QString& path, int width, int height,
                                                      bool withAudio, const PixelBuffer& overlay) {
    m_canvas = SizeD{double(width), double(height)};
    m_sessionStarted = m_finishing = m_failureLogged = false;
    m_startedAt = m_winStart = 0;
    m_winAppends = m_winDropsBase = 0;
    m_dropWarned = false;
    m_overlay = overlay;
    // The file may be there already (created and locked by the caller); the writer truncates
    // it in place rather than removing it, so the caller's lock stays on the file written.
    m_fileURL = path;

    auto writer = Mp4Writer::create(path);
    if (!writer)
        return QStringLiteral("AVAssetWriter konnte nicht erstellt werden");
    if (!writer->addVideoInput({width, height, videoBitRate(width), 60, 30, true}))
        return QStringLiteral("Video-Spur nicht hinzufügbar");
    if (withAudio)
        writer->addAudioInput(); // without a working AAC encoder the recording has no sound
    if (auto error = writer->startWriting())
        return QStringLiteral("startWriting fehlgeschlagen: ") + orUnknown(*error);
    for (const QString& failed : writer->failedVideoEncoders())
        logFromAnyThread(LogLevel::warn,
                         QStringLiteral("Video-Encoder %1 öffnet nicht — weiter mit %2")
                             .arg(failed, writer->videoEncoderName()));
    logFromAnyThread(LogLevel::info,
                     QStringLiteral("Video-Encoder: ") + writer->videoEncoderName());
    {
        std::lock_guard lock(m_lock);
        m_encoderName = writer->videoEncoderName();
    }
    // The slot is empty here: a finishing writer was moved out of it when its finish began.
    m_writer = std::move(writer);
    return std::nullopt;
}

void RecordingEngine::enqueueFrame(FrameJob job) {
    {
        std::lock_guard lock(m_lock);
        if (!m_active)
            return;
        ++m_cameraFrames;
        if (!m_pacer.keep(job.pts)) {
            ++m_skippedPaced;
            return;
        }
        if (m_pending)
            ++m_droppedBusy;
        m_pending = std::move(job);
        if (m_draining)
            return;
        m_draining = true;
    }
    m_recordQueue->async([this] { drain(); });
}

void RecordingEngine::drain() {
    std::unique_lock lock(m_lock);
    while (m_pending) {
        const FrameJob job = std::move(*m_pending);
        m_pending.reset();
        lock.unlock();
        appendFrame(job);
        lock.lock();
    }
    m_draining = false;
}

void RecordingEngine::noteDisk() {
    const auto waiting = m_writer->diskWaitingFor();
    const std::int64_t backlog = m_writer->diskBacklogBytes();
    const int encoded = m_writer->videoFramesTaken();
    std::lock_guard lock(m_lock);
    m_diskWaitingMs = int(waiting.count());
    m_diskBacklogBytes = backlog;
    m_encoded = encoded;
}

void RecordingEngine::appendFrame(const FrameJob& job) {
    if (m_finishing || !m_writer)
        return;
    noteDisk();
    if (m_writer->status() == Mp4Writer::Status::failed) {
        if (m_failureLogged)
            return;
        m_failureLogged = true;
        const QString message =
            QStringLiteral("Aufnahme-Writer fehlgeschlagen: ") + orUnknown(m_writer->errorText());
        logFromAnyThread(LogLevel::error, message);
        if (onFailure)
            onFailure(message);
        return;
    }
    if (!m_sessionStarted) {
        m_writer->startSession(job.pts);
        m_sessionStarted = true;
        m_startedAt = now();
    }
    // A full encoder queue, or a time that does not advance, cannot take this frame.
    if (!m_writer->isReadyForMoreVideo() || !m_writer->acceptsVideoTime(job.pts)) {
        {
            std::lock_guard lock(m_lock);
            ++m_droppedNotReady;
        }
        checkDropWindow();
        return;
    }

    const std::optional<SizeD> overlaySize =
        m_overlay.isNull()
            ? std::nullopt
            : std::optional<SizeD>(SizeD{double(m_overlay.width()), double(m_overlay.height())});
    const CompositePlan plan = composeFrame(compositeInputs(job, m_canvas, overlaySize));

    // Rendered straight into the encoder's own frame: no copy on the way.
    ffmpeg::FramePtr frame = m_writer->makeVideoFrame();
    if (!frame)
        return;
    const Yuv420Buffer target =
        Yuv420Buffer::wrap(frame->data, frame->linesize, frame->width, frame->height, {});
    m_renderer.renderYuv420(plan, CompositeSources{job.wide, job.macro, m_overlay}, target);
    const bool backlogged = m_writer->queuedVideoFrames() > 0;
    m_writer->appendVideoFrame(std::move(frame), job.pts);
    if (onAppended)
        onAppended(job.pts);

    {
        std::lock_guard lock(m_lock);
        ++m_framesAppended;
        ++m_appendedThisSecond;
        if (backlogged)
            ++m_backlogged;
        if (m_overlay.isNull())
            ++m_plainFrames;
    }
    ++m_winAppends;
    checkDropWindow();
}

void RecordingEngine::checkDropWindow() {
    const double t = now();
    int drops = 0;
    {
        std::lock_guard lock(m_lock);
        drops = m_droppedBusy + m_droppedNotReady;
    }
    if (m_winStart == 0) {
        m_winStart = t;
        m_winAppends = 0;
        m_winDropsBase = drops;
        return;
    }
    if (t - m_winStart < 5.0)
        return;
    const int d = drops - m_winDropsBase;
    if (!m_dropWarned && d > 0 && m_winAppends < 4 * d) {
        m_dropWarned = true;
        logFromAnyThread(LogLevel::warn,
                         QStringLiteral("Aufnahme verwirft Frames (%1 in 5 s bei %2 "
                                        "geschrieben) — Aufnahme kann ruckeln")
                             .arg(d)
                             .arg(m_winAppends));
    }
    m_winStart = t;
    m_winAppends = 0;
    m_winDropsBase = drops;
}

void RecordingEngine::setSoundMuted(bool muted) {
    std::lock_guard lock(m_lock);
    m_soundMuted = muted;
}

bool RecordingEngine::soundMuted() const {
    std::lock_guard lock(m_lock);
    return m_soundMuted;
}

void RecordingEngine::appendAudio(const AudioBuffer& buffer) {
    bool muted = false;
    {
        std::lock_guard lock(m_lock);
        if (!m_active)
            return;
        muted = m_soundMuted;
    }
    AudioBuffer taken = buffer;
    if (muted && buffer.bytes) // zero bytes are silence in every sample format we take
        taken.bytes = std::make_shared<const std::vector<std::uint8_t>>(buffer.bytes->size(), 0);
    // Queued work runs before the queue goes away with the engine, so `this` outlives it.
    m_recordQueue->async([this, taken] { appendAudioOnQueue(taken); });
}

void RecordingEngine::appendAudioOnQueue(const AudioBuffer& buffer) {
    // Sound before the first composed frame is dropped, so it starts with the picture.
    if (m_finishing || !m_sessionStarted || !m_writer || !m_writer->hasAudioInput())
        return;
    noteDisk(); // also while no Wide picture comes
    if (m_writer->status() == Mp4Writer::Status::writing && m_writer->isReadyForMoreAudio())
        m_writer->appendAudio(buffer);
}

int RecordingEngine::takeAppendedThisSecond() {
    std::lock_guard lock(m_lock);
    const int n = m_appendedThisSecond;
    m_appendedThisSecond = 0;
    return n;
}

void RecordingEngine::stop(Completion completion) {
    {
        std::lock_guard lock(m_lock);
        if (!m_active) {
            runOnMain([completion] {
                if (completion)
                    completion(std::nullopt, QStringLiteral("Keine aktive Aufnahme"));
            });
            return;
        }
        m_active = false;
    }
    m_recordQueue->async([this, completion = std::move(completion)] { finish(completion); });
}

void RecordingEngine::finish(Completion completion) {
    auto complete = [&completion](std::optional<QString> file, std::optional<QString> error) {
        if (completion)
            completion(std::move(file), std::move(error));
    };
    if (!m_writer) {
        complete(std::nullopt, QStringLiteral("Keine aktive Aufnahme"));
        return;
    }
    m_finishing = true;
    logSummary();
    if (!m_sessionStarted) {
        m_writer->cancel();
        resetWriter();
        releaseMemoryWhenIdle();
        complete(std::nullopt, QStringLiteral("Keine Bilddaten aufgenommen"));
        return;
    }
    // The finishing writer leaves the slot at once and is owned by its own completion, so a
    // recording started meanwhile gets a writer of its own and can never replace this one.
    m_finishingWriters.push_back(std::move(m_writer));
    Mp4Writer* writer = m_finishingWriters.back().get();
    const QString file = m_fileURL;
    resetWriter();
    // The writer calls back on its own thread once the file is complete; the rest happens on
    // the recording queue, where the writer may be released.
    writer->finish([this, writer, file, completion] {
        const bool failed = writer->status() == Mp4Writer::Status::failed;
        const QString error = orUnknown(writer->errorText());
        m_recordQueue->async([this, writer, failed, error, file, completion] {
            std::erase_if(m_finishingWriters,
                          [writer](const auto& w) { return w.get() == writer; });
            releaseMemoryWhenIdle();
            if (!completion)
                return;
            if (failed)
                completion(std::nullopt, error);
            else
                completion(file, std::nullopt);
        });
    });
}

void RecordingEngine::logSummary() {
    Counters c = counters();
    double fps = 0;
    if (m_startedAt > 0) {
        const double elapsed = now() - m_startedAt;
        if (elapsed > 0.5)
            fps = c.framesAppended / elapsed;
    }
    logFromAnyThread(LogLevel::event,
                     QString::asprintf("Aufnahme beendet: %d Frames, Ø %.1f fps, verworfen: %d "
                                       "(Compositing), %d (Encoder)",
                                       c.framesAppended, fps, c.droppedBusy, c.droppedNotReady));
    if (c.skippedPaced > 0)
        logFromAnyThread(LogLevel::info,
                         QStringLiteral("Aufnahme gleichmäßig mit %1 fps: %2 Kamerabilder "
                                        "planmäßig ausgelassen")
                             .arg(rateLimit())
                             .arg(c.skippedPaced));
}

void RecordingEngine::resetWriter() {
    m_writer.reset();
    m_overlay = PixelBuffer();
    m_renderer.releaseCaches(); // the watermark prepared for this recording, scratch images
    m_sessionStarted = false;
    m_finishing = false;
}

// The encoder of a finished recording has freed its buffers, but they stay resident in the
// heaps of the threads that used them (see runtime/HeapMemory.h). Handed back only when no
// recording runs, so the walk over the heaps never delays a frame.
void RecordingEngine::releaseMemoryWhenIdle() {
    if (m_writer || !m_finishingWriters.empty())
        return;
    releaseFreeHeapPages();
}

void RecordingEngine::waitUntilIdle() {
    for (;;) {
        m_recordQueue->drain();
        bool pending = false;
        {
            std::lock_guard lock(m_lock);
            pending = m_pending.has_value() || m_draining;
        }
        if (!pending)
            break;
    }
    m_recordQueue->sync([this] {
        if (m_writer)
            m_writer->waitUntilQueueEmpty();
    });
}

void RecordingEngine::setClockForTesting(std::function<double()> clock) {
    m_recordQueue->sync([&] { m_clock = std::move(clock); });
}

void RecordingEngine::holdRecordQueueForTesting(std::shared_future<void> release) {
    m_recordQueue->async([release] { release.wait(); });
}

void RecordingEngine::holdEncodingForTesting(bool held) {
    m_recordQueue->sync([&] {
        if (m_writer)
            m_writer->holdEncoding(held);
        for (const auto& writer : m_finishingWriters)
            writer->holdEncoding(held);
    });
}

int RecordingEngine::finishingWriterCount() {
    int count = 0;
    m_recordQueue->sync([&] { count = int(m_finishingWriters.size()); });
    return count;
}

void RecordingEngine::holdDiskForTesting(bool held) {
    m_recordQueue->sync([&] {
        if (m_writer)
            m_writer->holdDisk(held);
        for (const auto& writer : m_finishingWriters)
            writer->holdDisk(held);
    });
}

void RecordingEngine::relocate(const QString& path,
                               std::function<void(std::optional<QString>)> done) {
    m_recordQueue->async([this, path, done = std::move(done)] {
        if (!m_writer || m_finishing) {
            done(QStringLiteral("Aufnahme bereits beendet"));
            return;
        }
        m_fileURL = path;
        m_writer->relocate(path, done);
    });
}

void RecordingEngine::injectWriteFaultForTesting() {
    m_recordQueue->sync([this] {
        if (m_writer)
            m_writer->injectWriteFault();
    });
}
