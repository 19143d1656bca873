#pragma once

#include "control/FrameStore.h"
#include "ui/controls/FrameTexture.h"

#include <QQuickItem>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

#include <mutex>

// One live camera picture: up to 30 times a second it takes the newest stored frame of its
// camera, turned by half a turn and, when `stabilized`, cropped by the frame's own offset and
// zoom, and draws it as a texture that fills the item. The GUI thread only looks up the frame;
// the texture is made and uploaded on the render thread, and an unchanged frame is not
// uploaded again.
class LiveCameraView : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int index READ index WRITE setIndex NOTIFY indexChanged)
    Q_PROPERTY(bool stabilized READ stabilized WRITE setStabilized NOTIFY stabilizedChanged)
    Q_PROPERTY(int framesShown READ framesShown NOTIFY framesShownChanged)
    // Milliseconds between looks for a new frame; raised while a recording needs the CPU.
    Q_PROPERTY(int refreshInterval READ refreshInterval WRITE setRefreshInterval NOTIFY
                   refreshIntervalChanged)
public:
    static constexpr int redrawIntervalMs = 33; // at most 30 redraws per second

    explicit LiveCameraView(QQuickItem* parent = nullptr);

    int index() const { return m_index; }
    void setIndex(int index);
    bool stabilized() const { return m_stabilized; }
    void setStabilized(bool stabilized);
    int refreshInterval() const { return m_intervalMs; }
    // At least `redrawIntervalMs`; takes effect at the next tick.
    void setRefreshInterval(int ms);
    // Distinct frames handed to the scene graph so far.
    int framesShown() const { return m_framesShown; }

    // Looks for a newer frame; the view's timer calls it, tests may too.
    Q_INVOKABLE void pullFrame();

signals:
    void indexChanged();
    void stabilizedChanged();
    void framesShownChanged();
    void refreshIntervalChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData*) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;

private:
    int m_index = 0;
    bool m_stabilized = false;
    int m_framesShown = 0;
    int m_intervalMs = redrawIntervalMs;
    QTimer m_timer; // single-shot, to the next tick of the shared grid

    void scheduleNextPull();
    StoredFrame m_frame;       // GUI thread, and render thread during sync
    bool m_frameDirty = false; // a new frame waits for the next sync
    FrameTexture m_texture;    // render thread
};
