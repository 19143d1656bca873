#include "capture/v4l2/FrameDecoder.h"

#include <linux/videodev2.h>
#include <turbojpeg.h>

#include <algorithm>

void FrameDecoder::TurboJpegFree::operator()(void* handle) const {
    if (handle)
        tjDestroy(handle);
}

FrameDecoder::FrameDecoder(std::uint32_t pixelFormat, int width, int height)
    : m_pixelFormat(pixelFormat), m_width(width), m_height(height),
      m_jpeg(pixelFormat == V4L2_PIX_FMT_MJPEG ? tjInitDecompress() : nullptr),
      m_pool(width, height) {
}

FrameDecoder::~FrameDecoder() = default;

PixelBuffer FrameDecoder::decode(const std::uint8_t* data, std::size_t size) {
    if (!data || size == 0)
        return {};
    if (m_pixelFormat == V4L2_PIX_FMT_MJPEG) {
        std::lock_guard guard(m_lock);
        if (!m_jpeg)
            return {};
        return decodeJpeg(m_jpeg.get(), data, size, m_pool);
    }
    if (m_pixelFormat == V4L2_PIX_FMT_YUYV) {
        const std::size_t stride = std::size_t(m_width) * 2;
        if (size < stride * std::size_t(m_height))
            return {};
        PixelBuffer frame = m_pool.acquire();
        convertYuyvToBgra(data, stride, frame);
        return frame;
    }
    return {};
}

PixelBuffer FrameDecoder::decodeJpeg(void* handle, const std::uint8_t* data, std::size_t size,
                                     PixelBufferPool& pool) {
    // A complete JPEG ends with the end-of-image marker; cameras may pad a few bytes after it.
    const std::size_t tail = std::min<std::size_t>(size, 64);
    bool ended = false;
    for (std::size_t i = size - tail; i + 1 < size; ++i)
        ended = ended || (data[i] == 0xFF && data[i + 1] == 0xD9);
    if (!ended)
        return {};
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourspace = 0;
    auto* bytes = const_cast<unsigned char*>(data);
    if (tjDecompressHeader3(handle, bytes, static_cast<unsigned long>(size), &width, &height,
                            &subsampling, &colourspace) != 0)
        return {};
    if (width != pool.width() || height != pool.height())
        return {};
    PixelBuffer frame = pool.acquire();
    if (!frame)
        return {};
    // Any warning (a premature end of data, a corrupt segment) counts as a failure.
    if (tjDecompress2(handle, bytes, static_cast<unsigned long>(size), frame.data(), width,
                      frame.stride(), height, TJPF_BGRA,
                      TJFLAG_FASTDCT | TJFLAG_STOPONWARNING) != 0)
        return {};
    return frame;
}

void convertYuyvToBgra(const std::uint8_t* source, std::size_t sourceStride,
                       const PixelBuffer& target) {
    auto clamp = [](int v) { return std::uint8_t(v < 0 ? 0 : v > 255 ? 255 : v); };
    for (int y = 0; y < target.height(); ++y) {
        const std::uint8_t* in = source + std::size_t(y) * sourceStride;
        std::uint8_t* out = target.row(y);
        for (int x = 0; x < target.width(); x += 2, in += 4) {
            const int u = in[1] - 128;
            const int v = in[3] - 128;
            const int rv = 409 * v;
            const int guv = -100 * u - 208 * v;
            const int bu = 516 * u;
            for (int k = 0; k < 2 && x + k < target.width(); ++k) {
                const int c = 298 * (in[k * 2] - 16) + 128;
                out[0] = clamp((c + bu) >> 8);
                out[1] = clamp((c + guv) >> 8);
                out[2] = clamp((c + rv) >> 8);
                out[3] = 255;
                out += 4;
            }
        }
    }
}
