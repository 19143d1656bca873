#include "ui/controls/LogoMarkItem.h"

#include "recording/LogoMark.h"

#include <QPainter>

LogoMarkItem::LogoMarkItem(QQuickItem* parent) : QQuickPaintedItem(parent) {
    setAntialiasing(true);
    setOpaquePainting(false);
    setImplicitHeight(26);
    setImplicitWidth(ostrelMarkWidth(26));
    connect(this, &QQuickItem::heightChanged, this,
            [this] { setImplicitWidth(ostrelMarkWidth(height())); });
}

void LogoMarkItem::setRingColor(const QColor& color) {
    if (color == m_ringColor)
        return;
    m_ringColor = color;
    emit ringColorChanged();
    update();
}

void LogoMarkItem::paint(QPainter* painter) {
    drawOstrelMark(*painter, QRectF(0, 0, width(), height()), m_ringColor);
}
