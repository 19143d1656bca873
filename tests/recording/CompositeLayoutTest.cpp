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
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        double W, H, fraction;
        RectD inset;
    } cases[] = {
        {1920, 1080, 0.3, {672, 756, 576, 324}},
        {2560, 1440, 0.3, {896, 1008, 768, 432}},
        {2560, 1440, 0.1, {1152, 1296, 256, 144}},
        {1920, 1080, 0.7, {288, 324, 1344, 756}},
        // Halves round away from zero: 200 × 9 / 16 = 112.5 → 113, (1921 − 576) / 2 → 673.
        {1920, 1080, 200.0 / 1920, {860, 967, 200, 113}},
        {1921, 1080, 0.3, {673, 756, 576, 324}},
        // Fractions outside 0.1 … 0.7 are clamped, NaN is the default 0.3.
        {1920, 1080, 5, {288, 324, 1344, 756}},
        {1920, 1080, 0.01, {864, 972, 192, 108}},
        {1920, 1080, nan, {672, 756, 576, 324}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.W << "x" << c.H << " " << c.fraction);
        expectRect(insetRect(inputs(c.W, c.H, c.fraction)), c.inset.x, c.inset.y, c.inset.width,
                   c.inset.height);
    }
    // The macro layer's extent is exactly that rectangle.
    const CompositePlan plan = composeFrame(inputs(1920, 1080, 0.3));
    ASSERT_EQ(plan.layers.size(), 2u);
    expectRect(plan.layers[1].extent(), 672, 756, 576, 324);
    expectRect(plan.layers[0].extent(), 0, 0, 1920, 1080);
    EXPECT_TRUE(insetRect(inputs(-5, 1080, 0.3)).isEmpty());
}

TEST(CompositeLayout, HalfTurnAndAspectFillMapPointsAsSpecified) {
    const ImageLayer turned = halfTurn(sourceLayer(LayerSource::wide, {100, 50}));
    const PointD p = turned.transform.map(PointD{10, 5});
    EXPECT_DOUBLE_EQ(p.x, 90);
    EXPECT_DOUBLE_EQ(p.y, 45);
    expectRect(turned.extent(), 0, 0, 100, 50);

    // 4:3 is scaled to the width and cut equally at top and bottom.
    const ImageLayer old = aspectFill(sourceLayer(LayerSource::wide, {1440, 1080}), 1920, 1080);
    const RectD whole = old.transform.map(RectD{0, 0, 1440, 1080});
    expectRect(whole, 0, -180, 1920, 1440);
    expectRect(old.extent(), 0, 0, 1920, 1080);
}

TEST(CompositeLayout, BadZoomOrOffsetGiveADefinedLayout) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    CompositeInputs in = inputs(1920, 1080, 0.3);
    in.macroZoom = nan;
    in.macroOffset = {inf, nan};
    for (const ImageLayer& layer : composeFrame(in).layers) {
        const RectD e = layer.extent();
        EXPECT_TRUE(std::isfinite(e.x) && std::isfinite(e.width));
    }
    expectRect(composeFrame(in).layers[1].extent(), 672, 756, 576, 324);
    // An empty canvas gives no layers at all.
    EXPECT_TRUE(composeFrame(inputs(0, 0, 0.3)).layers.empty());
}
