#pragma once

#include "media/PixelBuffer.h"
#include "recording/ffmpeg/FfmpegPtr.h"

namespace ffmpeg {

// Frames in the encoder's input format whose pixel memory is recycled, so a steady stream of
// frames allocates nothing; plus the conversion of BGRA pictures into such frames.
class VideoFramePool {
public:
    VideoFramePool(int width, int height, AVPixelFormat format);

    VideoFramePool(const VideoFramePool&) = delete;
    VideoFramePool& operator=(const VideoFramePool&) = delete;

    int width() const { return m_width; }
    int height() const { return m_height; }
    AVPixelFormat format() const { return m_format; }

    // A frame from the pool with its pixels uninitialised; null when out of memory.
    FramePtr acquire();

    // The picture converted to the pool's format and size (BT.709, limited range); null when
    // the picture is empty or memory runs out.
    FramePtr convert(const PixelBuffer& bgra);

private:
    int m_width;
    int m_height;
    AVPixelFormat m_format;
    int m_bufferSize = 0;
    BufferPoolPtr m_pool;
    SwsPtr m_sws;
    int m_sourceWidth = 0;
    int m_sourceHeight = 0;
};

} // namespace ffmpeg
