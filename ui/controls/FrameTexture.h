#pragma once

#include "media/PixelBuffer.h"

#include <QRect>
#include <QRectF>

class QQuickWindow;
class QSGImageNode;

// A camera frame on screen as one image node, for the live views and the device previews alike:
// only the part of the frame that is shown is uploaded (with a pixel's margin for the filter),
// and again only for a new frame or when more of it comes into view. Mirroring looks the same
// on every renderer. Used on the render thread, from an item's updatePaintNode.
class FrameTexture {
public:
    // Shows `source` (frame pixels) of `frame` in `target` (item coordinates), mirrored on the
    // given axes; `node` is made when null.
    QSGImageNode* update(QQuickWindow& window, QSGImageNode* node, const PixelBuffer& frame,
                         QRectF target, QRectF source, Qt::Orientations mirrored, bool newFrame);

private:
    QRect m_uploaded; // the part of the frame in the texture
};
