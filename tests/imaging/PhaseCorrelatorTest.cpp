#include "imaging/PhaseCorrelator.h"
#include "support/SyntheticMedia.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr int W = 960;
constexpr int H = 540;

PixelBuffer view(double cameraX, double cameraY) {
    return synthetic::sceneAt(W, H, cameraX, cameraY);
}

} // namespace

// Built without interpolation: the target's content lies 7 px further right and 3 px further
// down than the reference's, so aligning the target onto the reference takes (−7, −3).
TEST(PhaseCorrelator, SignAlignsTheTargetOntoTheReference) {
    const PixelBuffer reference = view(0, 0);
    PixelBuffer target = PixelBuffer::allocate(W, H);
    for (int y = 0; y < H; ++y) {
        const int sy = std::clamp(y - 3, 0, H - 1);
        for (int x = 0; x < W; ++x) {
            const int sx = std::clamp(x - 7, 0, W - 1);
            std::memcpy(target.row(y) + 4 * x, reference.row(sy) + 4 * sx, 4);
        }
    }
    PhaseCorrelator correlator(W, H);
    ASSERT_TRUE(correlator.setReference(reference));
    const auto shift = correlator.measure(target);
    ASSERT_TRUE(shift);
    EXPECT_NEAR(shift->x, -7.0, 0.05);
    EXPECT_NEAR(shift->y, -3.0, 0.05);
    EXPECT_GT(shift->response, 0.3);

    // Measuring the reference again against the target (now the reference) reverses the sign.
    const auto back = correlator.measure(reference);
    ASSERT_TRUE(back);
    EXPECT_NEAR(back->x, 7.0, 0.05);
    EXPECT_NEAR(back->y, 3.0, 0.05);
}

// Large shifts are found at half resolution; the refinement window is then cut from the target
// far from the centre, and clamped at the picture's edge for the largest.
TEST(PhaseCorrelator, MeasuresSubPixelShiftsThroughNoiseBrightnessAndTheRefinement) {
    const struct {
        double x, y;
        bool noise;
        double brightness;
    } cases[] = {
        {0.25, -0.5, true, 1},    {12.75, 3.4, true, 1},   {-39.6, 38.2, true, 1},
        {-5.1, -22.9, true, 1},   {31.5, -0.3, true, 1},   {4.5, -2.25, false, 0.55},
        {-120.3, 60.6, false, 1}, {230.5, -2.2, false, 1}, {0.4, -150.7, false, 1},
    };
    cv::RNG rng(3);
    PhaseCorrelator correlator(W, H);
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.x << ", " << c.y);
        PixelBuffer reference = view(0, 0);
        PixelBuffer target = view(c.x, c.y);
        if (c.noise) {
            synthetic::addSensorNoise(reference, rng);
            synthetic::addSensorNoise(target, rng);
        }
        synthetic::scaleBrightness(target, c.brightness);
        correlator.setReference(reference);
        const auto shift = correlator.measure(target);
        ASSERT_TRUE(shift);
        EXPECT_NEAR(shift->x, c.x, 0.15);
        EXPECT_NEAR(shift->y, c.y, 0.15);
    }
}

TEST(PhaseCorrelator, GivesNothingWithoutTextureOrMatch) {
    cv::RNG rng(9);
    PhaseCorrelator correlator(W, H);
    EXPECT_FALSE(correlator.measure(view(0, 0))) << "no reference yet";

    // Flat grey on either side.
    EXPECT_FALSE(correlator.measure(synthetic::flatFrame(W, H, 128)));
    EXPECT_FALSE(correlator.measure(view(1, 1))) << "reference was flat";
    EXPECT_TRUE(correlator.measure(view(2, 1))) << "two textured frames again";

    // Two unrelated noise pictures have no common peak.
    correlator.setReference(synthetic::noiseFrame(W, H, rng));
    EXPECT_FALSE(correlator.measure(synthetic::noiseFrame(W, H, rng)));

    // A picture of the wrong size is refused and leaves the reference alone.
    correlator.setReference(view(0, 0));
    EXPECT_FALSE(correlator.measure(synthetic::flatFrame(W / 2, H, 10)));
    EXPECT_FALSE(correlator.setReference(PixelBuffer()));
    const auto shift = correlator.measure(view(-3, 0));
    ASSERT_TRUE(shift);
    EXPECT_NEAR(shift->x, -3, 0.1);

    correlator.clearReference();
    EXPECT_FALSE(correlator.measure(view(0, 0)));
}
