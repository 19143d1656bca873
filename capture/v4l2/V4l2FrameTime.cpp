#include "capture/v4l2/V4l2FrameTime.h"

#include <linux/videodev2.h>

#include <chrono>

using namespace std::chrono_literals;

MediaTime v4l2CaptureTime(const v4l2_buffer& buffer, MediaTime dequeuedAt) {
    if ((buffer.flags & V4L2_BUF_FLAG_TIMESTAMP_MASK) != V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC)
        return dequeuedAt;
    const MediaTime stamp = std::chrono::seconds(buffer.timestamp.tv_sec) +
                            std::chrono::microseconds(buffer.timestamp.tv_usec);
    if (stamp <= MediaTime::zero() || stamp > dequeuedAt || dequeuedAt - stamp > 5s)
        return dequeuedAt;
    return stamp;
}
