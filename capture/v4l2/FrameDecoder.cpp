#include "capture/v4l2/FrameDecoder.h"

#include "diagnostics/OstrelLog.h"

#include <QStringList>

#include <jerror.h> // libjpeg's message codes
#include <linux/videodev2.h>
#include <turbojpeg.h>

#include <cstring>

namespace {

// libjpeg's own message texts by code: TurboJPEG names a warning only by its text.
#define JMESSAGE(code, string) string,
#define JVERSION "" // the library's version texts, not in its public headers and not needed
#define JCOPYRIGHT_SHORT ""
const char* const jpegMessages[] = {
#include <jerror.h>
};
#undef JCOPYRIGHT_SHORT
#undef JVERSION
#undef JMESSAGE

// The warnings of a scan that ran out of data; the rest of such a picture is filled grey.
bool scanEndedEarly(const char* warning) {
    return std::strcmp(warning, jpegMessages[JWRN_HIT_MARKER]) == 0 ||
           std::strcmp(warning, jpegMessages[JWRN_JPEG_EOF]) == 0;
}

// Beyond any UVC camera: a corrupt header must not make the pool allocate gigabytes.
constexpr int maxSide = 8192;

} // namespace

void FrameDecoder::TurboJpegFree::operator()(void* handle) const {
    if (handle)
        tjDestroy(handle);
}

FrameDecoder::FrameDecoder(std::uint32_t pixelFormat, int width, int height, QString source)
    : m_pixelFormat(pixelFormat), m_width(width), m_height(height), m_source(std::move(source)),
      m_jpeg(pixelFormat == V4L2_PIX_FMT_MJPEG ? tjInitDecompress() : nullptr),
      m_pool(std::make_unique<PixelBufferPool>(width, height)) {
}

FrameDecoder::~FrameDecoder() {
    const Counts c = m_counts;
    if (m_source.isEmpty() || c.warned + c.cutOff + c.broken == 0)
        return;
    QStringList parts;
    if (c.warned > 0)
        parts << QStringLiteral("%1 mit libjpeg-Warnung gezeigt („%2“)")
                     .arg(QString::number(c.warned), m_firstWarning);
    if (c.cutOff > 0)
        parts << QStringLiteral("%1 abgeschnitten und verworfen").arg(c.cutOff);
    if (c.broken > 0)
        parts << QStringLiteral("%1 nicht dekodierbar und verworfen").arg(c.broken);
    logFromAnyThread(
        c.cutOff + c.broken > 0 ? LogLevel::warn : LogLevel::info,
        QStringLiteral("MJPEG-Bildstrom %1: von %2 Bildern %3")
            .arg(m_source, QString::number(c.frames), parts.join(QStringLiteral(", "))));
}

FrameDecoder::Counts FrameDecoder::counts() const {
    std::lock_guard guard(m_lock);
    return m_counts;
}

PixelBuffer FrameDecoder::decode(const std::uint8_t* data, std::size_t size) {
    if (!data || size == 0)
        return {};
    if (m_pixelFormat == V4L2_PIX_FMT_MJPEG) {
        std::lock_guard guard(m_lock);
        if (!m_jpeg)
            return {};
        return decodeJpeg(data, size);
    }
    if (m_pixelFormat == V4L2_PIX_FMT_YUYV) {
        const std::size_t stride = std::size_t(m_width) * 2;
        if (size < stride * std::size_t(m_height))
            return {};
        PixelBuffer frame = m_pool->acquire();
        convertYuyvToBgra(data, stride, frame);
        return frame;
    }
    return {};
}

PixelBuffer FrameDecoder::decodeJpeg(const std::uint8_t* data, std::size_t size) {
    ++m_counts.frames;
    void* handle = m_jpeg.get();
    auto* bytes = const_cast<unsigned char*>(data);
    const auto length = static_cast<unsigned long>(size);
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourspace = 0;
    const bool header = tjDecompressHeader3(handle, bytes, length, &width, &height, &subsampling,
                                            &colourspace) == 0 ||
                        tjGetErrorCode(handle) == TJERR_WARNING;
    if (!header || width <= 0 || height <= 0 || width > maxSide || height > maxSide) {
        ++m_counts.broken;
        return {};
    }
    // The header's size, also where it differs from the negotiated one.
    if (width != m_pool->width() || height != m_pool->height())
        m_pool = std::make_unique<PixelBufferPool>(width, height);
    PixelBuffer frame = m_pool->acquire();
    if (!frame) {
        ++m_counts.broken;
        return {};
    }
    // Huffman tables missing from the frame are libjpeg-turbo's standard ones, as UVC expects.
    if (tjDecompress2(handle, bytes, length, frame.data(), width, frame.stride(), height, TJPF_BGRA,
                      TJFLAG_FASTDCT) != 0) {
        if (tjGetErrorCode(handle) != TJERR_WARNING) {
            ++m_counts.broken;
            return {};
        }
        // The text is that of the frame's first warning; a scan cut short warns first.
        const char* warning = tjGetErrorStr2(handle);
        if (scanEndedEarly(warning)) {
            ++m_counts.cutOff;
            return {};
        }
        ++m_counts.warned;
        if (m_firstWarning.isEmpty())
            m_firstWarning = QString::fromUtf8(warning);
    }
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
