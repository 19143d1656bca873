// The built app as a user starts it: the window comes up live on the virtual pair, shows both
// pictures, and Ctrl+Q ends it cleanly.

#include "blackbox/AppRun.h"

#include <QColor>

#include <gtest/gtest.h>

namespace {

// Share of sampled pixels that are neither black nor a flat fill: a live camera picture.
double texturedShare(const QImage& image, QRect area) {
    int textured = 0;
    int total = 0;
    for (int y = area.top(); y < area.bottom(); y += 8) {
        for (int x = area.left(); x < area.right() - 8; x += 8) {
            const QColor a = image.pixelColor(x, y);
            const QColor b = image.pixelColor(x + 8, y);
            ++total;
            if (a.value() > 20 && std::abs(a.value() - b.value()) > 3)
                ++textured;
        }
    }
    return total ? double(textured) / total : 0.0;
}

} // namespace

TEST(AppStart, ComesUpLiveWithBothPicturesAndQuitsWithItsShortcut) {
    AppRun app;
    const auto error = app.start();
    ASSERT_FALSE(error) << error->toStdString();
    ASSERT_TRUE(app.waitForLog(QStringLiteral("2 Kameras live"), 60000))
        << app.appOutput().toStdString();

    const QRect window = app.windowGeometry();
    ASSERT_FALSE(window.isEmpty());
    // Wide fills the window; the Macro inset sits at the bottom centre.
    const QRect wide(window.left(), window.top() + 100, window.width(), window.height() / 3);
    const QRect inset(window.center().x() - window.width() / 8,
                      window.bottom() - window.height() / 5, window.width() / 4,
                      window.height() / 8);
    const QImage screen = app.waitForScreen([&](const QImage& shot) {
        return texturedShare(shot, wide) > 0.3 && texturedShare(shot, inset) > 0.3;
    });
    if (const QString out = qEnvironmentVariable("OSTREL_TEST_OUTPUT"); !out.isEmpty())
        screen.save(out + QStringLiteral("/blackbox-start.png"));
    EXPECT_GT(texturedShare(screen, wide), 0.3);
    EXPECT_GT(texturedShare(screen, inset), 0.3);

    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q")));
    EXPECT_EQ(app.waitForExit(30000), 0);
}
