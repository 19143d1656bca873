#include "recording/LogoMark.h"

#include <QPainter>
#include <QPen>

#include <algorithm>

void drawOstrelMark(QPainter& painter, const QRectF& box, const QColor& ringColor) {
    const double u = std::min(box.width() / 180.0, box.height() / 160.0);
    if (!(u > 0))
        return;
    const double left = box.x() + (box.width() - 180.0 * u) * 0.5;
    const double top = box.y() + (box.height() - 160.0 * u) * 0.5;
    auto cell = [&](double x, double y, double w, double h) {
        return QRectF(left + x * u, top + y * u, w * u, h * u);
    };

    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, true);
    QPen ring(ringColor);
    ring.setWidthF(10.0 * u);
    painter.setPen(ring);
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(cell(15, 30, 100, 100)); // large ring
    painter.drawEllipse(cell(93, 48, 64, 64));   // small ring, over the large one's right edge
    painter.setPen(Qt::NoPen);
    painter.setBrush(accentGold());
    painter.drawEllipse(cell(51, 66, 28, 28)); // dot inside the large ring
    painter.restore();
}
