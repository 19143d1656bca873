#include "ui/controls/FrameTexture.h"

#include <QImage>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRendererInterface>

namespace {

// `region` of the frame as an image for the scene graph, without copying: the image holds a
// reference to the frame's pixels until the texture has been uploaded.
QImage wrapFrame(const PixelBuffer& buffer, QRect region) {
    if (region.isEmpty())
        return {};
    auto* held = new PixelBuffer(buffer);
    return QImage(
        held->row(region.y()) + std::ptrdiff_t(region.x()) * 4, region.width(), region.height(),
        held->stride(), QImage::Format_ARGB32_Premultiplied,
        [](void* info) { delete static_cast<PixelBuffer*>(info); }, held);
}

} // namespace

QSGImageNode* FrameTexture::update(QQuickWindow& window, QSGImageNode* node,
                                   const PixelBuffer& frame, QRectF target, QRectF source,
                                   Qt::Orientations mirrored, bool newFrame) {
    if (!node) {
        node = window.createImageNode();
        node->setOwnsTexture(true);
        node->setFiltering(QSGTexture::Linear);
    }
    const QRect needed = source.toAlignedRect()
                             .adjusted(-1, -1, 1, 1)
                             .intersected(QRect(0, 0, frame.width(), frame.height()));
    if (newFrame || !node->texture() || !m_uploaded.contains(needed)) {
        // The image is uploaded when the scene graph renders, on the render thread.
        node->setTexture(window.createTextureFromImage(wrapFrame(frame, needed)));
        m_uploaded = needed;
    }
    node->setRect(target);
    source.translate(-m_uploaded.x(), -m_uploaded.y());
    // Qt's software renderer mirrors the whole texture before taking the source rectangle,
    // the hardware renderers mirror within it.
    if (window.rendererInterface()->graphicsApi() == QSGRendererInterface::Software) {
        if (mirrored & Qt::Horizontal)
            source.moveLeft(m_uploaded.width() - source.x() - source.width());
        if (mirrored & Qt::Vertical)
            source.moveTop(m_uploaded.height() - source.y() - source.height());
    }
    node->setSourceRect(source);
    QSGImageNode::TextureCoordinatesTransformMode transform;
    if (mirrored & Qt::Horizontal)
        transform |= QSGImageNode::MirrorHorizontally;
    if (mirrored & Qt::Vertical)
        transform |= QSGImageNode::MirrorVertically;
    node->setTextureCoordinatesTransform(transform);
    return node;
}
