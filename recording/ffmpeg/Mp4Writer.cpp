#include "recording/ffmpeg/Mp4Writer.h"

#include "recording/ffmpeg/FragmentRepair.h"
#include "recording/ffmpeg/Mp4Duration.h"

#include <QFile>

#include <mutex>

#include <pthread.h>

extern "C" {
#include <libavutil/mathematics.h>
}

namespace ffmpeg {

namespace {
struct DictionaryDeleter {
    void operator()(AVDictionary* d) const { av_dict_free(&d); }
};
} // namespace

std::unique_ptr<Mp4Writer> Mp4Writer::create(const QString& path) {
    // FFmpeg's console chatter (encoder statistics) is noise in a desktop app; errors remain.
    static std::once_flag quiet;
    std::call_once(quiet, [] { av_log_set_level(AV_LOG_ERROR); });
    AVFormatContext* format = nullptr;
    if (avformat_alloc_output_context2(&format, nullptr, "mp4", nullptr) < 0 || !format)
        return nullptr;
    std::unique_ptr<Mp4Writer> writer(new Mp4Writer);
    writer->m_format.reset(format);
    writer->m_path = path;
    writer->m_packet = makePacket();
    if (!writer->m_packet)
        return nullptr;
    return writer;
}

Mp4Writer::~Mp4Writer() {
    stopThread();
}

bool Mp4Writer::addVideoInput(const VideoEncoderSettings& requested) {
    if (m_videoEncoder || m_status != Status::created)
        return false;
    VideoEncoderSettings settings = requested;
    settings.globalHeader = m_format->oformat->flags & AVFMT_GLOBALHEADER;
    m_failedVideoEncoders.clear();
    auto encoder = VideoEncoder::open(settings, &m_failedVideoEncoders);
    if (!encoder)
        return false;
    AVStream* stream = avformat_new_stream(m_format.get(), nullptr);
    if (!stream || avcodec_parameters_from_context(stream->codecpar, encoder->context()) < 0)
        return false;
    // 'hvc1' (parameter sets only in the header) is the tag every common player accepts.
    stream->codecpar->codec_tag = MKTAG('h', 'v', 'c', '1');
    stream->time_base = videoTimeBase;
    stream->avg_frame_rate = AVRational{settings.frameRate, 1};
    m_framePool =
        std::make_unique<VideoFramePool>(settings.width, settings.height, AV_PIX_FMT_YUV420P);
    m_frameDuration = av_rescale_q(1, AVRational{1, settings.frameRate}, videoTimeBase);
    m_videoStream = stream;
    m_videoEncoder = std::move(encoder);
    m_maxDiskBacklog = diskBacklogSeconds * settings.bitRate / 8 * 3 / 2 + (1 << 20);
    return true;
}

bool Mp4Writer::addAudioInput() {
    if (m_audioEncoder || m_status != Status::created)
        return false;
    auto encoder = AudioEncoder::open(m_format->oformat->flags & AVFMT_GLOBALHEADER);
    if (!encoder)
        return false;
    AVStream* stream = avformat_new_stream(m_format.get(), nullptr);
    if (!stream || avcodec_parameters_from_context(stream->codecpar, encoder->context()) < 0)
        return false;
    stream->time_base = encoder->context()->time_base;
    m_audioStream = stream;
    m_audioEncoder = std::move(encoder);
    return true;
}

std::optional<QString> Mp4Writer::startWriting() {
    if (m_status != Status::created || !m_videoEncoder)
        return QStringLiteral("unbekannt");
    auto created = FileOutput::create(m_path, m_maxDiskBacklog);
    if (auto* code = std::get_if<int>(&created)) {
        m_status = Status::failed;
        return ffmpeg::errorText(*code);
    }
    m_file = std::move(std::get<std::unique_ptr<FileOutput>>(created));
    m_format->pb = m_file->io();
    // Each finished fragment leaves the muxer at once instead of waiting in the I/O buffer.
    m_format->flush_packets = 1;
    m_format->max_interleave_delta = fragmentMicroseconds;

    av_dict_set(&m_format->metadata, "comment", recordingMark, 0);
    AVDictionary* options = nullptr;
    av_dict_set(&options, "movflags", "frag_keyframe+empty_moov+delay_moov+default_base_moof", 0);
    av_dict_set_int(&options, "frag_duration", fragmentMicroseconds, 0);
    std::unique_ptr<AVDictionary, DictionaryDeleter> optionsOwner(options);
    AVDictionary* remaining = optionsOwner.release();
    const int result = avformat_write_header(m_format.get(), &remaining);
    optionsOwner.reset(remaining);
    if (result < 0) {
        m_format->pb = nullptr;
        m_file.reset();
        QFile::remove(m_path);
        m_status = Status::failed;
        return ffmpeg::errorText(result);
    }
    m_status = Status::writing;
    m_thread = std::thread([this] { run(); });
    return std::nullopt;
}

void Mp4Writer::startSession(MediaTime start) {
    m_sessionStart = start;
    m_sessionStarted = true;
}

Mp4Writer::Status Mp4Writer::status() const {
    std::lock_guard lock(m_mutex);
    return m_status;
}

QString Mp4Writer::errorText() const {
    std::lock_guard lock(m_mutex);
    return m_error;
}

bool Mp4Writer::failed() const {
    std::lock_guard lock(m_mutex);
    return m_status == Status::failed;
}

std::int64_t Mp4Writer::videoTicks(MediaTime pts) const {
    const std::int64_t ns = (pts - m_sessionStart).count();
    return av_rescale_rnd(ns, videoTimeBase.den, 1'000'000'000LL * videoTimeBase.num,
                          AVRounding(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX));
}

bool Mp4Writer::isReadyForMoreVideo() const {
    std::lock_guard lock(m_mutex);
    return m_status == Status::writing && !m_finishRequested &&
           m_queuedVideo < maxQueuedVideoFrames;
}

int Mp4Writer::queuedVideoFrames() const {
    std::lock_guard lock(m_mutex);
    return m_queuedVideo;
}

int Mp4Writer::videoFramesTaken() const {
    std::lock_guard lock(m_mutex);
    return m_videoTaken;
}

bool Mp4Writer::acceptsVideoTime(MediaTime pts) const {
    if (!m_sessionStarted)
        return false;
    const std::int64_t ticks = videoTicks(pts);
    return ticks >= 0 && (!m_anyVideo || ticks > m_lastVideoTicks);
}

FramePtr Mp4Writer::makeVideoFrame() {
    return m_framePool ? m_framePool->acquire() : nullptr;
}

bool Mp4Writer::appendVideo(const PixelBuffer& bgra, MediaTime pts) {
    if (!m_framePool || !isReadyForMoreVideo() || !acceptsVideoTime(pts))
        return false;
    return appendVideoFrame(m_framePool->convert(bgra), pts);
}

bool Mp4Writer::appendVideoFrame(FramePtr frame, MediaTime pts) {
    if (!frame || !acceptsVideoTime(pts))
        return false;
    const std::int64_t ticks = videoTicks(pts);
    frame->pts = ticks;
    Item item{Item::Kind::video, std::move(frame), {}, 0, {}};
    if (!push(std::move(item)))
        return false;
    m_lastVideoTicks = ticks;
    m_anyVideo = true;
    return true;
}

bool Mp4Writer::isReadyForMoreAudio() const {
    std::lock_guard lock(m_mutex);
    return m_audioEncoder && m_status == Status::writing && m_queuedAudio < maxQueuedAudioBuffers;
}

bool Mp4Writer::appendAudio(const AudioBuffer& buffer) {
    if (!m_audioEncoder || !m_sessionStarted || !isReadyForMoreAudio())
        return false;
    const std::int64_t ns = (buffer.pts - m_sessionStart).count();
    const std::int64_t start =
        av_rescale_rnd(ns, AudioEncoder::sampleRate, 1'000'000'000LL, AV_ROUND_NEAR_INF);
    return push(Item{Item::Kind::audio, nullptr, buffer, start, {}});
}

bool Mp4Writer::push(Item item) {
    {
        std::lock_guard lock(m_mutex);
        if (m_status != Status::writing || !m_thread.joinable() || m_finishRequested)
            return false;
        if (item.kind == Item::Kind::video) {
            if (m_queuedVideo >= maxQueuedVideoFrames)
                return false;
            ++m_queuedVideo;
        } else if (item.kind == Item::Kind::audio) {
            if (m_queuedAudio >= maxQueuedAudioBuffers)
                return false;
            ++m_queuedAudio;
        }
        m_items.push_back(std::move(item));
    }
    m_wake.notify_one();
    return true;
}

void Mp4Writer::finish(std::function<void()> completion) {
    {
        std::lock_guard lock(m_mutex);
        if (m_thread.joinable() && !m_abort && !m_finishRequested) {
            m_finishRequested = true;
            m_items.push_back(Item{Item::Kind::finish, nullptr, {}, 0, std::move(completion)});
            m_wake.notify_one();
            return;
        }
        if (!m_finishRequested && (m_status == Status::created || m_status == Status::writing))
            m_status = Status::failed;
    }
    if (completion)
        completion();
}

void Mp4Writer::cancel() {
    stopThread();
    m_format->pb = nullptr;
    m_file.reset();
    QFile::remove(m_path);
    std::lock_guard lock(m_mutex);
    m_status = Status::cancelled;
}

void Mp4Writer::injectWriteFault() {
    if (m_file)
        m_file->injectWriteFault();
}

void Mp4Writer::holdDisk(bool held) {
    if (m_file)
        m_file->holdDisk(held);
}

std::chrono::milliseconds Mp4Writer::diskWaitingFor() const {
    return m_file ? m_file->waitingFor() : std::chrono::milliseconds{};
}

std::int64_t Mp4Writer::diskBacklogBytes() const {
    return m_file ? m_file->backlogBytes() : 0;
}

void Mp4Writer::relocate(const QString& path, std::function<void(std::optional<QString>)> done) {
    if (!m_file) {
        done(QStringLiteral("keine offene Datei"));
        return;
    }
    m_path = path;
    m_file->relocate(path, std::move(done));
}

void Mp4Writer::abandonDisk() {
    if (m_file)
        m_file->abandon();
}

void Mp4Writer::holdEncoding(bool held) {
    {
        std::lock_guard lock(m_mutex);
        m_held = held;
    }
    m_wake.notify_one();
}

void Mp4Writer::waitUntilQueueEmpty() {
    std::unique_lock lock(m_mutex);
    m_taken.wait(lock,
                 [this] { return m_items.empty() || m_held || !m_thread.joinable() || m_abort; });
}

void Mp4Writer::stopThread() {
    {
        std::lock_guard lock(m_mutex);
        m_abort = true;
    }
    abandonDisk(); // a thread waiting for the drive would never see the abort
    m_wake.notify_one();
    if (m_thread.joinable())
        m_thread.join();
}

void Mp4Writer::run() {
    // Named apart from the recording queue that starts it, so its CPU time can be told apart.
    pthread_setname_np(pthread_self(), "ostrel.encode"); // at most 15 characters
    for (;;) {
        Item item;
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_abort || (!m_held && !m_items.empty()); });
            if (m_abort) {
                m_taken.notify_all();
                return;
            }
            item = std::move(m_items.front());
            m_items.pop_front();
            if (item.kind == Item::Kind::video) {
                --m_queuedVideo;
                ++m_videoTaken;
            } else if (item.kind == Item::Kind::audio) {
                --m_queuedAudio;
            }
        }
        m_taken.notify_all();
        switch (item.kind) {
        case Item::Kind::video:
            if (!failed())
                encodeVideo(item.frame.get());
            break;
        case Item::Kind::audio:
            if (!failed())
                encodeAudio(item);
            break;
        case Item::Kind::finish:
            complete();
            if (item.completion)
                item.completion();
            return;
        }
    }
}

void Mp4Writer::encodeVideo(AVFrame* frame) {
    int result = m_videoEncoder->send(frame);
    while (result >= 0) {
        result = m_videoEncoder->receive(m_packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return;
        if (result < 0)
            break;
        if (m_packet->duration <= 0)
            m_packet->duration = m_frameDuration;
        result = writePacket(m_packet.get(), m_videoStream, m_videoEncoder->context()->time_base);
    }
    fail(result);
}

void Mp4Writer::encodeAudio(const Item& item) {
    const int result = m_audioEncoder->push(item.audio, item.audioStart, [this](AVPacket* packet) {
        return writePacket(packet, m_audioStream, m_audioEncoder->context()->time_base);
    });
    if (result < 0)
        fail(result);
}

int Mp4Writer::writePacket(AVPacket* packet, AVStream* stream, AVRational from) {
    av_packet_rescale_ts(packet, from, stream->time_base);
    packet->stream_index = stream->index;
    if (packet->pts != AV_NOPTS_VALUE)
        m_mediaEnd = std::max(m_mediaEnd, av_rescale_q(packet->pts + packet->duration,
                                                       stream->time_base, AV_TIME_BASE_Q));
    int result = av_interleaved_write_frame(m_format.get(), packet);
    if (result >= 0 && m_format->pb->error < 0)
        result = m_format->pb->error;
    return result;
}

void Mp4Writer::complete() {
    if (!failed()) {
        encodeVideo(nullptr);
        if (m_audioEncoder && !failed()) {
            const int result = m_audioEncoder->flush([this](AVPacket* packet) {
                return writePacket(packet, m_audioStream, m_audioEncoder->context()->time_base);
            });
            if (result < 0)
                fail(result);
        }
    }
    if (!failed()) {
        int result = av_interleaved_write_frame(m_format.get(), nullptr);
        if (result >= 0)
            result = av_write_trailer(m_format.get());
        if (result >= 0 && m_format->pb->error < 0)
            result = m_format->pb->error;
        if (result >= 0)
            result = m_file->drain();
        if (result >= 0)
            result = writeFragmentedDuration(m_file->fd(), m_mediaEnd, AV_TIME_BASE_Q);
        if (result < 0)
            fail(result);
    }
    m_format->pb = nullptr;
    const int closed = m_file->close();
    if (closed < 0 && !failed())
        fail(closed);
    std::lock_guard lock(m_mutex);
    if (m_status == Status::writing)
        m_status = Status::completed;
}

void Mp4Writer::fail(int code) {
    if (code >= 0 || code == AVERROR(EAGAIN) || code == AVERROR_EOF)
        return;
    std::lock_guard lock(m_mutex);
    if (m_status == Status::failed)
        return;
    m_status = Status::failed;
    m_error = ffmpeg::errorText(code);
}

} // namespace ffmpeg
