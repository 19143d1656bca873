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

TEST(PhaseCorrelator, MeasuresSubPixelShiftsWithSensorNoise) {
    cv::RNG rng(3);
    PhaseCorrelator correlator(W, H);
    const double shifts[][2] = {
        {0.25, -0.5}, {12.75, 3.4}, {-39.6, 38.2}, {-5.1, -22.9}, {31.5, -0.3}};
    PixelBuffer previous = view(0, 0);
    synthetic::addSensorNoise(previous, rng);
    correlator.setReference(previous);
    double cameraX = 0, cameraY = 0;
    for (const auto& s : shifts) {
        cameraX += s[0];
        cameraY += s[1];
        PixelBuffer next = view(cameraX, cameraY);
        synthetic::addSensorNoise(next, rng);
        // Each measurement is against the frame before (the kept spectrum).
        const auto shift = correlator.measure(next);
        ASSERT_TRUE(shift);
        EXPECT_NEAR(shift->x, s[0], 0.15) << s[0] << ", " << s[1];
        EXPECT_NEAR(shift->y, s[1], 0.15) << s[0] << ", " << s[1];
    }
}

TEST(PhaseCorrelator, IgnoresABrightnessChange) {
    PixelBuffer reference = view(0, 0);
    PixelBuffer target = view(4.5, -2.25);
    synthetic::scaleBrightness(target, 0.55);
    PhaseCorrelator correlator(W, H);
    correlator.setReference(reference);
    const auto shift = correlator.measure(target);
    ASSERT_TRUE(shift);
    EXPECT_NEAR(shift->x, 4.5, 0.15);
    EXPECT_NEAR(shift->y, -2.25, 0.15);
}

// The coarse half-resolution measurement finds it; the refinement window is cut from the
// target far from the centre, and clamped at the picture's edge for the largest.
TEST(PhaseCorrelator, MeasuresLargeShiftsThroughTheRefinement) {
    PhaseCorrelator correlator(W, H);
    for (const auto& s :
         {std::pair{-120.3, 60.6}, std::pair{230.5, -2.2}, std::pair{0.4, -150.7}}) {
        correlator.setReference(view(0, 0));
        const auto shift = correlator.measure(view(s.first, s.second));
        ASSERT_TRUE(shift) << s.first << ", " << s.second;
        EXPECT_NEAR(shift->x, s.first, 0.15) << s.first << ", " << s.second;
        EXPECT_NEAR(shift->y, s.second, 0.15) << s.first << ", " << s.second;
    }
}

TEST(PhaseCorrelator, GivesNothingWithoutTextureOrMatch) {
    cv::RNG rng(9);
    PhaseCorrelator correlator(W, H);
    EXPECT_FALSE(correlator.measure(view(0, 0))) << "no reference yet";
    EXPECT_TRUE(correlator.hasReference());

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
