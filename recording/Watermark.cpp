#include "recording/Watermark.h"

#include "recording/LogoMark.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>

namespace {

// At 72 dots per inch a point is a pixel, as in the bitmap contexts the sizes are given for.
constexpr int dotsPerMeterAt72Dpi = 2835;

QImage transparentImage(int width, int height) {
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.setDotsPerMeterX(dotsPerMeterAt72Dpi);
    image.setDotsPerMeterY(dotsPerMeterAt72Dpi);
    image.fill(Qt::transparent);
    return image;
}

// A soft dark shadow right beneath what `content` holds: its alpha, blurred, in black.
QImage shadowOf(const QImage& content, double blur, double opacity) {
    QImage shadow = transparentImage(content.width(), content.height());
    cv::Mat alpha(content.height(), content.width(), CV_8UC1);
    for (int y = 0; y < content.height(); ++y) {
        const QRgb* row = reinterpret_cast<const QRgb*>(content.constScanLine(y));
        std::uint8_t* a = alpha.ptr<std::uint8_t>(y);
        for (int x = 0; x < content.width(); ++x)
            a[x] = std::uint8_t(qAlpha(row[x]));
    }
    // The blur value is about twice the Gaussian sigma.
    const double sigma = std::max(blur * 0.5, 0.1);
    cv::GaussianBlur(alpha, alpha, cv::Size(0, 0), sigma, sigma, cv::BORDER_CONSTANT);
    for (int y = 0; y < shadow.height(); ++y) {
        QRgb* row = reinterpret_cast<QRgb*>(shadow.scanLine(y));
        const std::uint8_t* a = alpha.ptr<std::uint8_t>(y);
        for (int x = 0; x < shadow.width(); ++x)
            row[x] = qRgba(0, 0, 0, int(std::lround(a[x] * opacity)));
    }
    return shadow;
}

} // namespace

TextMetrics measureText(const QString& text, const QFont& font) {
    QImage device = transparentImage(1, 1); // measure at 72 dpi like the drawing
    const QFontMetricsF metrics(font, &device);
    return {metrics.horizontalAdvance(text), metrics.ascent(), metrics.descent()};
}

QFont brandFont(double size) {
    const QString family = QStringLiteral("Archivo Black");
    QFont font;
    if (QFontDatabase::families().contains(family)) {
        font = QFont(family);
    } else {
        font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setWeight(QFont::Black);
    }
    font.setPointSizeF(size);
    return font;
}

QImage makeWatermark(const std::optional<QString>& text, double width, double height) {
    const double W = std::round(width);
    const double H = std::round(height);
    if (!(W >= 1 && H >= 1 && W <= 16384 && H <= 16384))
        return {};
    QImage content = transparentImage(int(W), int(H));
    if (content.isNull())
        return {};

    const double textSize = H * 0.024;
    const double brandSize = H * 0.026;
    const double margin = H * 0.035;
    const double markH = brandSize * 1.15;
    const double markW = markH * 180.0 / 160.0;
    const double gap = brandSize * 0.45;
    const QColor fill = QColor::fromRgbF(1, 1, 1, 0.92f);

    QPainter painter(&content);
    painter.setRenderHint(QPainter::Antialiasing, true);
    painter.setRenderHint(QPainter::TextAntialiasing, true);
    painter.setPen(fill);

    // Positions are worked out from the bottom edge; y grows downward here.
    if (text && !text->isEmpty()) {
        QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
        font.setWeight(QFont::Medium);
        font.setPointSizeF(textSize);
        const TextMetrics m = measureText(*text, font);
        painter.setFont(font);
        painter.drawText(QPointF(margin, H - (margin + m.descent)), *text);
    }

    const QFont brand = brandFont(brandSize);
    const QString label = brandLabel();
    const TextMetrics b = measureText(label, brand);
    const double x0 = W - margin - (gap + markW + b.width);
    const double baseline = margin + b.descent;
    const double y0 = baseline + (b.ascent - b.descent) * 0.5 - markH * 0.5;
    drawOstrelMark(painter, QRectF(x0, H - (y0 + markH), markW, markH), Qt::white);
    painter.setPen(fill);
    painter.setFont(brand);
    painter.drawText(QPointF(x0 + markW + gap, H - baseline), label);
    painter.end();

    QImage result = shadowOf(content, textSize * 0.3, 0.85);
    QPainter over(&result);
    over.drawImage(0, 0, content);
    over.end();
    return result;
}

PixelBuffer pixelBufferOf(const QImage& image) {
    if (image.isNull())
        return {};
    QImage converted = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    auto* keep = new QImage(converted); // shares the pixels; released with the last copy
    return PixelBuffer::wrap(const_cast<std::uint8_t*>(keep->constBits()), keep->width(),
                             keep->height(), int(keep->bytesPerLine()), [keep] { delete keep; });
}
