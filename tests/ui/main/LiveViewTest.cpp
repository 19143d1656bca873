#include "control/FrameStore.h"
#include "support/EventLoop.h"
#include "ui/main/LiveCameraView.h"
#include "ui/main/LiveViewGeometry.h"
#include "ui/main/VideoInteractionView.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSignalSpy>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <memory>

namespace {

// A frame in four colours: red top-left, green top-right, blue bottom-left, white bottom-right.
PixelBuffer quadrants(int width, int height) {
    PixelBuffer buffer = PixelBuffer::allocate(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            reinterpret_cast<std::uint32_t*>(buffer.row(y))[x] =
                y < height / 2 ? (x < width / 2 ? 0xffff0000u : 0xff00ff00u)
                               : (x < width / 2 ? 0xff0000ffu : 0xffffffffu);
    return buffer;
}

void expectRect(const RectD& r, const RectD& e) {
    EXPECT_NEAR(r.x, e.x, 1e-6);
    EXPECT_NEAR(r.y, e.y, 1e-6);
    EXPECT_NEAR(r.width, e.width, 1e-6);
    EXPECT_NEAR(r.height, e.height, 1e-6);
}

} // namespace

TEST(LiveViewGeometry, TheTurnedFrameFillsTheViewCroppedByZoomAndOffset) {
    struct Case {
        const char* name;
        SizeD frame;
        double zoom;
        PointD offset;
        RectD source; // on the camera's frame; the whole view is drawn
    };
    const SizeD hd{1920, 1080};
    const RectD all{0, 0, 1920, 1080};
    const double w = 1920 / 1.15, h = 1080 / 1.15, x = (1920 - w) / 2, y = (1080 - h) / 2;
    const Case cases[] = {
        {"unstabilised", hd, 1.0, {}, all},
        {"zoom: the centre crop", hd, 1.15, {}, {x, y, w, h}},
        {"zoom below 1 counts as 1", hd, 0.5, {}, all},
        {"4:3 loses top and bottom equally", {1440, 1080}, 1.0, {}, {0, 135, 1440, 810}},
        // Right on the turned picture is left on the camera's own frame.
        {"offset", hd, 1.15, {0.05, 0}, {x - 96, y, w, h}},
        {"not a number", hd, std::nan(""), {std::nan(""), 0}, all},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto draw = liveViewDraw(c.frame, hd, c.zoom, c.offset);
        ASSERT_TRUE(draw);
        expectRect(draw->source, c.source);
        expectRect(draw->target, all);
        EXPECT_TRUE(draw->mirrorX && draw->mirrorY);
    }
    // Past the frame's edge the view shows nothing there: the drawn part shrinks.
    const auto edge = liveViewDraw(hd, hd, 1.15, {0.2, 0});
    ASSERT_TRUE(edge);
    EXPECT_NEAR(edge->source.x, 0, 1e-6);
    EXPECT_LT(edge->target.width, 1920);
    EXPECT_FALSE(liveViewDraw(hd, hd, 1.15, {2, 0}));
    EXPECT_FALSE(liveViewDraw({0, 1080}, hd, 1, {}));
    EXPECT_FALSE(liveViewDraw(hd, {0, 0}, 1, {}));
}

namespace {

class LiveViewItemTest : public ::testing::Test {
protected:
    void TearDown() override { FrameStore::shared().clear(); }

    template <typename T> T* load(const QByteArray& qml) {
        QQmlComponent component(&engine);
        component.setData(qml, QUrl());
        window.reset(qobject_cast<QQuickWindow*>(component.create()));
        EXPECT_TRUE(window) << component.errorString().toStdString();
        if (!window)
            return nullptr;
        window->show();
        EXPECT_TRUE(pumpUntil([&] { return window->isExposed(); }));
        pumpPosted();
        return window->findChild<T*>(QStringLiteral("subject"));
    }

    QColor pixel(int x, int y) { return window->grabWindow().pixelColor(x, y); }

    QQmlEngine engine;
    std::unique_ptr<QQuickWindow> window;
};

} // namespace

TEST_F(LiveViewItemTest, DrawsTheNewestFrameTurnedSkipsUnchangedOnesAndStabilisesOnRequest) {
    auto* view = load<LiveCameraView>(R"(
import QtQuick
import Ostrel
Window {
    width: 320; height: 180; color: "black"
    LiveCameraView { objectName: "subject"; anchors.fill: parent; index: 1 }
})");
    ASSERT_TRUE(view);
    view->pullFrame();
    EXPECT_EQ(view->framesShown(), 0) << "no frame yet: nothing drawn";

    FrameStore::shared().store(1, {quadrants(640, 360), {}, 1.0});
    view->pullFrame();
    view->pullFrame();
    EXPECT_EQ(view->framesShown(), 1) << "the same frame is not handed on twice";

    // Half a turn: white (bottom-right of the frame) shows top-left, red bottom-right.
    EXPECT_EQ(pixel(40, 40), QColor(Qt::white));
    EXPECT_EQ(pixel(280, 140), QColor(Qt::red));
    EXPECT_EQ(pixel(280, 40), QColor(Qt::blue));

    // Zoom 2 a quarter to the left on the turned picture: ignored until stabilised, then only
    // the left-centre part of the frame is uploaded and lands where it belongs, white over green.
    FrameStore::shared().store(1, {quadrants(640, 360), QPointF(-0.25, 0), 2.0});
    view->pullFrame();
    EXPECT_EQ(view->framesShown(), 2);
    EXPECT_EQ(pixel(280, 40), QColor(Qt::blue)) << "not stabilised: offset and zoom ignored";
    view->setStabilized(true);
    pumpPosted();
    EXPECT_EQ(pixel(40, 40), QColor(Qt::white));
    EXPECT_EQ(pixel(280, 40), QColor(Qt::white));
    EXPECT_EQ(pixel(40, 140), QColor(Qt::green));
    EXPECT_EQ(pixel(280, 140), QColor(Qt::green));
}

TEST_F(LiveViewItemTest, WheelAndPointerReportScaledScrollingAndActivity) {
    auto* view = load<VideoInteractionView>(R"(
import QtQuick
import Ostrel
Window {
    width: 320; height: 180
    VideoInteractionView { objectName: "subject"; anchors.fill: parent }
})");
    ASSERT_TRUE(view);
    QSignalSpy scrolled(view, &VideoInteractionView::scrolled);
    QSignalSpy activity(view, &VideoInteractionView::activity);
    const auto wheel = [&](QPoint pixels, QPoint angle) {
        QWheelEvent event(QPointF(100, 100), QPointF(100, 100), pixels, angle, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(window.get(), &event);
    };
    wheel({}, {0, 120}); // one notch
    ASSERT_EQ(scrolled.count(), 1);
    EXPECT_DOUBLE_EQ(scrolled.takeFirst().at(0).toDouble(), 0.03);
    wheel({0, 10}, {0, 10}); // trackpad
    ASSERT_EQ(scrolled.count(), 1);
    EXPECT_DOUBLE_EQ(scrolled.takeFirst().at(0).toDouble(), 0.015);
    wheel({}, {120, 0}); // horizontal only
    EXPECT_EQ(scrolled.count(), 0);
    EXPECT_EQ(activity.count(), 3);
    EXPECT_DOUBLE_EQ(VideoInteractionView::scrollAmount({}, {0, -240}), -0.06);
}

// Qt's software renderer (the one without a graphics card, and under the offscreen platform)
// draws no ShaderEffect: the rounded clip must show its content square there, not hide it.
TEST_F(LiveViewItemTest, RoundedClipShowsItsContentSquareInTheSoftwareRenderer) {
    QQmlComponent component(&engine);
    // Based in the module's folder, so that its QML files are types.
    component.setData(R"(
import QtQuick
Window {
    width: 100; height: 60; color: "red"
    RoundedTopClip {
        x: 10; y: 10; width: 80; height: 40; radius: 8
        Rectangle { anchors.fill: parent; color: "lime" }
    }
})",
                      QUrl(QStringLiteral("qrc:/Ostrel/Test.qml")));
    window.reset(qobject_cast<QQuickWindow*>(component.create()));
    ASSERT_TRUE(window) << component.errorString().toStdString();
    ASSERT_EQ(window->rendererInterface()->graphicsApi(), QSGRendererInterface::Software);
    window->show();
    ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
    const QImage shot = window->grabWindow();
    for (const QPoint p : {QPoint(10, 10), QPoint(50, 10), QPoint(89, 10), QPoint(50, 49)})
        EXPECT_EQ(shot.pixelColor(p), QColor(Qt::green)) << p.x() << "," << p.y();
    EXPECT_EQ(shot.pixelColor(9, 10), QColor(Qt::red));
}
