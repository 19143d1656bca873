#pragma once

#include "media/PixelBuffer.h"

#include <QImage>

// A camera frame as an image for the scene graph, without copying: the image holds a
// reference to the frame's pixels until the texture has been uploaded.
inline QImage wrapFrame(const PixelBuffer& buffer) {
    auto* held = new PixelBuffer(buffer);
    return QImage(
        held->data(), held->width(), held->height(), held->stride(),
        QImage::Format_ARGB32_Premultiplied,
        [](void* info) { delete static_cast<PixelBuffer*>(info); }, held);
}
