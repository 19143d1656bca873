#pragma once

#include "media/AudioBuffer.h"
#include "recording/ffmpeg/FfmpegPtr.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace ffmpeg {

// Receives each encoded packet; returns 0 or an FFmpeg error code.
using PacketSink = std::function<int(AVPacket*)>;

// AAC-LC, mono, 44.1 kHz, 96 kbit/s from whatever the microphone delivers (any rate, any
// channel count, 16/32-bit integers or floats), resampled with libswresample. Samples are laid
// on the recording's time line by their presentation times: gaps are filled with silence and
// overlaps skipped, so sound stays in step with the picture when buffers go missing.
class AudioEncoder {
public:
    static constexpr int sampleRate = 44100;
    static constexpr std::int64_t bitRate = 96'000;

    // Null when the AAC encoder does not open.
    static std::unique_ptr<AudioEncoder> open(bool globalHeader);

    AVCodecContext* context() const { return m_context.get(); }

    // `startSample`: where the buffer's first sample falls on the time line, in samples of
    // 44.1 kHz from the session start. Anything before 0 is cut off.
    int push(const AudioBuffer& buffer, std::int64_t startSample, const PacketSink& sink);

    // Encodes what is left and drains the encoder.
    int flush(const PacketSink& sink);

private:
    AudioEncoder() = default;
    bool configureResampler(const AudioFormat& format);
    int appendSilence(std::int64_t count);
    int encodeAvailable(bool final, const PacketSink& sink);
    int drain(const PacketSink& sink);

    CodecContextPtr m_context;
    SwrPtr m_swr;
    AudioFormat m_inputFormat;
    AudioFifoPtr m_fifo;
    FramePtr m_frame;
    PacketPtr m_packet;
    std::vector<float> m_converted;
    bool m_started = false;
    std::int64_t m_timelineEnd = 0; // time line position just after the newest queued sample
    std::int64_t m_nextPts = 0;     // time line position of the fifo's first sample
};

} // namespace ffmpeg
