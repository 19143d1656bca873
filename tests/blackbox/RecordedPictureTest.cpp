// What the built app's recordings show, read from their decoded pixels: the Macro inset at the
// bottom centre in the size its key chose, the watermark over the picture, and the shaking
// virtual Macro camera held steadier once the stabiliser is switched on.

#include "blackbox/AppRun.h"
#include "recording/MediaProbe.h"
#include "support/PictureMotion.h"
#include "support/SyntheticMedia.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

#include <cstdio>

namespace {

// Records for `seconds`; returns the saved file, empty when none was saved.
QString record(AppRun& app, double seconds) {
    EXPECT_TRUE(app.startRecording());
    recordFor(seconds);
    return app.stopRecording();
}

// The inset content's residual tremor (PictureMotion) in `region` of the pictures from one
// second into the file, in camera pixels (`scale`: picture pixels per camera pixel). Each
// picture once: to a steady rate ffmpeg would repeat pictures, which look perfectly still.
synthetic::AxisFigures tremor(const QString& file, QRect region, double scale) {
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {"-v", "error", "-ss", "1", "-i", file, "-vf",
                  QString::asprintf("crop=%d:%d:%d:%d", region.width(), region.height(), region.x(),
                                    region.y()),
                  "-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", "gray", "-"});
    EXPECT_TRUE(ffmpeg.waitForFinished(120000) && ffmpeg.exitCode() == 0);
    const QByteArray grey = ffmpeg.readAllStandardOutput();
    const qsizetype size = qsizetype(region.width()) * region.height();
    EXPECT_GE(grey.size() / size, 30) << "pictures in " << file.toStdString();
    synthetic::PictureMotion motion;
    const PixelBuffer picture = PixelBuffer::allocate(region.width(), region.height());
    for (qsizetype at = 0; at + size <= grey.size(); at += size) {
        const cv::Mat plane(region.height(), region.width(), CV_8UC1,
                            const_cast<char*>(grey.constData() + at));
        cv::Mat bgra = synthetic::asMat(picture); // written in place: same size and type
        cv::cvtColor(plane, bgra, cv::COLOR_GRAY2BGRA);
        motion.add(picture, cv::Rect(0, 0, region.width(), region.height()), scale);
    }
    return motion.residualTremor();
}

} // namespace

// Key 5 makes the inset half the width: 960 × 540 at (480, 540) of the 1920 × 1080 picture.
// The stabiliser at full strength keeps only the smoothed path of the Macro camera.
TEST(RecordedPicture, InsetAndWatermarkSitWhereTheyBelongAndTheStabiliserSteadiesTheMacro) {
    AppRunOptions options;
    options.settings.insert(QStringLiteral("stabGain"), 1.0);
    options.screenWidth = 1280; // a smaller live view leaves the cameras and the encoder more CPU
    options.screenHeight = 720;
    AppRun app(options);
    ASSERT_STARTED(app.startLive());
    ASSERT_TRUE(app.pressKeys(QStringLiteral("5")));
    const QString shaking = record(app, 8);
    ASSERT_FALSE(shaking.isEmpty()) << app.describe().toStdString();
    ASSERT_TRUE(app.pressKeys(QStringLiteral("s")));
    ASSERT_TRUE(app.waitForLog(QStringLiteral("Stabilisierung an")));
    const QString steadied = record(app, 8);
    ASSERT_FALSE(steadied.isEmpty()) << app.describe().toStdString();

    // The inset's edges: the column (row) across which the picture changes most over a band,
    // where the two cameras' scenes meet.
    const QImage picture = videoFrameAt(shaking, 2.0);
    ASSERT_EQ(picture.size(), QSize(1920, 1080));
    saveForLooking(picture, QStringLiteral("recorded-picture"));
    const auto edge = [&](bool column, int from, int to) {
        int best = from;
        for (int i = from, most = -1, sum = 0; i < to; ++i, sum = 0) {
            for (int j = column ? 700 : 600; j < (column ? 1000 : 1320); ++j) {
                const QPoint at = column ? QPoint(i, j) : QPoint(j, i);
                sum += std::abs(qGray(picture.pixel(at)) -
                                qGray(picture.pixel(at - QPoint(column, !column))));
            }
            if (sum > most)
                most = sum, best = i;
        }
        return best;
    };
    EXPECT_NEAR(edge(true, 1, 960), 480, 2) << "left edge";
    EXPECT_NEAR(edge(true, 960, 1920), 1440, 2) << "right edge";
    EXPECT_NEAR(edge(false, 100, 1080), 540, 2) << "top edge";

    // The practice name, white, one margin (38 px) from the lower left: bright pixels there that
    // stay put while the Wide camera's scene moves on beneath them.
    const QImage later = videoFrameAt(shaking, 5.0);
    ASSERT_EQ(later.size(), picture.size());
    int bright = 0;
    for (int y = 1012; y < 1042; ++y)
        for (int x = 40; x < 220; ++x)
            bright += qGray(picture.pixel(x, y)) > 200 && qGray(later.pixel(x, y)) > 200;
    EXPECT_GT(bright, 300) << "the practice name";

    // The inset's content, in camera pixels: at zoom 1.15 the inset shows 1/1.15 of the frame.
    const QRect inset(496, 556, 928, 508);
    const synthetic::AxisFigures off = tremor(shaking, inset, 960.0 / 1920);
    const synthetic::AxisFigures on = tremor(steadied, inset, 960.0 * 1.15 / 1920);
    std::printf("recorded picture: %d bright name pixels; inset tremor (camera px) off x %.2f "
                "y %.2f, on x %.2f y %.2f\n",
                bright, off.x, off.y, on.x, on.y);
    ASSERT_GT(std::min(off.x, off.y), 1.0) << "the Macro camera must shake on both axes";
    EXPECT_LE(on.x / off.x, 0.5) << "sideways";
    EXPECT_LE(on.y / off.y, 0.5) << "up and down";
}
