#include "recording/Watermark.h"
#include "recording/WatermarkCache.h"
#include "resources/Fonts.h"

#include <gtest/gtest.h>

#include <future>

namespace {

// Leftmost column with a clearly white pixel (the text, not its shadow) in rows [y0, y1).
int firstWhiteColumn(const QImage& image, int y0, int y1) {
    for (int x = 0; x < image.width(); ++x)
        for (int y = y0; y < y1; ++y) {
            const QRgb p = image.pixel(x, y);
            if (qAlpha(p) > 200 && qRed(p) > 200)
                return x;
        }
    return -1;
}

bool hasGold(const QImage& image, QRect area) {
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x) {
            const QRgb p = image.pixel(x, y);
            if (qAlpha(p) == 255 && std::abs(qRed(p) - 196) < 6 && std::abs(qGreen(p) - 147) < 6 &&
                std::abs(qBlue(p) - 63) < 6)
                return true;
        }
    return false;
}

} // namespace

TEST(Watermark, PracticeNameAtTheLowerLeftMarkAndLabelAtTheLowerRight) {
    registerBrandFont();
    const QImage plain = makeWatermark(std::nullopt, 1920, 1080);
    EXPECT_EQ(qAlpha(plain.pixel(960, 540)), 0);
    EXPECT_GT(firstWhiteColumn(plain, 980, 1080), 1500); // only the right-hand block
    EXPECT_TRUE(hasGold(plain, QRect(1500, 990, 420, 90)));

    const QImage named = makeWatermark(QStringLiteral("Praxis Dr. Muster"), 1920, 1080);
    const int left = firstWhiteColumn(named, 980, 1080);
    EXPECT_GE(left, 37); // one margin (37.8) from the left edge, plus the glyph's side bearing
    EXPECT_LE(left, 44);
    // The label ends one margin from the right edge.
    int right = 0;
    for (int x = 0; x < 1920; ++x)
        for (int y = 990; y < 1080; ++y)
            if (qAlpha(named.pixel(x, y)) > 200)
                right = x;
    EXPECT_GE(right, 1920 - 38 - 4);
    EXPECT_LE(right, 1920 - 38);

    // A very long name runs on as one line, neither cut nor wrapped.
    const QImage longName = makeWatermark(QString(200, QLatin1Char('W')), 1920, 1080);
    EXPECT_GT(qAlpha(longName.pixel(1910, 1080 - 45)), 0);
    EXPECT_TRUE(makeWatermark(std::nullopt, 0.4, 1080).isNull());
    EXPECT_TRUE(makeWatermark(std::nullopt, 1920, -3).isNull());
    EXPECT_FALSE(makeWatermark(std::nullopt, 0.5, 0.5).isNull()); // rounds to 1 × 1
}

// Made off the asking thread, once per size and text, the very image makeWatermark draws.
TEST(Watermark, CacheMakesEachImageOnceOffTheCallersThreadAndKeepsIt) {
    registerBrandFont();
    WatermarkCache cache;
    const WatermarkKey named{QStringLiteral("Praxis Dr. Muster"), 2560, 1440};
    std::promise<QImage> made;
    cache.whenMade(named, [&made](const QImage& image) { made.set_value(image); });
    std::future<QImage> arrived = made.get_future();
    ASSERT_EQ(arrived.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    const QImage image = arrived.get();
    EXPECT_EQ(image, makeWatermark(named.text, 2560, 1440));
    // Kept: found at once, the same pixels, not drawn again.
    const std::optional<QImage> found = cache.find(named);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->constBits(), image.constBits());
    // An empty name is the mark alone, the same image as no name.
    const QImage plain = cache.get({std::nullopt, 1920, 1080});
    EXPECT_EQ(cache.get({QString(), 1920, 1080}).constBits(), plain.constBits());
    EXPECT_EQ(plain, makeWatermark(std::nullopt, 1920, 1080));
}
