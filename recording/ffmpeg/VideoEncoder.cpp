#include "recording/ffmpeg/VideoEncoder.h"

extern "C" {
#include <libavutil/hwcontext.h>
#include <libavutil/opt.h>
}

#include <filesystem>

#include <pthread.h>

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

// Threads inherit their creator's name: the encoder's worker threads, started while the
// encoder opens, get this one, so their CPU time is not booked to the recording queue.
class ThreadNameScope {
public:
    explicit ThreadNameScope(const char* name) {
        pthread_getname_np(pthread_self(), m_previous, sizeof m_previous);
        pthread_setname_np(pthread_self(), name);
    }
    ~ThreadNameScope() { pthread_setname_np(pthread_self(), m_previous); }
    ThreadNameScope(const ThreadNameScope&) = delete;
    ThreadNameScope& operator=(const ThreadNameScope&) = delete;

private:
    char m_previous[16] = {};
};

bool deviceNodeExists(const char* path) {
    std::error_code ignored;
    return std::filesystem::exists(path, ignored);
}

// Whether the device node a hardware encoder needs is there; the software one needs none.
bool hasDeviceNode(const QString& name) {
    const QString node = name == QStringLiteral("hevc_vaapi")   ? VideoEncoder::vaapiDevicePath()
                         : name == QStringLiteral("hevc_nvenc") ? QStringLiteral("/dev/nvidiactl")
                                                                : QString();
    return node.isEmpty() || deviceNodeExists(node.toLocal8Bit().constData());
}

} // namespace

std::unique_ptr<VideoEncoder> VideoEncoder::open(const VideoEncoderSettings& settings,
                                                 QStringList* failed) {
    for (const QString& name : candidateNames()) {
        if (auto encoder = openNamed(name, settings))
            return encoder;
        // A hardware encoder without its device was not really tried.
        if (failed && hasDeviceNode(name))
            failed->append(name);
    }
    return nullptr;
}

std::unique_ptr<VideoEncoder> VideoEncoder::openNamed(const QString& name,
                                                      const VideoEncoderSettings& settings) {
    if (settings.width <= 0 || settings.height <= 0 || settings.width % 2 || settings.height % 2)
        return nullptr;
    if (name == QStringLiteral("hevc_vaapi"))
        return openVaapi(settings);
    if (name == QStringLiteral("hevc_nvenc"))
        return openNvenc(settings);
    if (name == QStringLiteral("libx265"))
        return openX265(settings);
    return nullptr;
}

QStringList VideoEncoder::candidateNames() {
    // Hardware first: it costs the CPU next to nothing.
    return {QStringLiteral("hevc_vaapi"), QStringLiteral("hevc_nvenc"), QStringLiteral("libx265")};
}

QString VideoEncoder::expectedName() {
    for (const QString& name : candidateNames())
        if (avcodec_find_encoder_by_name(name.toLatin1().constData()) && hasDeviceNode(name))
            return name;
    return QStringLiteral("libx265");
}

QString VideoEncoder::vaapiDevicePath() {
    const QString chosen = qEnvironmentVariable("OSTREL_VAAPI_DEVICE");
    return chosen.isEmpty() ? QStringLiteral("/dev/dri/renderD128") : chosen;
}

std::unique_ptr<VideoEncoder> VideoEncoder::openVaapi(const VideoEncoderSettings& s) {
    // Probing without a render node only prints errors; skip it on machines without a GPU.
    const QByteArray node = vaapiDevicePath().toLocal8Bit();
    if (!deviceNodeExists(node.constData()))
        return nullptr;
    const AVCodec* codec = avcodec_find_encoder_by_name("hevc_vaapi");
    if (!codec)
        return nullptr;
    AVBufferRef* device = nullptr;
    if (av_hwdevice_ctx_create(&device, AV_HWDEVICE_TYPE_VAAPI, node.constData(), nullptr, 0) < 0)
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
    {
        const ThreadNameScope name("ostrel.x265");
        if (avcodec_open2(c.get(), codec, nullptr) < 0)
            return nullptr;
    }
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
