#include "recording/ffmpeg/VideoFramePool.h"

extern "C" {
#include <libavutil/imgutils.h>
}

namespace ffmpeg {

namespace {
constexpr int planeAlignment = 64;
}

VideoFramePool::VideoFramePool(int width, int height, AVPixelFormat format)
    : m_width(width), m_height(height), m_format(format) {
    m_bufferSize = av_image_get_buffer_size(format, width, height, planeAlignment);
    if (m_bufferSize > 0)
        m_pool.reset(av_buffer_pool_init(std::size_t(m_bufferSize), nullptr));
}

FramePtr VideoFramePool::acquire() {
    if (!m_pool)
        return nullptr;
    FramePtr frame = makeFrame();
    if (!frame)
        return nullptr;
    frame->buf[0] = av_buffer_pool_get(m_pool.get());
    if (!frame->buf[0])
        return nullptr;
    if (av_image_fill_arrays(frame->data, frame->linesize, frame->buf[0]->data, m_format, m_width,
                             m_height, planeAlignment) < 0)
        return nullptr;
    frame->format = m_format;
    frame->width = m_width;
    frame->height = m_height;
    frame->colorspace = AVCOL_SPC_BT709;
    frame->color_primaries = AVCOL_PRI_BT709;
    frame->color_trc = AVCOL_TRC_BT709;
    frame->color_range = AVCOL_RANGE_MPEG;
    return frame;
}

FramePtr VideoFramePool::convert(const PixelBuffer& bgra) {
    if (bgra.isNull())
        return nullptr;
    if (!m_sws || bgra.width() != m_sourceWidth || bgra.height() != m_sourceHeight) {
        m_sws.reset(sws_getContext(bgra.width(), bgra.height(), AV_PIX_FMT_BGRA, m_width, m_height,
                                   m_format, SWS_BILINEAR, nullptr, nullptr, nullptr));
        if (m_sws)
            sws_setColorspaceDetails(m_sws.get(), sws_getCoefficients(SWS_CS_DEFAULT), 1,
                                     sws_getCoefficients(SWS_CS_ITU709), 0, 0, 1 << 16, 1 << 16);
        m_sourceWidth = bgra.width();
        m_sourceHeight = bgra.height();
    }
    if (!m_sws)
        return nullptr;
    FramePtr frame = acquire();
    if (!frame)
        return nullptr;
    const std::uint8_t* source[4] = {bgra.data(), nullptr, nullptr, nullptr};
    const int sourceStride[4] = {bgra.stride(), 0, 0, 0};
    sws_scale(m_sws.get(), source, sourceStride, 0, bgra.height(), frame->data, frame->linesize);
    return frame;
}

} // namespace ffmpeg
