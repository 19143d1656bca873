#include "../SetupFixture.h"

#include "ui/setup/CameraPreviewView.h"
#include "ui/setup/PreviewSession.h"

#include <QImage>

#include <cmath>

namespace {

// Previews side by side in one window, each 160 × 90.
class CameraPreviewTest : public SetupFixture {
protected:
    CameraPreviewView* addPreview(const QString& id, int slot) {
        if (!window) {
            window = std::make_unique<QQuickWindow>();
            window->resize(340, 90);
            window->show();
        }
        // Set up before it enters the window, as QML does before the component completes.
        auto* preview = new CameraPreviewView;
        preview->setParent(window->contentItem());
        preview->setSize({160, 90});
        preview->setX(slot * 180);
        preview->setBackend(&backendHandle);
        preview->setDeviceUID(id);
        preview->setParentItem(window->contentItem());
        return preview;
    }
    static bool showsFrames(CameraPreviewView* preview, int count = 2) {
        const int start = preview->framesShown();
        return pumpUntil([&] { return preview->framesShown() >= start + count; });
    }
    QImage grab(int slot) { return window->grabWindow().copy(slot * 180, 0, 160, 90); }
    // Freezes a camera so its preview keeps the last picture.
    void freeze(CameraPreviewView* preview, const QString& id) {
        ASSERT_TRUE(showsFrames(preview));
        backend.devices().setSilent(id, true);
        preview->waitForSession();
        preview->pullFrame();
        pumpPosted();
    }
};

// Mean absolute difference per channel of two images of the same size.
double difference(const QImage& a, const QImage& b) {
    const QImage x = a.convertToFormat(QImage::Format_RGB32);
    const QImage y = b.convertToFormat(QImage::Format_RGB32);
    double sum = 0;
    for (int row = 0; row < x.height(); ++row)
        for (int col = 0; col < x.width(); ++col) {
            const QRgb p = x.pixel(col, row), q = y.pixel(col, row);
            sum += std::abs(qRed(p) - qRed(q)) + std::abs(qGreen(p) - qGreen(q)) +
                   std::abs(qBlue(p) - qBlue(q));
        }
    return sum / (3.0 * x.width() * x.height());
}

bool allBlack(const QImage& image) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    for (int row = 0; row < rgb.height(); ++row)
        for (int col = 0; col < rgb.width(); ++col)
            if ((rgb.pixel(col, row) & 0xffffff) != 0)
                return false;
    return true;
}

} // namespace

TEST_F(CameraPreviewTest, SameIdLeavesTheSessionAloneMirroringFlipsAndAnotherIdSwapsTheInput) {
    auto* preview = addPreview(cam1, 0);
    EXPECT_TRUE(preview->mirrored()) << "mirrored until told otherwise";
    freeze(preview, cam1);
    const QImage mirroredPicture = grab(0);

    preview->setDeviceUID(cam1);
    preview->setMirrored(false);
    preview->waitForSession();
    EXPECT_EQ(preview->configurationCount(), 1);
    pumpPosted();
    const QImage plain = grab(0);
    EXPECT_GT(difference(plain, mirroredPicture), 10.0);
    EXPECT_LT(difference(plain, mirroredPicture.mirrored(true, false)), 2.0);

    // Another camera is an input swapped in the running session, not a new session.
    preview->setDeviceUID(cam2);
    preview->waitForSession();
    EXPECT_EQ(preview->currentUID(), cam2);
    EXPECT_EQ(preview->configurationCount(), 2);
    EXPECT_EQ(preview->sessionInputCount(), 1);
    EXPECT_TRUE(showsFrames(preview));
}

TEST_F(CameraPreviewTest, UnknownIdTurnsThePictureBlackAndStaysBlackWhenThatDeviceArrives) {
    const QString later = QStringLiteral("usb-0000:00:14.0-9");
    auto* preview = addPreview(cam1, 0);
    ASSERT_TRUE(showsFrames(preview));
    preview->setDeviceUID(later);
    preview->waitForSession();
    EXPECT_EQ(preview->sessionInputCount(), 0);
    ASSERT_TRUE(pumpUntil([&] {
        preview->pullFrame();
        return allBlack(grab(0));
    }));

    backend.devices().plugIn({later, QStringLiteral("OSTREL Kamera"), DeviceType::external});
    preview->setDeviceUID(later);
    preview->waitForSession();
    EXPECT_EQ(preview->configurationCount(), 2) << "the same id again does nothing";
    EXPECT_EQ(preview->sessionInputCount(), 0);

    // Another id and back reconfigures it.
    preview->setDeviceUID(cam1);
    preview->setDeviceUID(later);
    preview->waitForSession();
    EXPECT_TRUE(preview->sessionRunning());
    EXPECT_TRUE(showsFrames(preview));
}

TEST(PreviewSession, StopReleasesTheDeviceAndDestructionWaitsForIt) {
    VirtualBackend backend;
    const auto devices = backend.discovery().devices({DeviceType::external}, MediaType::video);
    ASSERT_EQ(devices.size(), 2u);
    PreviewSession session(backend);
    session.configure(devices[0]);
    session.drain();
    EXPECT_TRUE(session.isRunning());
    EXPECT_EQ(session.inputCount(), 1);
    ASSERT_TRUE(pumpUntil([&] {
        int sequence = 0;
        return bool(session.newest(&sequence));
    }));

    session.stop();
    session.drain();
    EXPECT_FALSE(session.isRunning());
    EXPECT_EQ(session.inputCount(), 0);
    EXPECT_FALSE(session.newest(nullptr)) << "a stopped preview shows black";

    session.configure(std::nullopt);
    session.drain();
    EXPECT_FALSE(session.isRunning()) << "no input, nothing to run";
}
