#pragma once

// A camera stream on file: JPEG images back to back, as `ffmpeg -f mjpeg`, `v4l2-ctl
// --stream-to` and `ostrel --save-camera-stream` write them.

#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

using CameraBuffers = std::vector<std::vector<std::uint8_t>>;

// The stream cut at each start-of-image marker: each piece, with whatever padding or stray
// bytes follow its picture, is one buffer as the camera sent it. Bytes before the first marker
// belong to no picture and are left out.
CameraBuffers splitMjpegStream(const std::uint8_t* data, std::size_t size);

// The buffers of a stream file, or why there are none (German, for the log).
struct CameraStreamFile {
    std::shared_ptr<const CameraBuffers> buffers;
    QString error;
};
CameraStreamFile readCameraStream(const QString& path);
