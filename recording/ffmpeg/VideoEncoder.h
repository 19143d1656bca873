#pragma once

#include "recording/ffmpeg/FfmpegPtr.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <memory>

namespace ffmpeg {

struct VideoEncoderSettings {
    int width = 1920;
    int height = 1080;
    std::int64_t bitRate = 10'000'000;
    int maxKeyInterval = 60;
    int frameRate = 30;
    bool globalHeader = true; // parameter sets in the container (MP4), not in the stream
};

// Time base of video presentation times everywhere in the writer (the MPEG 90 kHz clock).
inline constexpr AVRational videoTimeBase{1, 90000};

// libx265 settings. ultrafast alone needs about 75 ms of CPU per 1080p frame on a 2-core machine,
// more than two cores have at 30 fps. Coding units no smaller than 32 × 32, the cheapest mode
// decision (rd 1) and no B-frames halve that for 0.15 dB less PSNR at 10 Mbit/s. The first key
// frame, coded at the rate control's starting quantiser, is three times the size of later ones and
// took three frame times, filling the writer's queue: a recording's first three frames get 0.4 of
// the bit rate (the next ones make up for it), and two frame threads with a short look-ahead let it
// overlap the next pictures. Closed GOPs make every key frame a clean entry point of its fragment.
inline constexpr const char* x265Preset = "ultrafast";
inline constexpr const char* x265Params =
    "log-level=error:open-gop=0:min-cu-size=32:rd=1:"
    "bframes=0:frame-threads=2:rc-lookahead=2:zones=0,2,b=0.4";

// An opened HEVC encoder. Hardware encoders are tried first because they cost the CPU next to
// nothing; libx265 with a real-time preset is the fallback that always exists.
class VideoEncoder {
public:
    // Null when no HEVC encoder opens with these settings. Names of encoders that were tried
    // and did not open are added to `failed`.
    static std::unique_ptr<VideoEncoder> open(const VideoEncoderSettings& settings,
                                              QStringList* failed = nullptr);
    // One encoder by name ("hevc_vaapi", "hevc_nvenc", "libx265"); null when it does not open.
    static std::unique_ptr<VideoEncoder> openNamed(const QString& name,
                                                   const VideoEncoderSettings& settings);
    // Every encoder `open` tries, in order.
    static QStringList candidateNames();
    // The encoder `open` will most likely pick, judged without opening any: a hardware encoder
    // whose device node is there, else libx265.
    static QString expectedName();
    // The VAAPI render node: $OSTREL_VAAPI_DEVICE when set (tests make it fail), else the first.
    static QString vaapiDevicePath();

    const QString& name() const { return m_name; } // "hevc_vaapi", "hevc_nvenc" or "libx265"
    AVCodecContext* context() const { return m_context.get(); }

    // The software pixel format the encoder takes; `send` also accepts YUV420P frames and
    // converts them when this differs.
    AVPixelFormat inputFormat() const { return m_inputFormat; }

    // Sends one frame (null flushes); uploads it to the GPU first for hardware encoders.
    int send(AVFrame* frame);
    int receive(AVPacket* packet) { return avcodec_receive_packet(m_context.get(), packet); }

private:
    static std::unique_ptr<VideoEncoder> openVaapi(const VideoEncoderSettings& settings);
    static std::unique_ptr<VideoEncoder> openNvenc(const VideoEncoderSettings& settings);
    static std::unique_ptr<VideoEncoder> openX265(const VideoEncoderSettings& settings);

    QString m_name;
    CodecContextPtr m_context;
    AVPixelFormat m_inputFormat = AV_PIX_FMT_YUV420P;
    BufferRefPtr m_hwDevice;
    FramePtr m_hwFrame;
    FramePtr m_swFrame;
    SwsPtr m_sws;
};

} // namespace ffmpeg
