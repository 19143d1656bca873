#pragma once

#include "capture/v4l2/V4l2Io.h"

#include <QString>

#include <chrono>
#include <memory>
#include <string>

// What `ostrel --save-camera-stream` wrote, and why it stopped short (in the user's language).
struct SavedCameraStream {
    int buffers = 0;
    qint64 bytes = 0;
    QString error; // empty when the stream was saved for the whole time
};

// Streams the camera at `devnode` as the app would (MJPEG, the largest 16:9 picture up to
// 1920 × 1080 at 30 fps) and writes its buffers to `path` back to back as they come: the bytes
// the camera used, nothing re-encoded, a stream a virtual camera can play back
// (OSTREL_VIRTUAL_STREAMS). Blocks for `duration`, or until the stream ends.
SavedCameraStream saveCameraStream(const std::shared_ptr<V4l2Io>& io, const std::string& devnode,
                                   const QString& path, std::chrono::milliseconds duration);
