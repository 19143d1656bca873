#pragma once

// Owning handles for FFmpeg objects: each is freed by its own FFmpeg function when the handle
// goes out of scope, so no path through the writer can leak one.
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/buffer.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

#include <QString>

#include <memory>

namespace ffmpeg {

struct CodecContextDeleter {
    void operator()(AVCodecContext* c) const { avcodec_free_context(&c); }
};
struct FrameDeleter {
    void operator()(AVFrame* f) const { av_frame_free(&f); }
};
struct PacketDeleter {
    void operator()(AVPacket* p) const { av_packet_free(&p); }
};
struct SwrDeleter {
    void operator()(SwrContext* s) const { swr_free(&s); }
};
struct SwsDeleter {
    void operator()(SwsContext* s) const { sws_freeContext(s); }
};
struct BufferRefDeleter {
    void operator()(AVBufferRef* b) const { av_buffer_unref(&b); }
};
struct BufferPoolDeleter {
    void operator()(AVBufferPool* p) const { av_buffer_pool_uninit(&p); }
};
struct AudioFifoDeleter {
    void operator()(AVAudioFifo* f) const { av_audio_fifo_free(f); }
};
// An output context without an AVIO of its own (the writer owns its file separately).
struct FormatContextDeleter {
    void operator()(AVFormatContext* f) const { avformat_free_context(f); }
};
// A custom AVIO context: frees the internal buffer too, which FFmpeg leaves to the caller.
struct IOContextDeleter {
    void operator()(AVIOContext* io) const {
        if (io)
            av_freep(&io->buffer);
        avio_context_free(&io);
    }
};

using CodecContextPtr = std::unique_ptr<AVCodecContext, CodecContextDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;
using SwrPtr = std::unique_ptr<SwrContext, SwrDeleter>;
using SwsPtr = std::unique_ptr<SwsContext, SwsDeleter>;
using BufferRefPtr = std::unique_ptr<AVBufferRef, BufferRefDeleter>;
using BufferPoolPtr = std::unique_ptr<AVBufferPool, BufferPoolDeleter>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, AudioFifoDeleter>;
using FormatContextPtr = std::unique_ptr<AVFormatContext, FormatContextDeleter>;
using IOContextPtr = std::unique_ptr<AVIOContext, IOContextDeleter>;

inline FramePtr makeFrame() {
    return FramePtr(av_frame_alloc());
}
inline PacketPtr makePacket() {
    return PacketPtr(av_packet_alloc());
}

// FFmpeg's description of an error code ("No space left on device").
QString errorText(int code);

} // namespace ffmpeg
