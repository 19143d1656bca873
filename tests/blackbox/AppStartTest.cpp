// The built app as a user starts it: the window comes up live on the virtual pair, shows both
// pictures, and Ctrl+Q ends it cleanly.

#include "blackbox/AppRun.h"

#include <gtest/gtest.h>

TEST(AppStart, ComesUpLiveWithBothPicturesAndQuitsWithItsShortcut) {
    AppRun app;
    const auto error = app.startLive();
    ASSERT_FALSE(error) << error->toStdString();

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
