#include "ui/main/LiveCameraView.h"

#include "ui/main/LiveViewGeometry.h"
#include "ui/main/RenderThreadPriority.h"

#include <QQuickWindow>
#include <QSGImageNode>

#include <algorithm>
#include <chrono>

LiveCameraView::LiveCameraView(QQuickItem* parent) : QQuickItem(parent) {
    setFlag(ItemHasContents, true);
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, [this] {
        pullFrame();
        scheduleNextPull();
    });
    scheduleNextPull();
}

// Every view wakes on the same grid of the monotonic clock, so the Wide and the Macro picture
// change in one window frame: each frame of a software-rendered window costs the whole scene.
void LiveCameraView::scheduleNextPull() {
    const int interval = m_intervalMs;
    const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(
                         std::chrono::steady_clock::now().time_since_epoch())
                         .count();
    int delay = interval - int(now % interval);
    if (delay < 2)
        delay += interval;
    m_timer.start(delay);
}

void LiveCameraView::setIndex(int index) {
    if (index == m_index)
        return;
    m_index = index;
    m_frame = {};
    emit indexChanged();
    update();
}

void LiveCameraView::setStabilized(bool stabilized) {
    if (stabilized == m_stabilized)
        return;
    m_stabilized = stabilized;
    emit stabilizedChanged();
    m_frameDirty = true;
    update();
}

void LiveCameraView::setRefreshInterval(int ms) {
    ms = std::max(ms, int(redrawIntervalMs));
    if (ms == m_intervalMs)
        return;
    m_intervalMs = ms;
    scheduleNextPull();
    emit refreshIntervalChanged();
}

void LiveCameraView::pullFrame() {
    std::optional<StoredFrame> latest = FrameStore::shared().latest(m_index);
    if (!latest || !latest->buffer)
        return; // keep showing what is shown
    // The view holds its last frame, so a pooled buffer cannot come back under the same
    // address while it is shown: the same pixels mean the same frame.
    if (latest->buffer.sharesPixelsWith(m_frame.buffer))
        return;
    m_frame = std::move(*latest);
    m_frameDirty = true;
    ++m_framesShown;
    emit framesShownChanged();
    update();
}

void LiveCameraView::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() != oldGeometry.size())
        update();
}

QSGNode* LiveCameraView::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    renderPriority::lowerOnce(); // runs on the render thread
    auto* node = static_cast<QSGImageNode*>(old);
    const PixelBuffer& buffer = m_frame.buffer;
    if (!buffer || !window())
        return node;
    const double dpr = window()->effectiveDevicePixelRatio();
    const SizeD view{width() * dpr, height() * dpr};
    const double zoom = m_stabilized ? m_frame.stabZoom : 1.0;
    const PointD offset =
        m_stabilized ? PointD{m_frame.stabOffset.x(), m_frame.stabOffset.y()} : PointD{};
    const auto draw =
        liveViewDraw({double(buffer.width()), double(buffer.height())}, view, zoom, offset);
    if (!draw) {
        delete node;
        return nullptr;
    }
    Qt::Orientations mirrored;
    mirrored.setFlag(Qt::Horizontal, draw->mirrorX);
    mirrored.setFlag(Qt::Vertical, draw->mirrorY);
    node = m_texture.update(
        *window(), node, buffer,
        QRectF(draw->target.x / dpr, draw->target.y / dpr, draw->target.width / dpr,
               draw->target.height / dpr),
        QRectF(draw->source.x, draw->source.y, draw->source.width, draw->source.height), mirrored,
        m_frameDirty);
    m_frameDirty = false;
    return node;
}
