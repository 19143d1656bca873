#include "imaging/Stabilizer.h"
#include "settings/SettingsStore.h"
#include "support/SyntheticMedia.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

namespace {

constexpr int FW = 1280; // frame size of the tests' Macro camera
constexpr int FH = 720;
constexpr double defaultMargin = 0.15 / 2.3; // zoom 1.15
constexpr double defaultMaxStep = defaultMargin * 0.12;

double margin(double zoom) {
    return (zoom - 1.0) / (2.0 * zoom);
}

class StabilizerTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    SettingsStore settings{dir.filePath(QStringLiteral("settings.ini"))};
    Stabilizer stabilizer{settings, [] { return 1000.0; }}; // seconds: a clock that stands
    double cameraX = 0;
    double cameraY = 0;

    // The next frame after the camera moved by (dx, dy) pixels.
    StabilizationResult move(double dx, double dy, int source = 1) {
        cameraX += dx;
        cameraY += dy;
        return stabilizer.stabilize(synthetic::sceneAt(FW, FH, cameraX, cameraY), source);
    }

    // A steady pan of 8 px per frame (gate open) builds up a clear positive x correction.
    StabilizationResult buildCorrection() {
        stabilizer.setEnabled(true);
        move(0, 0);
        StabilizationResult r;
        for (int i = 0; i < 12; ++i)
            r = move(8, 0);
        return r;
    }
};

} // namespace

TEST_F(StabilizerTest, FirstFrameAfterSwitchingOnGivesZeroThenTheFirstCorrection) {
    StabilizationResult r = move(0, 0);
    EXPECT_EQ(r.offset, QPointF(0, 0));
    EXPECT_EQ(r.zoom, 1.0);
    EXPECT_EQ(stabilizer.currentZoom(), 1.0);

    stabilizer.setEnabled(true);
    EXPECT_TRUE(stabilizer.needsReset());
    EXPECT_DOUBLE_EQ(stabilizer.currentZoom(), 1.15);
    r = move(5, 5);
    EXPECT_FALSE(stabilizer.needsReset());
    EXPECT_EQ(r.offset, QPointF(0, 0));
    EXPECT_DOUBLE_EQ(r.zoom, 1.15);

    // Camera 4 px right and 2 px up: raw path (4, 2) in the turned picture's y-up axes,
    // smoothed 0.15 of it, gate open, gain 0.5. The crop follows the content, in fractions of
    // the frame: on the turned picture the content moved right and up.
    r = move(4, -2);
    EXPECT_NEAR(r.offset.x(), 0.5 * 0.85 * 4 / FW, 5e-5);
    EXPECT_NEAR(r.offset.y(), 0.5 * 0.85 * 2 / FH, 5e-5);
    EXPECT_DOUBLE_EQ(r.zoom, 1.15);
}

TEST_F(StabilizerTest, ATenPercentJumpClosesTheGateAndTheOffsetReturnsAtMaxStep) {
    double previous = buildCorrection().offset.x();
    ASSERT_GT(previous, 1.5 * defaultMaxStep);

    // 10 % of the width in one frame: the envelope is capped at 4.2 %, the gate is shut and the
    // target is 0, so the offset moves back by exactly maxStep.
    StabilizationResult r = move(0.10 * FW, 0);
    EXPECT_NEAR(r.offset.x(), previous - defaultMaxStep, 1e-12);
    previous = r.offset.x();
    // Standing still, the envelope decays from 4.2 % by 0.9 per frame: the gate stays shut
    // (offset exactly 0 once it got there) for six frames and opens a crack at the seventh.
    r = move(0, 0);
    EXPECT_NEAR(r.offset.x(), std::max(previous - defaultMaxStep, 0.0), 1e-12);
    for (int i = 2; i <= 6; ++i) {
        r = move(0, 0);
        EXPECT_EQ(r.offset.x(), 0.0) << i;
    }
    r = move(0, 0);
    EXPECT_GT(r.offset.x(), 1e-7);
    EXPECT_LT(r.offset.x(), 1e-4);
}

TEST_F(StabilizerTest, SourceChangeResetRequestAndSwitchingOffStartAfresh) {
    ASSERT_GT(buildCorrection().offset.x(), 0.0);
    // The Macro camera index changes: paths and reference are dropped before this frame.
    StabilizationResult r = move(8, 0, 0);
    EXPECT_EQ(r.offset, QPointF(0, 0));
    EXPECT_DOUBLE_EQ(r.zoom, 1.15);
    r = move(4, 0, 0);
    EXPECT_NEAR(r.offset.x(), 0.5 * 0.85 * 4 / FW, 5e-5) << "a fresh path, not the old one";

    buildCorrection();
    stabilizer.requestReset();
    EXPECT_EQ(move(8, 0).offset, QPointF(0, 0));

    buildCorrection();
    stabilizer.setEnabled(false);
    r = move(8, 0);
    EXPECT_EQ(r.offset, QPointF(0, 0));
    EXPECT_EQ(r.zoom, 1.0);
    stabilizer.setEnabled(true);
    EXPECT_EQ(move(8, 0).offset, QPointF(0, 0));
}

TEST_F(StabilizerTest, BadFramesKeepTheLastOffset) {
    const QPointF built = buildCorrection().offset;
    ASSERT_GT(built.x(), 0.0);
    // Too small in either dimension, no picture at all, or a failed registration (flat picture):
    // not measured, offset unchanged.
    for (const PixelBuffer& bad :
         {synthetic::flatFrame(959, 720, 50), synthetic::flatFrame(1280, 539, 50), PixelBuffer(),
          synthetic::flatFrame(FW, FH, 50)}) {
        const StabilizationResult r = stabilizer.stabilize(bad, 1);
        EXPECT_EQ(r.offset, built);
        EXPECT_DOUBLE_EQ(r.zoom, 1.15);
    }
}

TEST_F(StabilizerTest, AbsurdSettingsStayInsideTheFrame) {
    stabilizer.setEnabled(true);
    cv::RNG rng(8);
    // Absurd values are limited to what the sliders offer: gain 8, smoothing 0.985, zoom 1.0.
    settings.setStabGain(1e9);
    settings.setStabSmoothing(2.0);
    settings.setStabCropZoom(0.5);
    settings.setStabLead(-40.0);
    EXPECT_EQ(stabilizer.currentZoom(), 1.0);
    for (int i = 0; i < 8; ++i) {
        const StabilizationResult r = move(rng.uniform(-12.0, 12.0), rng.uniform(-12.0, 12.0));
        EXPECT_EQ(r.offset, QPointF(0, 0));
        EXPECT_EQ(r.zoom, 1.0);
    }
    settings.setStabCropZoom(1e6);
    settings.setStabLead(1e9);
    double largest = 0;
    for (int i = 0; i < 40; ++i) {
        const double step = i % 10 == 9 ? 90.0 : rng.uniform(-15.0, 15.0);
        const StabilizationResult r = move(step, rng.uniform(-15.0, 15.0));
        ASSERT_TRUE(std::isfinite(r.offset.x()) && std::isfinite(r.offset.y()));
        EXPECT_DOUBLE_EQ(r.zoom, 1.35);
        EXPECT_LT(std::abs(r.offset.x()), margin(1.35));
        EXPECT_LT(std::abs(r.offset.y()), margin(1.35));
        largest = std::max(largest, std::abs(r.offset.x()));
    }
    EXPECT_GT(largest, 0.5 * margin(1.35)) << "the strong gain did correct";

    // Lowering the zoom pulls a large offset inside the new, smaller margin at once.
    settings.setStabCropZoom(1.02);
    const StabilizationResult r = stabilizer.stabilize(synthetic::flatFrame(FW, 100, 0), 1);
    EXPECT_LE(std::abs(r.offset.x()), margin(1.02));
    EXPECT_LE(std::abs(r.offset.y()), margin(1.02));
}

TEST_F(StabilizerTest, SwitchingFromAnotherThreadWhileMeasuring) {
    std::atomic<bool> done = false;
    std::thread ui([&] {
        int i = 0;
        while (!done) {
            stabilizer.setEnabled(i % 3 != 0);
            if (i % 5 == 0)
                stabilizer.requestReset();
            const double zoom = stabilizer.currentZoom();
            EXPECT_TRUE(zoom == 1.0 || zoom == 1.15);
            ++i;
            std::this_thread::yield();
        }
    });
    cv::RNG rng(2);
    for (int i = 0; i < 25; ++i) {
        const StabilizationResult r = move(rng.uniform(-10.0, 10.0), rng.uniform(-10.0, 10.0));
        EXPECT_LE(std::abs(r.offset.x()), defaultMargin);
        EXPECT_TRUE(r.zoom == 1.0 || r.zoom == 1.15);
    }
    done = true;
    ui.join();
}
