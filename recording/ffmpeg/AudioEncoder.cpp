#include "recording/ffmpeg/AudioEncoder.h"

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cstdlib>

namespace ffmpeg {

namespace {
// Differences between a buffer's time and the running sample count below this are clock jitter.
constexpr std::int64_t resyncThreshold = AudioEncoder::sampleRate / 10;
// Longest gap filled with silence; a longer one restarts the time line there instead.
constexpr std::int64_t maxSilence = AudioEncoder::sampleRate * 10;

AVSampleFormat sampleFormatOf(const AudioFormat& format) {
    if (format.isFloat)
        return AV_SAMPLE_FMT_FLT;
    return format.bitsPerChannel == 32 ? AV_SAMPLE_FMT_S32 : AV_SAMPLE_FMT_S16;
}
} // namespace

std::unique_ptr<AudioEncoder> AudioEncoder::open(bool globalHeader) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (!codec)
        return nullptr;
    std::unique_ptr<AudioEncoder> encoder(new AudioEncoder);
    encoder->m_context.reset(avcodec_alloc_context3(codec));
    AVCodecContext* c = encoder->m_context.get();
    if (!c)
        return nullptr;
    c->sample_fmt = AV_SAMPLE_FMT_FLTP;
    c->sample_rate = sampleRate;
    c->bit_rate = bitRate;
    c->profile = FF_PROFILE_AAC_LOW;
    c->time_base = AVRational{1, sampleRate};
    av_channel_layout_default(&c->ch_layout, 1);
    if (globalHeader)
        c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (avcodec_open2(c, codec, nullptr) < 0)
        return nullptr;

    encoder->m_fifo.reset(av_audio_fifo_alloc(AV_SAMPLE_FMT_FLTP, 1, c->frame_size * 4));
    encoder->m_frame = makeFrame();
    encoder->m_packet = makePacket();
    if (!encoder->m_fifo || !encoder->m_frame || !encoder->m_packet)
        return nullptr;
    return encoder;
}

bool AudioEncoder::configureResampler(const AudioFormat& format) {
    if (m_swr && format == m_inputFormat)
        return true;
    m_swr.reset();
    AVChannelLayout inLayout{};
    av_channel_layout_default(&inLayout, format.channels);
    SwrContext* swr = nullptr;
    const int result =
        swr_alloc_set_opts2(&swr, &m_context->ch_layout, AV_SAMPLE_FMT_FLTP, sampleRate, &inLayout,
                            sampleFormatOf(format), format.sampleRate, 0, nullptr);
    av_channel_layout_uninit(&inLayout);
    SwrPtr owner(swr);
    if (result < 0 || swr_init(swr) < 0)
        return false;
    m_swr = std::move(owner);
    m_inputFormat = format;
    return true;
}

int AudioEncoder::push(const AudioBuffer& buffer, std::int64_t startSample,
                       const PacketSink& sink) {
    const AudioFormat& format = buffer.format;
    int inCount = buffer.frameCount();
    if (!format.isValid() || inCount <= 0)
        return 0;
    if (!configureResampler(format))
        return AVERROR(EINVAL);

    const std::uint8_t* in = buffer.bytes->data();
    // Input samples that fall before the start of the time line are skipped.
    if (startSample < 0) {
        const std::int64_t skip = (-startSample * format.sampleRate + sampleRate - 1) / sampleRate;
        if (skip >= inCount)
            return 0;
        in += skip * format.bytesPerFrame();
        inCount -= int(skip);
        startSample = 0;
    }

    if (!m_started) {
        m_started = true;
        m_timelineEnd = m_nextPts = startSample;
    }
    const std::int64_t drift = startSample - m_timelineEnd;
    if (drift > resyncThreshold && drift <= maxSilence) {
        if (int result = appendSilence(drift); result < 0)
            return result;
    } else if (drift > maxSilence) {
        // A long pause: complete the queued frame with silence (only the last frame of a
        // stream may be short), encode it and continue at the buffer's own time.
        const int frameSize = m_context->frame_size;
        const int queued = av_audio_fifo_size(m_fifo.get()) % frameSize;
        if (int result = appendSilence(queued ? frameSize - queued : 0); result < 0)
            return result;
        if (int result = encodeAvailable(false, sink); result < 0)
            return result;
        m_timelineEnd = m_nextPts = startSample;
    } else if (drift < -resyncThreshold) {
        const std::int64_t skip = (-drift * format.sampleRate) / sampleRate;
        if (skip >= inCount)
            return 0;
        in += skip * format.bytesPerFrame();
        inCount -= int(skip);
    }

    const int capacity = swr_get_out_samples(m_swr.get(), inCount);
    if (capacity < 0)
        return capacity;
    m_converted.resize(std::size_t(std::max(capacity, 1)));
    auto* out = reinterpret_cast<std::uint8_t*>(m_converted.data());
    const int converted = swr_convert(m_swr.get(), &out, capacity, &in, inCount);
    if (converted < 0)
        return converted;
    void* planes[1] = {m_converted.data()};
    if (converted > 0 && av_audio_fifo_write(m_fifo.get(), planes, converted) < converted)
        return AVERROR(ENOMEM);
    m_timelineEnd += converted;
    return encodeAvailable(false, sink);
}

int AudioEncoder::appendSilence(std::int64_t count) {
    std::vector<float> silence(std::size_t(std::min<std::int64_t>(count, 4096)), 0.0f);
    while (count > 0) {
        const int n = int(std::min<std::int64_t>(count, std::int64_t(silence.size())));
        void* planes[1] = {silence.data()};
        if (av_audio_fifo_write(m_fifo.get(), planes, n) < n)
            return AVERROR(ENOMEM);
        count -= n;
        m_timelineEnd += n;
    }
    return 0;
}

int AudioEncoder::encodeAvailable(bool final, const PacketSink& sink) {
    const int frameSize = m_context->frame_size;
    while (av_audio_fifo_size(m_fifo.get()) >= frameSize ||
           (final && av_audio_fifo_size(m_fifo.get()) > 0)) {
        const int n = std::min(frameSize, av_audio_fifo_size(m_fifo.get()));
        av_frame_unref(m_frame.get());
        m_frame->nb_samples = n;
        m_frame->format = AV_SAMPLE_FMT_FLTP;
        m_frame->sample_rate = sampleRate;
        if (int result = av_channel_layout_copy(&m_frame->ch_layout, &m_context->ch_layout);
            result < 0)
            return result;
        if (int result = av_frame_get_buffer(m_frame.get(), 0); result < 0)
            return result;
        if (av_audio_fifo_read(m_fifo.get(), reinterpret_cast<void**>(m_frame->data), n) < n)
            return AVERROR(EIO);
        m_frame->pts = m_nextPts;
        m_nextPts += n;
        if (int result = avcodec_send_frame(m_context.get(), m_frame.get()); result < 0)
            return result;
        if (int result = drain(sink); result < 0)
            return result;
    }
    return 0;
}

int AudioEncoder::drain(const PacketSink& sink) {
    for (;;) {
        const int result = avcodec_receive_packet(m_context.get(), m_packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF)
            return 0;
        if (result < 0)
            return result;
        const int written = sink(m_packet.get());
        av_packet_unref(m_packet.get());
        if (written < 0)
            return written;
    }
}

int AudioEncoder::flush(const PacketSink& sink) {
    if (int result = encodeAvailable(true, sink); result < 0)
        return result;
    if (int result = avcodec_send_frame(m_context.get(), nullptr); result < 0)
        return result;
    return drain(sink);
}

} // namespace ffmpeg
