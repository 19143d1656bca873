#include "recording/CompositeLayout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

void expectRect(const RectD& r, double x, double y, double w, double h) {
    EXPECT_DOUBLE_EQ(r.x, x);
    EXPECT_DOUBLE_EQ(r.y, y);
    EXPECT_DOUBLE_EQ(r.width, w);
    EXPECT_DOUBLE_EQ(r.height, h);
}

CompositeInputs inputs(double W, double H, double fraction) {
    CompositeInputs in;
    in.wide = {1920, 1080};
    in.macro = SizeD{1920, 1080};
    in.canvas = {W, H};
    in.macroFraction = fraction;
    return in;
}

} // namespace

TEST(CompositeLayout, InsetSitsAtTheBottomCentreWithTheExampleSizes) {
    expectRect(insetRect(inputs(1920, 1080, 0.3)), 672, 756, 576, 324);
    expectRect(insetRect(inputs(2560, 1440, 0.3)), 896, 1008, 768, 432);
    expectRect(insetRect(inputs(2560, 1440, 0.1)), 1152, 1296, 256, 144);
    expectRect(insetRect(inputs(1920, 1080, 0.7)), 288, 324, 1344, 756);
    // The macro layer's extent is exactly that rectangle.
    const CompositePlan plan = composeFrame(inputs(1920, 1080, 0.3));
    ASSERT_EQ(plan.layers.size(), 2u);
    expectRect(plan.layers[1].extent(), 672, 756, 576, 324);
    expectRect(plan.layers[0].extent(), 0, 0, 1920, 1080);
}

TEST(CompositeLayout, HalvesRoundAwayFromZero) {
    // 200 × 9 / 16 = 112.5 → 113, not the even neighbour 112.
    const SizeD s = insetSize(1920, 200.0 / 1920.0);
    EXPECT_EQ(s.width, 200);
    EXPECT_EQ(s.height, 113);
    EXPECT_EQ(insetSize(1000, 0.5).width, 500);
    EXPECT_EQ(insetSize(2, 0.25).width, 1); // 0.5 → 1
    // The inset's x rounds the same way: (1921 − 576) / 2 = 672.5 → 673.
    expectRect(insetRect(inputs(1921, 1080, 0.3)), 673, 756, 576, 324);
}

TEST(CompositeLayout, HalfTurnAndAspectFillMapPointsAsSpecified) {
    const ImageLayer turned = halfTurn(sourceLayer(LayerSource::wide, {100, 50}));
    const PointD p = turned.transform.map(PointD{10, 5});
    EXPECT_DOUBLE_EQ(p.x, 90);
    EXPECT_DOUBLE_EQ(p.y, 45);
    expectRect(turned.extent(), 0, 0, 100, 50);

    // 1280 × 720 scales by 1.5 and fills 1920 × 1080 exactly.
    const ImageLayer hd = aspectFill(sourceLayer(LayerSource::wide, {1280, 720}), 1920, 1080);
    EXPECT_DOUBLE_EQ(hd.transform.sx, 1.5);
    expectRect(hd.extent(), 0, 0, 1920, 1080);
    // 4:3 is scaled to the width and cut equally at top and bottom.
    const ImageLayer old = aspectFill(sourceLayer(LayerSource::wide, {1440, 1080}), 1920, 1080);
    const RectD whole = old.transform.map(RectD{0, 0, 1440, 1080});
    expectRect(whole, 0, -180, 1920, 1440);
    expectRect(old.extent(), 0, 0, 1920, 1080);
    // An empty picture passes unchanged.
    const ImageLayer empty = sourceLayer(LayerSource::wide, {0, 0});
    EXPECT_DOUBLE_EQ(aspectFill(empty, 1920, 1080).transform.sx, 1);
    EXPECT_TRUE(aspectFill(empty, 1920, 1080).extent().isEmpty());
}

TEST(CompositeLayout, MacroCropFollowsZoomAndOffset) {
    const ImageLayer m = halfTurn(sourceLayer(LayerSource::macro, {1920, 1080}));
    // Zoom below 1 counts as 1: the whole frame covers the inset.
    const ImageLayer a = macroInset(m, 576, 324, 0.8, {0, 0});
    const ImageLayer b = macroInset(m, 576, 324, 1.0, {0, 0});
    EXPECT_DOUBLE_EQ(a.transform.sx, b.transform.sx);
    EXPECT_DOUBLE_EQ(a.transform.tx, b.transform.tx);
    expectRect(a.transform.map(RectD{0, 0, 1920, 1080}), 0, 0, 576, 324);
    // Zoom 1.15: the central 1/1.15 of the frame fills the inset.
    const ImageLayer z = macroInset(m, 576, 324, 1.15, {0, 0});
    const RectD frame = z.transform.map(RectD{0, 0, 1920, 1080});
    EXPECT_NEAR(frame.width, 576 * 1.15, 1e-9);
    EXPECT_NEAR(frame.x, -(576 * 1.15 - 576) / 2, 1e-9);
    EXPECT_NEAR(frame.y, -(324 * 1.15 - 324) / 2, 1e-9);
    // Positive x shifts the crop right on the frame (the frame moves left in the inset), a
    // positive y shifts it up (the frame moves down).
    const ImageLayer s = macroInset(m, 576, 324, 1.15, {0.1, 0.1});
    const RectD moved = s.transform.map(RectD{0, 0, 1920, 1080});
    EXPECT_NEAR(moved.x, frame.x - 0.1 * 576 * 1.15, 1e-9);
    EXPECT_NEAR(moved.y, frame.y + 0.1 * 324 * 1.15, 1e-9);
}

TEST(CompositeLayout, StampOverlayStretchesTheOverlayOverTheImage) {
    const ImageLayer image = sourceLayer(LayerSource::wide, {1280, 720});
    const CompositePlan plan = stampOverlay(image, SizeD{1920, 1080});
    ASSERT_EQ(plan.layers.size(), 2u);
    EXPECT_DOUBLE_EQ(plan.layers[1].transform.sx, 2.0 / 3.0);
    EXPECT_DOUBLE_EQ(plan.layers[1].transform.sy, 2.0 / 3.0);
    expectRect(plan.layers[1].extent(), 0, 0, 1280, 720);
    // Different aspect ratios: stretched independently.
    const CompositePlan odd =
        stampOverlay(sourceLayer(LayerSource::wide, {640, 480}), SizeD{1920, 1080});
    expectRect(odd.layers[1].extent(), 0, 0, 640, 480);
    EXPECT_EQ(stampOverlay(image, std::nullopt).layers.size(), 1u);
    EXPECT_EQ(stampOverlay(image, SizeD{0, 1080}).layers.size(), 1u);
}

TEST(CompositeLayout, BadValuesGiveADefinedLayout) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    CompositeInputs in = inputs(1920, 1080, nan);
    expectRect(insetRect(in), 672, 756, 576, 324); // NaN fraction: the default 0.3
    in.macroFraction = 5;
    expectRect(insetRect(in), 288, 324, 1344, 756); // clamped to 0.7
    in.macroFraction = 0.01;
    EXPECT_DOUBLE_EQ(insetRect(in).width, 192); // clamped to 0.1
    in.macroFraction = 0.3;
    in.macroZoom = nan;
    in.macroOffset = {inf, nan};
    for (const ImageLayer& layer : composeFrame(in).layers) {
        const RectD e = layer.extent();
        EXPECT_TRUE(std::isfinite(e.x) && std::isfinite(e.width));
    }
    expectRect(composeFrame(in).layers[1].extent(), 672, 756, 576, 324);
    // Offsets beyond the frame leave an empty inset.
    in.macroZoom = 1.15;
    in.macroOffset = {5, -5};
    EXPECT_TRUE(composeFrame(in).layers[1].extent().isEmpty());
    // A broken canvas gives no layers at all.
    EXPECT_TRUE(composeFrame(inputs(nan, 1080, 0.3)).layers.empty());
    EXPECT_TRUE(composeFrame(inputs(0, 0, 0.3)).layers.empty());
    EXPECT_TRUE(insetRect(inputs(-5, 1080, 0.3)).isEmpty());
}
