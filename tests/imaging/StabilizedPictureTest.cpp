// The stabiliser judged by what the user sees: a shaking Macro camera goes through the real
// stabiliser, then through the real compositor (recordings, photos) and the real live view,
// and the inset's residual tremor is measured from the output pixels on both axes.
#include "control/FrameStore.h"
#include "imaging/Stabilizer.h"
#include "recording/CompositeLayout.h"
#include "recording/CompositeRenderer.h"
#include "recording/Watermark.h"
#include "settings/SettingsStore.h"
#include "support/EventLoop.h"
#include "support/PictureMotion.h"
#include "support/SyntheticMedia.h"
#include "ui/main/LiveCameraView.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QtQml/qqmlextensionplugin.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <numbers>
#include <vector>

Q_IMPORT_QML_PLUGIN(OstrelPlugin)

namespace {

constexpr int FW = 1280;
constexpr int FH = 720;
constexpr double fps = 30;
constexpr int frameCount = 120;

// A head-worn camera: tremor of 8 to 12 Hz on both axes, 0.3 % of the width each (the gate
// stays open), over a slow deliberate look to the lower right.
cv::Point2d cameraAt(double t) {
    using std::numbers::pi;
    const double amplitude = 0.003 * FW;
    const double phaseX = 2 * pi * (10.0 * t - 2.0 / (2 * pi * 0.3) * std::cos(2 * pi * 0.3 * t));
    const double phaseY =
        2 * pi * (10.0 * t - 2.0 / (2 * pi * 0.4) * std::sin(2 * pi * 0.4 * t)) + 1.1;
    const double look = 0.5 - 0.5 * std::cos(pi * std::clamp(t / 4.0, 0.0, 1.0));
    return {90.0 * look + amplitude * std::sin(phaseX), 50.0 * look + amplitude * std::sin(phaseY)};
}

const std::vector<PixelBuffer>& shakingFrames() {
    static const std::vector<PixelBuffer> frames = [] {
        cv::RNG rng(3);
        std::vector<PixelBuffer> out;
        for (int i = 0; i < frameCount; ++i) {
            const cv::Point2d c = cameraAt(i / fps);
            out.push_back(synthetic::sceneAt(FW, FH, c.x, c.y));
            synthetic::addSensorNoise(out.back(), rng);
        }
        return out;
    }();
    return frames;
}

// What the real stabiliser hands out for each frame, at the default tuning.
std::vector<StabilizationResult> stabilise(bool on) {
    QTemporaryDir dir;
    SettingsStore settings(dir.filePath(QStringLiteral("settings.ini")));
    Stabilizer stabilizer(settings);
    stabilizer.setEnabled(on);
    std::vector<StabilizationResult> results;
    for (const PixelBuffer& frame : shakingFrames())
        results.push_back(stabilizer.stabilize(frame, 1));
    pumpPosted(); // the switch-on log entry
    return results;
}

// The Macro inset of the recording and the "Ansicht" photo, as the compositor draws it.
synthetic::AxisFigures compositeTremor(const std::vector<StabilizationResult>& results) {
    CompositeRenderer renderer;
    const PixelBuffer wide = synthetic::flatFrame(1920, 1080, 40);
    synthetic::PictureMotion motion;
    for (std::size_t i = 0; i < results.size(); ++i) {
        CompositeInputs inputs;
        inputs.wide = {1920, 1080};
        inputs.macro = SizeD{FW, FH};
        inputs.canvas = {1920, 1080};
        inputs.macroZoom = results[i].zoom;
        inputs.macroOffset = {results[i].offset.x(), results[i].offset.y()};
        const PixelBuffer out =
            renderer.renderImage(composeFrame(inputs), {wide, shakingFrames()[i], {}});
        const RectD inset = insetRect(inputs);
        const double scale = inset.width / (FW / std::max(results[i].zoom, 1.0));
        motion.add(out, cv::Rect(int(inset.x), int(inset.y), int(inset.width), int(inset.height)),
                   scale);
    }
    return motion.residualTremor();
}

// The Macro picture of the main window, drawn by the live view item.
synthetic::AxisFigures liveViewTremor(const std::vector<StabilizationResult>& results) {
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(R"(
import QtQuick
import Ostrel
Window {
    width: 640; height: 360; color: "black"
    LiveCameraView { objectName: "subject"; anchors.fill: parent; index: 1; stabilized: true }
})",
                      QUrl());
    std::unique_ptr<QQuickWindow> window(qobject_cast<QQuickWindow*>(component.create()));
    EXPECT_TRUE(window) << component.errorString().toStdString();
    if (!window)
        return {1e9, 1e9};
    window->show();
    EXPECT_TRUE(pumpUntil([&] { return window->isExposed(); }));
    auto* view = window->findChild<LiveCameraView*>(QStringLiteral("subject"));
    EXPECT_TRUE(view);
    if (!view)
        return {1e9, 1e9};
    synthetic::PictureMotion motion;
    for (std::size_t i = 0; i < results.size(); ++i) {
        FrameStore::shared().store(1, {shakingFrames()[i], results[i].offset, results[i].zoom});
        view->pullFrame();
        const QImage shown = window->grabWindow().convertToFormat(QImage::Format_ARGB32);
        const PixelBuffer pixels = pixelBufferOf(shown);
        const double scale = shown.width() / (FW / std::max(results[i].zoom, 1.0));
        motion.add(pixels, cv::Rect(0, 0, shown.width(), shown.height()), scale);
    }
    FrameStore::shared().clear();
    return motion.residualTremor();
}

// At the default gain the crop takes up half of the tremor: each axis keeps at most 65 %.
void expectSteadier(const synthetic::AxisFigures& off, const synthetic::AxisFigures& on) {
    ASSERT_GT(off.x, 0.5) << "the scene must shake sideways";
    ASSERT_GT(off.y, 0.5) << "the scene must shake up and down";
    EXPECT_LE(on.x / off.x, 0.65) << "sideways: " << on.x << " px left of " << off.x << " px";
    EXPECT_LE(on.y / off.y, 0.65) << "up and down: " << on.y << " px left of " << off.y << " px";
}

} // namespace

TEST(StabilizedPicture, CompositeInsetShakesLessOnBothAxes) {
    const synthetic::AxisFigures off = compositeTremor(stabilise(false));
    const synthetic::AxisFigures on = compositeTremor(stabilise(true));
    std::printf(
        "composite inset, residual tremor (frame px): off x %.2f y %.2f, on x %.2f y %.2f\n", off.x,
        off.y, on.x, on.y);
    expectSteadier(off, on);
}

TEST(StabilizedPicture, LiveViewShakesLessOnBothAxes) {
    const synthetic::AxisFigures off = liveViewTremor(stabilise(false));
    const synthetic::AxisFigures on = liveViewTremor(stabilise(true));
    std::printf("live view, residual tremor (frame px): off x %.2f y %.2f, on x %.2f y %.2f\n",
                off.x, off.y, on.x, on.y);
    expectSteadier(off, on);
}
