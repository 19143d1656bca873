#include "recording/CompositeRenderer.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <utility>

namespace {

// Wide: red, green / blue, white. Macro: cyan, magenta / yellow, grey. After the half turn the
// top-left of each picture shows its bottom-right colour.
PixelBuffer wideQuadrants(int w = 1920, int h = 1080) {
    return quadrants(w, h, {red, green, blue, white});
}
PixelBuffer macroQuadrants(int w = 1920, int h = 1080) {
    return quadrants(w, h, {cyan, magenta, yellow, grey});
}

CompositeInputs inputsFor(const PixelBuffer& wide, const PixelBuffer& macro, int W, int H,
                          double fraction) {
    CompositeInputs in;
    in.wide = {double(wide.width()), double(wide.height())};
    if (macro)
        in.macro = SizeD{double(macro.width()), double(macro.height())};
    in.canvas = {double(W), double(H)};
    in.macroFraction = fraction;
    return in;
}

PixelBuffer renderComposite(const CompositeInputs& in, const CompositeSources& sources) {
    CompositeRenderer renderer;
    PixelBuffer canvas = PixelBuffer::allocate(int(in.canvas.width), int(in.canvas.height));
    EXPECT_TRUE(renderer.render(composeFrame(in), sources, canvas));
    return canvas;
}

bool near(Bgra a, Bgra b, int tolerance = 2) {
    return std::abs(a.b - b.b) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
           std::abs(a.r - b.r) <= tolerance && std::abs(a.a - b.a) <= tolerance;
}

} // namespace

TEST(CompositeRenderer, ZoomCropsTheMacroAndOffsetsUncoverTheWide) {
    const PixelBuffer wide = solid(1920, 1080, blue);
    // Macro: a 100-pixel red frame around green. Zoom 1.15 cuts 125 × 70 pixels from each side.
    PixelBuffer macro = solid(1920, 1080, red);
    fillRect(macro, 100, 60, 1820, 1020, green);
    CompositeInputs in = inputsFor(wide, macro, 1920, 1080, 0.3);

    in.macroZoom = 0.8; // counts as 1: the red frame is visible at the inset edge
    PixelBuffer out = renderComposite(in, {wide, macro, {}});
    EXPECT_EQ(pixelAt(out, 672, 756), red);
    EXPECT_EQ(pixelAt(out, 960, 900), green);
    in.macroZoom = 1.0;
    const PixelBuffer same = renderComposite(in, {wide, macro, {}});
    for (int y = 756; y < 1080; y += 7)
        for (int x = 672; x < 1248; x += 5)
            ASSERT_EQ(pixelAt(out, x, y), pixelAt(same, x, y));

    in.macroZoom = 1.15; // the central 1/1.15 only: no red anywhere in the inset
    out = renderComposite(in, {wide, macro, {}});
    for (int y = 756; y < 1080; ++y)
        for (int x = 672; x < 1248; ++x)
            ASSERT_EQ(pixelAt(out, x, y), green) << x << "," << y;

    // Offset up by 0.1 of the height: the crop leaves the frame's top by 37.6 source rows,
    // 13 inset rows, where the Wide picture shows through.
    in.macroOffset = {0, 0.1};
    out = renderComposite(in, {wide, macro, {}});
    EXPECT_EQ(pixelAt(out, 960, 756), blue);
    EXPECT_EQ(pixelAt(out, 960, 766), blue);
    EXPECT_EQ(pixelAt(out, 960, 770), red); // the frame's turned bottom edge: inset rows 13…33
    EXPECT_EQ(pixelAt(out, 960, 788), red);
    EXPECT_EQ(pixelAt(out, 960, 1000), green);

    // Pushed fully outside: the whole inset place shows the Wide picture.
    in.macroOffset = {3, -3};
    out = renderComposite(in, {wide, macro, {}});
    for (int y = 756; y < 1080; y += 3)
        for (int x = 672; x < 1248; x += 3)
            ASSERT_EQ(pixelAt(out, x, y), blue);
}

TEST(CompositeRenderer, OverlayIsLaidOverPremultiplied) {
    const PixelBuffer wide = solid(1920, 1080, white);
    PixelBuffer overlay = solid(1920, 1080, Bgra{0, 0, 0, 0});
    fillRect(overlay, 100, 100, 200, 200, Bgra{0, 0, 0, 128});   // half-transparent black
    fillRect(overlay, 300, 300, 400, 400, Bgra{0, 0, 200, 200}); // mostly opaque red
    CompositeInputs in = inputsFor(wide, {}, 1920, 1080, 0.3);
    in.overlay = SizeD{1920, 1080};
    const PixelBuffer out = renderComposite(in, {wide, {}, overlay});
    EXPECT_TRUE(near(pixelAt(out, 150, 150), Bgra{127, 127, 127, 255}, 1));
    EXPECT_TRUE(near(pixelAt(out, 350, 350), Bgra{55, 55, 255, 255}, 1));
    EXPECT_EQ(pixelAt(out, 250, 250), white);

    // Over a single 1280 × 720 photo the overlay is scaled by 2/3.
    const PixelBuffer photo = solid(1280, 720, white);
    CompositeRenderer renderer;
    const PixelBuffer stamped = renderer.renderImage(
        stampOverlay(sourceLayer(LayerSource::wide, {1280, 720}), SizeD{1920, 1080}),
        {photo, {}, overlay});
    ASSERT_EQ(stamped.width(), 1280);
    EXPECT_TRUE(near(pixelAt(stamped, 100, 100), Bgra{127, 127, 127, 255}, 1));
    EXPECT_EQ(pixelAt(stamped, 150, 150), white);
    EXPECT_TRUE(near(pixelAt(stamped, 233, 233), Bgra{55, 55, 255, 255}, 1));
}

TEST(CompositeRenderer, BadInputStillGivesADefinedPicture) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const PixelBuffer wides[] = {wideQuadrants(1, 1), wideQuadrants(1440, 1080),
                                 wideQuadrants(3840, 2160), wideQuadrants(1921, 1081),
                                 wideQuadrants(7, 3)};
    const PixelBuffer macros[] = {PixelBuffer(), macroQuadrants(1, 1), macroQuadrants(641, 479),
                                  macroQuadrants(3840, 2160)};
    struct Case {
        double fraction, zoom;
        PointD offset;
    };
    const Case cases[] = {{0.3, 1.0, {0, 0}},          {0.0, 0.0, {0.9, 0.9}},
                          {2.0, 0.5, {-50, 50}},       {nan, nan, {nan, nan}},
                          {-1, 40.0, {1e300, -1e300}}, {0.7, 1.15, {0.2, -0.7}}};
    CompositeRenderer renderer;
    PixelBuffer canvas = PixelBuffer::allocate(640, 360);
    Yuv420Buffer yuv = Yuv420Buffer::allocate(640, 360);
    for (const PixelBuffer& wide : wides)
        for (const PixelBuffer& macro : macros)
            for (const Case& c : cases) {
                CompositeInputs in = inputsFor(wide, macro, 640, 360, c.fraction);
                in.macroZoom = c.zoom;
                in.macroOffset = c.offset;
                const CompositePlan plan = composeFrame(in);
                ASSERT_TRUE(renderer.render(plan, {wide, macro, {}}, canvas));
                ASSERT_TRUE(renderer.renderYuv420(plan, {wide, macro, {}}, yuv));
                // The turned Wide always reaches the top-left corner.
                ASSERT_EQ(pixelAt(canvas, 0, 0), white);
            }
    canvas = PixelBuffer::allocate(1920, 1080);
    // An empty picture, an empty plan, a null canvas and odd canvases.
    CompositeInputs in = inputsFor(wideQuadrants(), {}, 1920, 1080, 0.3);
    in.wide = {0, 0};
    ASSERT_TRUE(renderer.render(composeFrame(in), {PixelBuffer(), {}, {}}, canvas));
    EXPECT_EQ(pixelAt(canvas, 960, 540), black);
    EXPECT_FALSE(renderer.render(composeFrame(in), {}, PixelBuffer()));
    EXPECT_FALSE(renderer.renderYuv420(composeFrame(in), {}, Yuv420Buffer()));
    for (auto [W, H] : {std::pair{1, 1}, std::pair{1921, 1081}, std::pair{3, 2}}) {
        const PixelBuffer wide = wideQuadrants();
        const PixelBuffer macro = macroQuadrants();
        CompositeInputs odd = inputsFor(wide, macro, W, H, 0.3);
        const PixelBuffer out = renderer.renderImage(composeFrame(odd), {wide, macro, {}});
        ASSERT_EQ(out.width(), W);
        EXPECT_EQ(pixelAt(out, 0, 0).a, 255);
    }
    in.canvas = {nan, 1080};
    EXPECT_TRUE(renderer.renderImage(composeFrame(in), {}).isNull());
}

TEST(CompositeRenderer, WatermarkOverYuvIsTheSameWhereverItComesFrom) {
    // A canvas-sized watermark is prepared once and reused; it must give exactly the planes the
    // general blend gives for the same pixels taken from a larger picture. Clear pixels with
    // stray colour bytes and half-covered chroma blocks included.
    const int W = 640, H = 360;
    PixelBuffer wide = PixelBuffer::allocate(W, H);
    PixelBuffer big = solid(W, H + 2, Bgra{0, 0, 0, 0});
    PixelBuffer exact = PixelBuffer::allocate(W, H);
    unsigned seed = 7;
    auto next = [&] { return (seed = seed * 1103515245u + 12345u) >> 16; };
    for (int y = 0; y < H; ++y)
        for (int x = 0; x < W; ++x) {
            fillRect(wide, x, y, x + 1, y + 1,
                     Bgra{std::uint8_t(next()), std::uint8_t(next()), std::uint8_t(next()), 255});
            if (y < 200 || next() % 3 == 0)
                continue;
            const std::uint8_t a = std::uint8_t(next() % 256);
            Bgra p{std::uint8_t(next() % (a + 1)), std::uint8_t(next() % (a + 1)),
                   std::uint8_t(next() % (a + 1)), a};
            if (a == 0)
                p.r = 200;
            fillRect(big, x, y, x + 1, y + 1, p);
        }
    for (int y = 0; y < H; ++y)
        std::copy(big.row(y), big.row(y) + 4 * W, exact.row(y));
    const RectD all{0, 0, double(W), double(H)};
    CompositePlan plan;
    plan.size = {double(W), double(H)};
    plan.layers.push_back(sourceLayer(LayerSource::wide, {double(W), double(H)}));
    CompositePlan fromBig = plan;
    fromBig.layers.push_back(
        cropped(sourceLayer(LayerSource::overlay, {double(W), double(H + 2)}), all));
    plan.layers.push_back(cropped(sourceLayer(LayerSource::overlay, {double(W), double(H)}), all));

    CompositeRenderer renderer;
    Yuv420Buffer a = Yuv420Buffer::allocate(W, H);
    Yuv420Buffer b = Yuv420Buffer::allocate(W, H);
    // The second time from the prepared watermark, the third after the renderer let it go (as
    // between two recordings).
    for (int round = 0; round < 3; ++round) {
        if (round == 2)
            renderer.releaseCaches();
        ASSERT_TRUE(renderer.renderYuv420(plan, {wide, {}, exact}, a));
        ASSERT_TRUE(renderer.renderYuv420(fromBig, {wide, {}, big}, b));
        ASSERT_EQ(std::memcmp(a.plane(0), b.plane(0), std::size_t(W * H * 3 / 2)), 0);
    }
}
