#pragma once

#include "media/PixelBuffer.h"

#include <QImage>
#include <QRect>

// A camera frame as an image for the scene graph, without copying: the image holds a
// reference to the frame's pixels until the texture has been uploaded.
inline QImage wrapFrame(const PixelBuffer& buffer) {
    auto* held = new PixelBuffer(buffer);
    return QImage(
        held->data(), held->width(), held->height(), held->stride(),
        QImage::Format_ARGB32_Premultiplied,
        [](void* info) { delete static_cast<PixelBuffer*>(info); }, held);
}

// Only `region` of the frame (clipped to it), still without copying: the scene graph then
// uploads just the part that is shown.
inline QImage wrapFrame(const PixelBuffer& buffer, QRect region) {
    region &= QRect(0, 0, buffer.width(), buffer.height());
    if (region.isEmpty())
        return {};
    auto* held = new PixelBuffer(buffer);
    return QImage(
        held->row(region.y()) + std::ptrdiff_t(region.x()) * 4, region.width(), region.height(),
        held->stride(), QImage::Format_ARGB32_Premultiplied,
        [](void* info) { delete static_cast<PixelBuffer*>(info); }, held);
}
