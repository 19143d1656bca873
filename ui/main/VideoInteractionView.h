#pragma once

#include <QQuickItem>
#include <QtQml/qqmlregistration.h>

// A transparent layer over the live pictures that reports wheel scrolling (scaled) and any
// pointer activity, hovering included. Clicks go no further.
class VideoInteractionView : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
public:
    static constexpr double notchedFactor = 0.03;   // per wheel notch
    static constexpr double preciseFactor = 0.0015; // per pixel of trackpad scrolling

    explicit VideoInteractionView(QQuickItem* parent = nullptr);

    // The scaled vertical amount of one wheel event; 0 for a purely horizontal one.
    static double scrollAmount(const QPoint& pixelDelta, const QPoint& angleDelta);

signals:
    void scrolled(double amount);
    void activity();

protected:
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
};
