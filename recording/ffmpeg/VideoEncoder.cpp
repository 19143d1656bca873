#include "recording/ffmpeg/VideoEncoder.h"

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/opt.h>
}

#include <filesystem>

namespace ffmpeg {

namespace {

// A context with the settings every HEVC encoder shares.
CodecContextPtr makeContext(const AVCodec* codec, const VideoEncoderSettings& s,
                            AVPixelFormat pixelFormat) {
    CodecContextPtr c(avcodec_alloc_context3(codec));
    if (!c)
        return nullptr;
    c->width = s.width;
    c->height = s.height;
    c->pix_fmt = pixelFormat;
    c->time_base = videoTimeBase;
    c->framerate = AVRational{s.frameRate, 1};
    c->bit_rate = s.bitRate;
    c->gop_size = s.maxKeyInterval;
    c->sample_aspect_ratio = AVRational{1, 1};
    // Pictures arrive as BT.709 YUV in limited range (what the compositor writes).
    c->colorspace = AVCOL_SPC_BT709;
    c->color_primaries = AVCOL_PRI_BT709;
    c->color_trc = AVCOL_TRC_BT709;
    c->color_range = AVCOL_RANGE_MPEG;
    if (s.globalHeader)
        c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    return c;
}

bool deviceNodeExists(const char* path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

} // namespace

std::unique_ptr<VideoEncoder> VideoEncoder::open(const VideoEncoderSettings& settings) {
    if (settings.width <= 0 || settings.height <= 0 || settings.width % 2 || settings.height % 2)
        return nullptr;
    if (auto encoder = openVaapi(settings))
        return encoder;
    if (auto encoder = openNvenc(settings))
        return encoder;
    return openX265(settings);
}

std::unique_ptr<VideoEncoder> VideoEncoder::openVaapi(const VideoEncoderSettings& s) {
    // Probing without a render node only prints errors; skip it on machines without a GPU.
    if (!deviceNodeExists("/dev/dri/renderD128"))
        return nullptr;
    const AVCodec* codec = avcodec_find_encoder_by_name("hevc_vaapi");
    if (!codec)
        return nullptr;
    AVBufferRef* device = nullptr;
    if (av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, nullptr, nullptr, 0) < 0)
        return nullptr;
    BufferRefPtr deviceRef(device);
    BufferRefPtr frames(av_hwframe_ctx_alloc(device));
    if (!frames)
        return nullptr;
    auto* framesContext = reinterpret_cast<AVHWFramesContext*>(frames->data);
    framesContext->format = AV_PIX_FMT_VAAPI;
    framesContext->sw_format = AV_PIX_FMT_NV12;
    framesContext->width = s.width;
    framesContext->height = s.height;
    framesContext->initial_pool_size = 8;
    if (av_hwframe_ctx_init(frames.get()) < 0)
        return nullptr;

    CodecContextPtr c = makeContext(codec, s, AV_PIX_FMT_VAAPI);
    if (!c)
        return nullptr;
    c->hw_frames_ctx = av_buffer_ref(frames.get());
    c->rc_max_rate = s.bitRate * 3 / 2;
    av_opt_set(c->priv_data, "rc_mode", "VBR", 0);
    if (avcodec_open2(c.get(), codec, nullptr) < 0)
        return nullptr;

    std::unique_ptr<VideoEncoder> encoder(new VideoEncoder);
    encoder->m_name = QStringLiteral("hevc_vaapi");
    encoder->m_context = std::move(c);
    encoder->m_inputFormat = AV_PIX_FMT_NV12;
    encoder->m_hwDevice = std::move(deviceRef);
    encoder->m_hwFrame = makeFrame();
    encoder->m_swFrame = makeFrame();
    return encoder;
}

std::unique_ptr<VideoEncoder> VideoEncoder::openNvenc(const VideoEncoderSettings& s) {
    if (!deviceNodeExists("/dev/nvidiactl"))
        return nullptr;
    const AVCodec* codec = avcodec_find_encoder_by_name("hevc_nvenc");
    if (!codec)
        return nullptr;
    CodecContextPtr c = makeContext(codec, s, AV_PIX_FMT_YUV420P);
    if (!c)
        return nullptr;
    c->rc_max_rate = s.bitRate * 3 / 2;
    av_opt_set(c->priv_data, "preset", "p4", 0);
    av_opt_set(c->priv_data, "rc", "vbr", 0);
    if (avcodec_open2(c.get(), codec, nullptr) < 0)
        return nullptr;
    std::unique_ptr<VideoEncoder> encoder(new VideoEncoder);
    encoder->m_name = QStringLiteral("hevc_nvenc");
    encoder->m_context = std::move(c);
    return encoder;
}

std::unique_ptr<VideoEncoder> VideoEncoder::openX265(const VideoEncoderSettings& s) {
    const AVCodec* codec = avcodec_find_encoder_by_name("libx265");
    if (!codec)
        return nullptr;
    CodecContextPtr c = makeContext(codec, s, AV_PIX_FMT_YUV420P);
    if (!c)
        return nullptr;
    av_opt_set(c->priv_data, "preset", x265Preset, 0);
    av_opt_set(c->priv_data, "x265-params", x265Params, 0);
    if (avcodec_open2(c.get(), codec, nullptr) < 0)
        return nullptr;
    std::unique_ptr<VideoEncoder> encoder(new VideoEncoder);
    encoder->m_name = QStringLiteral("libx265");
    encoder->m_context = std::move(c);
    return encoder;
}

int VideoEncoder::send(AVFrame* frame) {
    if (!frame || !m_context->hw_frames_ctx)
        return avcodec_send_frame(m_context.get(), frame);
    // VAAPI surfaces are NV12: convert the planar frame first.
    if (frame->format != m_inputFormat) {
        m_sws.reset(sws_getCachedContext(m_sws.release(), frame->width, frame->height,
                                         AVPixelFormat(frame->format), m_context->width,
                                         m_context->height, m_inputFormat, SWS_BILINEAR, nullptr,
                                         nullptr, nullptr));
        av_frame_unref(m_swFrame.get());
        m_swFrame->format = m_inputFormat;
        m_swFrame->width = m_context->width;
        m_swFrame->height = m_context->height;
        if (!m_sws || av_frame_get_buffer(m_swFrame.get(), 0) < 0)
            return AVERROR(ENOMEM);
        sws_scale(m_sws.get(), frame->data, frame->linesize, 0, frame->height, m_swFrame->data,
                  m_swFrame->linesize);
        av_frame_copy_props(m_swFrame.get(), frame);
        frame = m_swFrame.get();
    }
    av_frame_unref(m_hwFrame.get());
    int result = av_hwframe_get_buffer(m_context->hw_frames_ctx, m_hwFrame.get(), 0);
    if (result < 0)
        return result;
    if ((result = av_hwframe_transfer_data(m_hwFrame.get(), frame, 0)) < 0)
        return result;
    if ((result = av_frame_copy_props(m_hwFrame.get(), frame)) < 0)
        return result;
    return avcodec_send_frame(m_context.get(), m_hwFrame.get());
}

} // namespace ffmpeg
