#include "ui/main/VideoInteractionView.h"

#include <QWheelEvent>

VideoInteractionView::VideoInteractionView(QQuickItem* parent) : QQuickItem(parent) {
    setAcceptHoverEvents(true);
    setAcceptedMouseButtons(Qt::AllButtons);
}

double VideoInteractionView::scrollAmount(const QPoint& pixelDelta, const QPoint& angleDelta) {
    // Trackpads and smooth mice report pixels; notched wheels report 120 eighths of a degree
    // per notch.
    if (!pixelDelta.isNull())
        return pixelDelta.y() * preciseFactor;
    return angleDelta.y() / 120.0 * notchedFactor;
}

void VideoInteractionView::wheelEvent(QWheelEvent* event) {
    const double amount = scrollAmount(event->pixelDelta(), event->angleDelta());
    if (amount != 0)
        emit scrolled(amount);
    emit activity();
    event->accept();
}

void VideoInteractionView::mousePressEvent(QMouseEvent* event) {
    emit activity();
    event->accept();
}

void VideoInteractionView::hoverMoveEvent(QHoverEvent* event) {
    // The window repeats the last hover position whenever items move under a resting pointer
    // (the control bars sliding away); that is no activity, or the bars would never stay hidden.
    if (event->position() != event->oldPosF())
        emit activity();
    event->ignore();
}

void VideoInteractionView::mouseMoveEvent(QMouseEvent* event) {
    emit activity();
    event->accept();
}
