#pragma once

#include "media/PixelBuffer.h"

#include <QFont>
#include <QImage>
#include <QString>

#include <optional>

// The brand label next to the logo mark: the product's web domain.
inline QString brandLabel() {
    return QStringLiteral("ostrel.de");
}

struct TextMetrics {
    double width = 0;
    double ascent = 0;
    double descent = 0;
};

// Width, ascent and descent of one line of `text` in `font` (pixels at 72 dpi = points).
TextMetrics measureText(const QString& text, const QFont& font);

// The font of the brand label: "Archivo Black", or the system font in black weight.
QFont brandFont(double size);

// The watermark at canvas size: the practice name at the lower left (when `text` is present and
// not empty) and the logo mark with the brand label at the lower right, white with a soft dark
// shadow, on transparent. Premultiplied ARGB; null when the size rounds below 1 pixel.
QImage makeWatermark(const std::optional<QString>& text, double width, double height);

// The image as a PixelBuffer for the renderers (premultiplied BGRA in memory), sharing pixels;
// null for a null image.
PixelBuffer pixelBufferOf(const QImage& image);
