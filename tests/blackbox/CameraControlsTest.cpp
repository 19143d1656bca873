// The cameras' picture controls as a user sets them in the settings window: the recorded
// picture follows, the value stays with the camera across a restart, and a camera's first
// start takes the mains frequency of the user's region (German here, US English with
// MenuShortcuts.EnglishUiShowsNoGermanInItsWindows).

#include "blackbox/AppRun.h"
#include "recording/MediaProbe.h"
#include "support/EventLoop.h"

#include <QSettings>

#include <gtest/gtest.h>

namespace {

// Mean brightness (0..255) of the Wide picture in a recording of about two seconds: its upper
// half, away from the Macro inset at the bottom.
double recordedWideBrightness(AppRun& app) {
    EXPECT_TRUE(app.startRecording());
    recordFor(2);
    const QImage frame = videoFrameAt(app.stopRecording(), 1.0);
    if (frame.isNull())
        return -1;
    double sum = 0;
    int n = 0;
    for (int y = frame.height() / 10; y < frame.height() / 2; y += 4)
        for (int x = frame.width() / 10; x < frame.width() * 9 / 10; x += 4, ++n)
            sum += qGray(frame.pixel(x, y));
    return sum / n;
}

QString storedValue(const AppRun& app, const QString& key) {
    QSettings file(app.home() + QStringLiteral("/.config/ostrel/ostrel.conf"),
                   QSettings::IniFormat);
    return file.value(QStringLiteral("cameraControls/ostrel-virtual-camera-1/") + key).toString();
}

} // namespace

TEST(CameraControls, WideExposureLoweredInTheSettingsDarkensTheRecordingAndStaysAfterARestart) {
    AppRun app;
    ASSERT_STARTED(app.startLive());
    EXPECT_TRUE(app.waitForLog(QStringLiteral("Kamera Wide: Netzfrequenz der Region: 50 Hz")));
    const double before = recordedWideBrightness(app);
    ASSERT_GT(before, 40) << "the scene starts well lit";

    // Settings → Kameras.
    const QString settings = QStringLiteral("^Einstellungen$");
    ASSERT_TRUE(app.pressKeysUntil(QStringLiteral("ctrl+comma"), [&] {
        return !app.windowGeometry(settings).isEmpty();
    })) << app.describe().toStdString();
    const QRect window = app.windowGeometry(settings);
    ASSERT_TRUE(app.click(window.topLeft() + QPoint(window.width() / 2, 24), settings));
    // The Wide camera's automatic exposure off, by a click on its switch; then a click on the
    // left end of its exposure slider, which comes alive only once the camera has taken the
    // switch, so it is clicked until the camera holds a low value.
    const auto automatic = app.waitForShown(QStringLiteral("wideControls-exposureAuto"));
    ASSERT_TRUE(automatic) << "the Wide camera's exposure switch is shown";
    ASSERT_TRUE(app.click(automatic->area.center(), settings));
    ASSERT_TRUE(
        pumpUntil([&] { return storedValue(app, QStringLiteral("exposureAuto")) == u"0"; }, 15000));
    saveForLooking(app.screenshot().copy(window), QStringLiteral("controls-manual"));
    const auto label = app.waitForShown(QStringLiteral("wideControls-exposure-label"));
    ASSERT_TRUE(label) << "the exposure row is shown";
    // About a twentieth along the slider (3 … 2047): half the default exposure, dark enough to
    // measure and light enough for the live view to count as a picture.
    const QPoint sliderStart(label->area.left() + 150 + 8 + 26, label->area.center().y());
    bool taken = false;
    for (int attempt = 0; attempt < 10 && !taken; ++attempt) {
        ASSERT_TRUE(app.click(sliderStart, settings));
        taken = pumpUntil(
            [&] {
                const int exposure = storedValue(app, QStringLiteral("exposure")).toInt();
                return exposure > 40 && exposure < 250;
            },
            2000);
    }
    ASSERT_TRUE(taken) << storedValue(app, QStringLiteral("exposure")).toStdString();
    saveForLooking(app.screenshot().copy(window), QStringLiteral("controls-lowered"));

    // Ended from the settings window and started again: the camera gets the value back.
    ASSERT_TRUE(app.pressKeys(QStringLiteral("ctrl+q"), settings));
    ASSERT_EQ(app.waitForExit(30000), 0);
    const int from = int(app.logLines().size());
    ASSERT_STARTED(app.startLive());
    EXPECT_TRUE(app.waitForLog(
        QStringLiteral("Kamera Wide: Bildregler gesetzt (powerLineFrequency=1, exposureAuto=0, "
                       "exposure=%1)")
            .arg(storedValue(app, QStringLiteral("exposure"))),
        30000, from));
    const double lowered = recordedWideBrightness(app);
    EXPECT_GT(lowered, 0);
    EXPECT_LT(lowered, before * 0.75) << before;
    qInfo("Wide mean brightness: %.1f before, %.1f with the exposure lowered", before, lowered);
}
