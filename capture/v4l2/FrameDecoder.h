#pragma once

#include "media/PixelBuffer.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

// Turns a camera's compressed (MJPEG) or packed (YUYV) frame into BGRA. One decoder per stream;
// its pool keeps a steady stream of frames from allocating.
//
// MJPEG is taken as inexpensive UVC cameras send it: without Huffman tables, with stray bytes
// before the end marker or padding after it, and at a size other than the negotiated one (the
// picture has the size its header says). libjpeg's warnings do not cost the frame; a frame whose
// scan ends early (cut off in transfer) does, rather than being shown half grey.
class FrameDecoder {
public:
    // `source` names the stream in the log; a decoder without one logs nothing.
    FrameDecoder(std::uint32_t pixelFormat, int width, int height, QString source = {});
    // Logs once, with the counts, what the stream's frames had beyond clean pictures.
    ~FrameDecoder();

    FrameDecoder(const FrameDecoder&) = delete;
    FrameDecoder& operator=(const FrameDecoder&) = delete;

    // The picture, or null when the frame is not decodable or was cut off.
    PixelBuffer decode(const std::uint8_t* data, std::size_t size);

    struct Counts {
        int frames = 0; // handed to `decode`
        int warned = 0; // shown, although libjpeg warned
        int cutOff = 0; // dropped: the scan ended early
        int broken = 0; // dropped: not a picture at all
    };
    Counts counts() const;

private:
    struct TurboJpegFree {
        void operator()(void* handle) const;
    };
    PixelBuffer decodeJpeg(const std::uint8_t* data, std::size_t size);

    const std::uint32_t m_pixelFormat;
    const int m_width;
    const int m_height;
    const QString m_source;
    mutable std::mutex m_lock; // the TurboJPEG handle is used by one thread at a time
    std::unique_ptr<void, TurboJpegFree> m_jpeg;
    std::unique_ptr<PixelBufferPool> m_pool;
    Counts m_counts;
    QString m_firstWarning;
};

// YUYV 4:2:2 (BT.601, limited range) to BGRA; `source` holds `width` * 2 bytes per row.
void convertYuyvToBgra(const std::uint8_t* source, std::size_t sourceStride,
                       const PixelBuffer& target);
