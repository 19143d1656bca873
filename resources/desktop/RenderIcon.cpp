// Build-time tool: renders the application icon (the logo mark in paper on an ink tile with
// rounded corners) as a PNG of the given size. Usage: ostrel_render_icon <size> <file.png>
#include "recording/LogoMark.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>

#include <cstdio>

int main(int argc, char* argv[]) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const int size = argc > 2 ? QString::fromLocal8Bit(argv[1]).toInt() : 0;
    if (size < 16 || size > 1024) {
        std::fprintf(stderr, "usage: ostrel_render_icon <size 16…1024> <file.png>\n");
        return 2;
    }
    QImage icon(size, size, QImage::Format_ARGB32_Premultiplied);
    icon.fill(Qt::transparent);
    QPainter painter(&icon);
    painter.setRenderHint(QPainter::Antialiasing);
    // A tile a little inside the canvas, as launcher icons usually are.
    const QRectF tile(size * 0.06, size * 0.06, size * 0.88, size * 0.88);
    QPainterPath rounded;
    rounded.addRoundedRect(tile, size * 0.2, size * 0.2);
    painter.fillPath(rounded, QColor(10, 10, 10));
    drawOstrelMark(painter, tile.adjusted(size * 0.14, size * 0.14, -size * 0.14, -size * 0.14),
                   QColor(250, 250, 247));
    painter.end();
    if (!icon.save(QString::fromLocal8Bit(argv[2]))) {
        std::fprintf(stderr, "could not write %s\n", argv[2]);
        return 1;
    }
    return 0;
}
