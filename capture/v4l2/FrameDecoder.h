#pragma once

#include "media/PixelBuffer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

// Turns a camera's compressed (MJPEG) or packed (YUYV) frame into BGRA. One decoder per stream;
// its pool keeps a steady stream of frames from allocating.
class FrameDecoder {
public:
    FrameDecoder(std::uint32_t pixelFormat, int width, int height);
    ~FrameDecoder();

    FrameDecoder(const FrameDecoder&) = delete;
    FrameDecoder& operator=(const FrameDecoder&) = delete;

    // The picture, or null when the data is corrupt, truncated or of another size.
    PixelBuffer decode(const std::uint8_t* data, std::size_t size);

    static PixelBuffer decodeJpeg(void* handle, const std::uint8_t* data, std::size_t size,
                                  PixelBufferPool& pool);

private:
    struct TurboJpegFree {
        void operator()(void* handle) const;
    };

    const std::uint32_t m_pixelFormat;
    const int m_width;
    const int m_height;
    std::mutex m_lock; // the TurboJPEG handle is used by one thread at a time
    std::unique_ptr<void, TurboJpegFree> m_jpeg;
    PixelBufferPool m_pool;
};

// YUYV 4:2:2 (BT.601, limited range) to BGRA; `source` holds `width` * 2 bytes per row.
void convertYuyvToBgra(const std::uint8_t* source, std::size_t sourceStride,
                       const PixelBuffer& target);
