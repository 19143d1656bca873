#pragma once

#include <QColor>
#include <QRectF>

class QPainter;

// The product's logo: two rings side by side, like the lenses of a loupe seen from the front,
// with a small gold dot. Drawn on a 180 × 160 design grid, centred in `box` at the largest
// size that fits. The rings take `ringColor`; the dot is always the accent gold.
void drawOstrelMark(QPainter& painter, const QRectF& box, const QColor& ringColor);

// Width of a mark of the given height.
inline double ostrelMarkWidth(double height) {
    return height * 180.0 / 160.0;
}

inline QColor accentGold() {
    return QColor(196, 147, 63);
}
