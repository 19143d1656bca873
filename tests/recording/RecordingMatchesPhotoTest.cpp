// A recording shows the same picture as the "Ansicht" photo of the same inputs: the same frames
// with the same stabiliser offset go through the real recording engine (encoded, then decoded
// by ffmpeg as a player would, honouring the stream's colour tags) and through the real photo
// job (JPEG), and the two are compared pixel for pixel, including insets at odd positions.
#include "recording/CompositeLayout.h"
#include "recording/MediaProbe.h"
#include "recording/Photos.h"
#include "recording/RecordingEngine.h"
#include "support/EventLoop.h"

#include <QDir>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <memory>

using namespace std::chrono_literals;

namespace {

// A reddish tissue colour, as a flat patch in the Wide picture.
constexpr int patchR = 200, patchG = 90, patchB = 80;

// Soft waves around a base colour (BGR); the Wide picture (dark blue-grey) has the tissue patch
// at (1500…1800, 200…400), which the half turn puts at the left, well away from the inset. The
// Macro picture is bright and warm, so the inset's edges stand out against the Wide picture.
PixelBuffer wavesPicture(bool wide) {
    const int w = wide ? 1920 : 1280, h = wide ? 1080 : 720;
    PixelBuffer p = PixelBuffer::allocate(w, h);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            std::uint8_t* q = p.row(y) + 4 * x;
            const double wave = wide ? 18 * std::sin(x / 41.0) * std::cos(y / 29.0)
                                     : 30 * std::sin(x / 23.0 + y / 31.0);
            const bool patch = wide && x >= 1500 && x < 1800 && y >= 200 && y < 400;
            q[0] = patch ? patchB : std::uint8_t((wide ? 70 : 120) + wave);
            q[1] = patch ? patchG : std::uint8_t((wide ? 45 : 190) + wave);
            q[2] = patch ? patchR : std::uint8_t(wide ? 35 + wave : 215 + wave / 2);
            q[3] = 255;
        }
    return p;
}

struct Inputs {
    int width, height;
    double fraction = 0.33; // odd inset edges on both canvases
    double zoom = 1.15;
    PointD offset{0.03, -0.02};
};

// Records 20 identical frames and returns the file (empty on failure).
QString record(const QTemporaryDir& dir, const Inputs& in, const PixelBuffer& wide,
               const PixelBuffer& macro) {
    RecordingEngine engine;
    const QString file = dir.filePath(QStringLiteral("rec-%1.mp4").arg(in.width));
    if (const auto error = engine.start(file, in.width, in.height, false, {}, in.fraction)) {
        ADD_FAILURE() << error->toStdString();
        return {};
    }
    for (int i = 0; i < 20; ++i) {
        FrameJob job;
        job.wide = wide;
        job.macro = macro;
        job.macroFraction = in.fraction;
        job.macroZoom = in.zoom;
        job.macroOffset = in.offset;
        job.pts = MediaTime(5000s) + i * MediaTime(33'333'333ns);
        engine.enqueueFrame(job);
        engine.waitUntilIdle();
    }
    auto saved = std::make_shared<std::atomic<int>>(0); // 1: saved, -1: not
    engine.stop([saved](std::optional<QString> written, std::optional<QString>) {
        *saved = written ? 1 : -1;
    });
    EXPECT_TRUE(pumpUntil([&] { return *saved != 0; }, 120000));
    return *saved == 1 ? file : QString();
}

QImage ansichtPhoto(const QTemporaryDir& dir, const Inputs& in, const PixelBuffer& wide,
                    const PixelBuffer& macro) {
    const QString folder = dir.filePath(QStringLiteral("photos-%1").arg(in.width));
    QDir().mkpath(folder);
    SnapshotJob job;
    job.wide = wide;
    job.macro = macro;
    job.canvas = {double(in.width), double(in.height)};
    job.macroFraction = in.fraction;
    job.macroZoom = in.zoom;
    job.macroOffset = in.offset;
    job.folder = folder;
    EXPECT_EQ(renderPhotos(job).size(), 3);
    const QStringList found = QDir(folder).entryList({QStringLiteral("*-Ansicht.jpg")});
    if (found.size() != 1)
        return {};
    return QImage(QDir(folder).filePath(found.first())).convertToFormat(QImage::Format_RGB32);
}

double luma(QRgb c) {
    return 0.2126 * qRed(c) + 0.7152 * qGreen(c) + 0.0722 * qBlue(c);
}

// Mean absolute luma difference of the two pictures over a rectangle.
double lumaDifference(const QImage& a, const QImage& b, int x0, int y0, int x1, int y1) {
    double sum = 0;
    for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x)
            sum += std::abs(luma(a.pixel(x, y)) - luma(b.pixel(x, y)));
    return sum / (double(x1 - x0) * (y1 - y0));
}

QRgb meanColour(const QImage& image, int cx, int cy) {
    int r = 0, g = 0, b = 0;
    for (int y = cy - 4; y <= cy + 4; ++y)
        for (int x = cx - 4; x <= cx + 4; ++x) {
            r += qRed(image.pixel(x, y));
            g += qGreen(image.pixel(x, y));
            b += qBlue(image.pixel(x, y));
        }
    return qRgb(r / 81, g / 81, b / 81);
}

void PrintTo(const Inputs& in, std::ostream* os) {
    *os << in.width << "x" << in.height << " fraction " << in.fraction;
}

class RecordingMatchesPhoto : public ::testing::TestWithParam<Inputs> {};

} // namespace

TEST_P(RecordingMatchesPhoto, DecodedFrameEqualsTheAnsichtPhoto) {
    const Inputs in = GetParam();
    QTemporaryDir dir;
    const PixelBuffer wide = wavesPicture(true);
    const PixelBuffer macro = wavesPicture(false);
    const QString file = record(dir, in, wide, macro);
    ASSERT_FALSE(file.isEmpty());

    // Tagged BT.709 throughout.
    const ProbedFile probed = probeFile(file);
    ASSERT_TRUE(probed.ok);
    const QJsonObject video = probed.stream(QStringLiteral("video"));
    EXPECT_EQ(video.value("color_space").toString(), QStringLiteral("bt709"));
    EXPECT_EQ(video.value("color_primaries").toString(), QStringLiteral("bt709"));
    EXPECT_EQ(video.value("color_transfer").toString(), QStringLiteral("bt709"));
    EXPECT_EQ(video.value("color_range").toString(), QStringLiteral("tv"));

    const QImage recorded = videoFrameAt(file, 0.5); // decoded by the stream's colour tags
    ASSERT_FALSE(recorded.isNull());
    const QImage photo = ansichtPhoto(dir, in, wide, macro);
    ASSERT_EQ(photo.size(), recorded.size());

    const int W = in.width, H = in.height;
    CompositeInputs layout;
    layout.wide = {1920, 1080};
    layout.macro = SizeD{1280, 720};
    layout.canvas = {double(W), double(H)};
    layout.macroFraction = in.fraction;
    const RectD inset = insetRect(layout);
    const int x0 = int(inset.x), y0 = int(inset.y), x1 = int(inset.maxX());
    ASSERT_TRUE(y0 % 2 == 1 && x1 % 2 == 1) << "the inset must sit on odd pixels";

    // The whole picture agrees within the encoder's and the JPEG's error.
    EXPECT_LT(lumaDifference(recorded, photo, 0, 0, W, H), 3.0);
    // So do the rows and columns on both sides of each inset edge, one at a time: a picture
    // one pixel off shows Macro where the photo shows Wide (they differ by about 130).
    ASSERT_GT(lumaDifference(photo, photo.copy(0, 1, W, H - 1), x0 + 8, y0 - 1, x1 - 8, y0), 80)
        << "the edge must be sharp in the photo";
    for (int y : {y0 - 2, y0 - 1, y0, y0 + 1})
        EXPECT_LT(lumaDifference(recorded, photo, x0 + 8, y, x1 - 8, y + 1), 14) << "row " << y;
    for (int x : {x0 - 2, x0 - 1, x0, x0 + 1, x1 - 2, x1 - 1, x1, x1 + 1})
        EXPECT_LT(lumaDifference(recorded, photo, x, y0 + 8, x + 1, H - 8), 14) << "column " << x;

    // The tissue patch shows in the colour the camera saw, in both.
    const double s = W / 1920.0;
    const int px = int((1920 - 1650) * s), py = int((1080 - 300) * s);
    for (const QImage* image : {&recorded, &photo}) {
        const QRgb c = meanColour(*image, px, py);
        EXPECT_NEAR(qRed(c), patchR, 5) << (image == &photo ? "photo" : "recording");
        EXPECT_NEAR(qGreen(c), patchG, 5) << (image == &photo ? "photo" : "recording");
        EXPECT_NEAR(qBlue(c), patchB, 5) << (image == &photo ? "photo" : "recording");
    }
}

INSTANTIATE_TEST_SUITE_P(BothCanvases, RecordingMatchesPhoto,
                         ::testing::Values(Inputs{1920, 1080}, Inputs{2560, 1440}),
                         [](const auto& info) {
                             return std::to_string(info.param.width) + "x" +
                                    std::to_string(info.param.height);
                         });
