#pragma once

#include "media/MediaTime.h"

struct v4l2_buffer;

// When a dequeued frame was captured, on the capture clock (the monotonic clock): the
// kernel's own stamp of the buffer when the driver takes it from the monotonic clock
// (V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC), so that a busy machine dequeuing late or in bursts
// does not move the frame in time; otherwise, or for a stamp that cannot be this frame's
// (in the future, or older than a few buffers could ever wait), the time it was dequeued.
MediaTime v4l2CaptureTime(const v4l2_buffer& buffer, MediaTime dequeuedAt);
