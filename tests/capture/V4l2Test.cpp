#include "capture/CameraErrorTexts.h"
#include "capture/CaptureTestSupport.h"
#include "capture/RecordedV4l2Io.h"
#include "capture/v4l2/CameraStreamSaver.h"
#include "capture/v4l2/DeviceHolder.h"
#include "capture/v4l2/V4l2Backend.h"
#include "capture/v4l2/V4l2Formats.h"
#include "capture/v4l2/V4l2Input.h"
#include "capture/virtual/CameraStreamFile.h"
#include "capture/virtual/VirtualScene.h"
#include "control/CameraControlKeeper.h"
#include "control/PowerLineRegion.h"
#include "settings/SettingsStore.h"
#include "support/LogProbe.h"
#include "support/QuirkyMjpeg.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <tuple>

namespace {

const std::string node0 = "/dev/video0";
constexpr std::uint32_t mjpeg = V4L2_PIX_FMT_MJPEG;
constexpr std::uint32_t yuyv = V4L2_PIX_FMT_YUYV;
using Write = std::pair<std::uint32_t, std::int32_t>;

UdevVideoNode usbNode(std::string devnode, const char* port) {
    UdevVideoNode node;
    node.devnode = std::move(devnode);
    node.idPath = QStringLiteral("pci-0000:00:14.0-usb-0:%1:1.0").arg(port);
    node.vendorId = QStringLiteral("046d");
    node.productId = QStringLiteral("082d");
    node.model = QStringLiteral("HD_Pro_Webcam_C920");
    return node;
}

// A real JPEG of the virtual scene, as a camera would send it.
std::vector<std::uint8_t> jpegFrame(int width, int height) {
    PixelBuffer picture = PixelBuffer::allocate(width, height);
    VirtualScene::render(VirtualScene::Motion::pan, 0, picture);
    tjhandle handle = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    tjCompress2(handle, picture.data(), width, picture.stride(), height, TJPF_BGRA, &jpeg, &size,
                TJSAMP_422, 85, 0);
    std::vector<std::uint8_t> bytes(jpeg, jpeg + size);
    tjFree(jpeg);
    tjDestroy(handle);
    return bytes;
}

// The replayed webcam on /dev/video0, plugged in, streaming into a delegate that keeps count.
class V4l2StreamTest : public ::testing::Test {
protected:
    V4l2StreamTest() {
        io->cameras[node0] = uvcWebcam();
        backend.v4l2Discovery().handleEvent(QStringLiteral("add"), usbNode(node0, "2"));
    }

    CaptureDevice device() { return *probeVideoNode(*io, usbNode(node0, "2")); }

    std::shared_ptr<CaptureSession> startSession() {
        auto made = backend.makeDeviceInput(device());
        EXPECT_TRUE(made.input) << made.error.toStdString();
        input = std::dynamic_pointer_cast<V4l2Input>(made.input);
        auto session = std::shared_ptr<CaptureSession>(backend.makeSession());
        session->setSessionPreset(SessionPreset::high);
        session->addInput(made.input);
        output = std::make_shared<CameraOutput>(0);
        // Keeps every frame, so the count of delivered frames does not depend on timing.
        output->setAlwaysDiscardsLateVideoFrames(false);
        output->setSampleBufferDelegate(delegate, &queue);
        session->addOutput(output);
        session->startRunning();
        return session;
    }

    std::shared_ptr<RecordedV4l2Io> io = std::make_shared<RecordedV4l2Io>();
    V4l2Backend backend{io};
    SerialQueue queue{"com.ostrel.cam.video0"};
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::shared_ptr<V4l2Input> input;
    std::shared_ptr<CameraOutput> output;
};

} // namespace

// The modes a camera is asked for: its list as the driver gives it, the choice for a preset,
// and the smaller modes tried in turn when the bus has no room.
TEST(V4l2Formats, ListsChoosesAndFallsBackAsTheCameraOffers) {
    auto io = std::make_shared<RecordedV4l2Io>();
    io->cameras[node0] = uvcWebcam();
    const auto options = listFormats(V4l2Fd(io, io->open(node0.c_str())));
    EXPECT_EQ(options.size(), 19u + 17u); // the H.264 format is left out
    EXPECT_EQ(options.front(), (V4l2FormatOption{yuyv, 640, 480, {30, 24, 20, 15, 10, 7.5, 5}}));
    EXPECT_EQ(options.back(), (V4l2FormatOption{mjpeg, 1920, 1080, {30, 24, 20, 15, 10, 7.5, 5}}));
    std::vector<V4l2FormatOption> raw;
    std::copy_if(options.begin(), options.end(), std::back_inserter(raw),
                 [](const auto& option) { return option.pixelFormat == yuyv; });

    using F = V4l2StreamFormat;
    const SessionPreset high = SessionPreset::high;
    const SessionPreset deviceDefault = SessionPreset::deviceDefault;
    struct Case {
        const char* name;
        std::vector<V4l2FormatOption> options;
        SessionPreset preset;
        std::optional<F> current;
        std::optional<F> chosen;
    };
    const Case cases[] = {
        {"MJPEG at the largest 16:9 size up to 1080p at 30",
         options,
         high,
         {},
         F{mjpeg, 1920, 1080, 30}},
        {"YUYV runs 30 fps only up to 640 x 360", raw, high, {}, F{yuyv, 640, 360, 30}},
        {"only 4:3 sizes: the largest at 30",
         {{mjpeg, 640, 480, {30}}, {mjpeg, 1280, 960, {15}}},
         high,
         {},
         F{mjpeg, 640, 480, 30}},
        {"only slow sizes: the largest",
         {{yuyv, 640, 480, {15}}, {yuyv, 1280, 720, {5}}},
         high,
         {},
         F{yuyv, 1280, 720, 0}},
        {"only huge sizes: the smallest",
         {{mjpeg, 3840, 2160, {30}}, {mjpeg, 2560, 1440, {30}}},
         high,
         {},
         F{mjpeg, 2560, 1440, 0}},
        {"nothing offered", {}, high, {}, std::nullopt},
        {"only H.264", {{V4L2_PIX_FMT_H264, 1920, 1080, {30}}}, high, {}, std::nullopt},
        {"the device default keeps a handled format", options, deviceDefault, F{yuyv, 640, 480, 0},
         F{yuyv, 640, 480, 0}},
        {"an unhandled device default gives the high choice", options, deviceDefault,
         F{V4L2_PIX_FMT_H264, 1920, 1080, 0}, F{mjpeg, 1920, 1080, 30}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(chooseFormat(c.options, c.preset, c.current), c.chosen) << c.name;

    // Fallbacks from everything the camera lists, H.264 included: never that one.
    std::vector<V4l2FormatOption> all;
    for (const auto& format : uvcWebcam().formats)
        for (const auto& size : format.sizes)
            all.push_back({format.fourcc, size.width, size.height, size.rates});
    const auto fromMjpeg = bandwidthFallbacks(all, {mjpeg, 1920, 1080, 30});
    ASSERT_GE(fromMjpeg.size(), 3u);
    EXPECT_EQ(fromMjpeg[0], (F{mjpeg, 1600, 896, 30}));
    EXPECT_EQ(fromMjpeg[1], (F{mjpeg, 1280, 720, 30}));
    const auto firstRaw = std::find_if(fromMjpeg.begin(), fromMjpeg.end(),
                                       [](const auto& f) { return f.pixelFormat == yuyv; });
    EXPECT_TRUE(std::all_of(firstRaw, fromMjpeg.end(), [](const auto& f) {
        return f.pixelFormat == yuyv;
    })) << "every MJPEG mode before any raw one";
    for (const auto& format : fromMjpeg)
        EXPECT_LT(format.width * format.height, 1920 * 1080);
    const auto fromYuyv = bandwidthFallbacks(all, {yuyv, 640, 360, 30});
    ASSERT_FALSE(fromYuyv.empty());
    EXPECT_EQ(fromYuyv[0], (F{mjpeg, 640, 360, 30})) << "the same size compressed first";
    EXPECT_TRUE(bandwidthFallbacks(all, {mjpeg, 160, 90, 30}).empty());
}

TEST(V4l2Discovery, IdsFollowThePortAndTheModelNotTheDeviceNode) {
    const QString port2 = QStringLiteral("pci-0000:00:14.0-usb-0:2:1.0-046d:082d");
    UdevVideoNode second = usbNode("/dev/video1", "2");
    second.index = 1;
    UdevVideoNode bare;
    bare.devnode = "/dev/video7";
    const std::pair<UdevVideoNode, QString> cases[] = {
        {usbNode("/dev/video0", "2"), port2},
        {usbNode("/dev/video4", "2"), port2}, // replugged into the same port: another node
        {usbNode("/dev/video2", "3"), QStringLiteral("pci-0000:00:14.0-usb-0:3:1.0-046d:082d")},
        {second, port2 + QStringLiteral("-index1")},
        {bare, QStringLiteral("v4l2:/dev/video7")},
    };
    for (const auto& [node, id] : cases)
        EXPECT_EQ(stableDeviceId(node), id) << node.devnode;
}

TEST(V4l2Discovery, ProbingKeepsCaptureNodesAndSkipsMetadataNodes) {
    RecordedV4l2Io io;
    io.cameras["/dev/video0"] = uvcWebcam();
    io.cameras["/dev/video1"] = uvcWebcam();
    io.cameras["/dev/video1"].deviceCaps = V4L2_CAP_META_CAPTURE | V4L2_CAP_STREAMING;
    io.cameras["/dev/video2"] = uvcWebcam();
    io.cameras["/dev/video2"].card = "  ";

    const auto camera = probeVideoNode(io, usbNode("/dev/video0", "2"));
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->localizedName, QStringLiteral("HD Pro Webcam C920"));
    EXPECT_EQ(camera->deviceType, DeviceType::external);
    EXPECT_EQ(camera->uniqueID, stableDeviceId(usbNode("/dev/video0", "2")));
    EXPECT_FALSE(probeVideoNode(io, usbNode("/dev/video1", "2")));
    EXPECT_EQ(probeVideoNode(io, usbNode("/dev/video2", "3"))->localizedName,
              QStringLiteral("HD Pro Webcam C920"));
    EXPECT_FALSE(probeVideoNode(io, usbNode("/dev/video9", "5")));
    UdevVideoNode builtIn = usbNode("/dev/video0", "7");
    builtIn.fixed = true;
    EXPECT_EQ(probeVideoNode(io, builtIn)->deviceType, DeviceType::builtIn);
    EXPECT_EQ(io.opened, io.closed);
}

// A camera whose node the user may not open is listed as udev describes it; opening it then
// gives the hint about the "video" group instead of leaving the camera out ("not found").
TEST(V4l2Discovery, CameraTheUserMayNotOpenIsListedAndOpeningItSaysWhy) {
    auto io = std::make_shared<RecordedV4l2Io>();
    const auto denied = [&](const std::string& devnode, int error, const char* capabilities,
                            int index) {
        io->cameras[devnode] = uvcWebcam();
        io->cameras[devnode].openError = error;
        UdevVideoNode node = usbNode(devnode, "2");
        node.product = QStringLiteral("HD Pro Webcam C920");
        node.capabilities = QString::fromLatin1(capabilities);
        node.index = index;
        return node;
    };
    struct Case {
        UdevVideoNode node;
        bool listed;
    };
    const Case cases[] = {
        {denied("/dev/video0", EACCES, ":capture:", 0), true},
        {denied("/dev/video1", EACCES, ":", 1), false}, // its metadata node
        {denied("/dev/video2", EPERM, ":capture:", 0), true},
        {denied("/dev/video3", EACCES, "", 0), true}, // not probed by udev: the first node
        {denied("/dev/video4", EACCES, "", 1), false},
        {denied("/dev/video5", ENODEV, ":capture:", 0), false}, // gone, not forbidden
    };
    V4l2Backend backend(io);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.node.devnode);
        const auto camera = probeVideoNode(*io, c.node);
        ASSERT_EQ(camera.has_value(), c.listed);
        if (!camera)
            continue;
        EXPECT_EQ(camera->localizedName, QStringLiteral("HD Pro Webcam C920"));
        EXPECT_EQ(camera->deviceType, DeviceType::external);
        QSignalSpy connected(&backend.v4l2Discovery(), &DeviceDiscovery::devicesChanged);
        backend.v4l2Discovery().handleEvent(QStringLiteral("add"), c.node);
        ASSERT_EQ(connected.size(), 1);
        const auto made = backend.makeDeviceInput(*camera);
        EXPECT_FALSE(made.input);
        EXPECT_EQ(made.error, CameraErrorTexts::noAccess());
    }
    EXPECT_EQ(io->opened, 0);
}

TEST(V4l2Discovery, HotPlugEventsNameTheDeviceThatCameAndWent) {
    auto io = std::make_shared<RecordedV4l2Io>();
    io->cameras["/dev/video0"] = uvcWebcam();
    io->cameras["/dev/video1"] = uvcWebcam();
    io->cameras["/dev/video1"].deviceCaps = V4L2_CAP_META_CAPTURE;
    V4l2Discovery discovery(io);
    std::vector<std::pair<DeviceChange, CaptureDevice>> seen;
    QObject::connect(&discovery, &DeviceDiscovery::devicesChanged,
                     [&](DeviceChange change, const CaptureDevice& device) {
                         seen.emplace_back(change, device);
                     });
    UdevVideoNode removed; // a remove event tells only the node
    removed.devnode = "/dev/video0";
    // A storm of plug and unplug events of the picture node and its metadata node.
    for (int i = 0; i < 100; ++i) {
        discovery.handleEvent(QStringLiteral("add"), usbNode("/dev/video0", "2"));
        discovery.handleEvent(QStringLiteral("add"), usbNode("/dev/video1", "2"));
        discovery.handleEvent(QStringLiteral("remove"), usbNode("/dev/video1", "2"));
        discovery.handleEvent(QStringLiteral("remove"), removed);
    }
    ASSERT_EQ(seen.size(), 200u);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        EXPECT_EQ(seen[i].first, i % 2 ? DeviceChange::disconnected : DeviceChange::connected);
        EXPECT_EQ(seen[i].second.uniqueID, stableDeviceId(usbNode("/dev/video0", "2")));
        EXPECT_EQ(seen[i].second.localizedName, QStringLiteral("HD Pro Webcam C920"));
    }
    EXPECT_EQ(discovery.devnodeOf(seen[0].second.uniqueID), "/dev/video0");
    discovery.handleEvent(QStringLiteral("remove"), usbNode("/dev/video5", "9"));
    EXPECT_EQ(seen.size(), 200u);
    EXPECT_EQ(io->opened, io->closed);
}

TEST_F(V4l2StreamTest, DecodesMjpegDropsATruncatedFrameAndEndsOnEnodev) {
    const auto good = jpegFrame(1920, 1080);
    auto truncated = good;
    truncated.resize(good.size() / 2);
    io->push(node0, good);
    io->push(node0, truncated);
    io->push(node0, good);

    auto session = startSession();
    ASSERT_TRUE(session->isRunning());
    EXPECT_EQ(input->format(), (V4l2StreamFormat{V4L2_PIX_FMT_MJPEG, 1920, 1080, 30}));
    EXPECT_EQ(io->bufferCount, std::uint32_t(V4l2Input::bufferCount));

    ASSERT_TRUE(pumpUntil([&] { return output->deliveredCount() + output->droppedCount() == 3; }));
    EXPECT_EQ(output->deliveredCount(), 2);
    EXPECT_EQ(output->droppedCount(), 1);
    EXPECT_EQ(delegate->size(0), QSize(1920, 1080));

    // Unplugged mid-stream: the driver answers ENODEV and the session stops running.
    EXPECT_TRUE(session->isRunning());
    std::atomic<int> unplugged{0};
    session->setStreamEndHandler(
        [&](StreamEnd reason) { unplugged += reason == StreamEnd::unplugged ? 1 : 100; });
    io->failAfterFrames(node0, ENODEV);
    ASSERT_TRUE(pumpUntil([&] { return unplugged != 0; }));
    EXPECT_EQ(unplugged, 1);
    EXPECT_FALSE(session->isRunning());
    session->stopRunning();
    EXPECT_EQ(io->mapped, io->unmapped);
    EXPECT_EQ(io->count(VIDIOC_STREAMOFF), 1);
    session.reset();
    input.reset();
    EXPECT_EQ(io->opened, io->closed);
}

TEST_F(V4l2StreamTest, FramesCarryTheKernelsCaptureTimeNotTheirDequeueTime) {
    using namespace std::chrono;
    const auto monotonicNow = [] {
        return duration_cast<MediaTime>(steady_clock::now().time_since_epoch());
    };
    auto session = startSession();
    ASSERT_TRUE(session->isRunning());
    // Captured at uneven moments just now and all dequeued together, as on a machine too busy
    // to take them when they came.
    const MediaTime before = monotonicNow();
    const std::int64_t base = duration_cast<microseconds>(before).count() - 300'000;
    const std::int64_t offsets[] = {0, 33'100, 71'400, 99'900, 140'050, 166'700};
    const auto frame = jpegFrame(1920, 1080);
    for (const std::int64_t offset : offsets)
        io->push(node0, frame,
                 {base + offset, V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC | V4L2_BUF_FLAG_TSTAMP_SRC_SOE});
    // Stamps the driver does not take from the monotonic clock, or that cannot be right.
    io->push(node0, frame, {base + 200'000, V4L2_BUF_FLAG_TIMESTAMP_COPY});
    io->push(node0, frame, {base + 3'600'000'000, V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC});
    io->push(node0, frame, {base - 60'000'000, V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC});
    ASSERT_TRUE(pumpUntil([&] { return delegate->frameCount(0) == 9; }));
    const MediaTime after = monotonicNow();
    const std::vector<MediaTime> times = delegate->frameTimes(0);
    ASSERT_EQ(times.size(), 9u);
    for (std::size_t i = 0; i < std::size(offsets); ++i)
        EXPECT_EQ(times[i], microseconds(base + offsets[i])) << "frame " << i;
    for (std::size_t i = std::size(offsets); i < times.size(); ++i) {
        EXPECT_GE(times[i], before) << "frame " << i << " is placed when it was dequeued";
        EXPECT_LE(times[i], after) << "frame " << i;
    }
    session->stopRunning();
}

TEST_F(V4l2StreamTest, BusyDeviceFailsToStartAndReleasesWhatItTook) {
    LogProbe log;
    io->cameras[node0].failing[VIDIOC_STREAMON] = EBUSY;
    auto session = startSession();
    EXPECT_FALSE(session->isRunning());
    const QString busy = QStringLiteral("Kamera wird von einem anderen Programm verwendet — "
                                        "dieses Programm beenden, dann neu starten (↻)");
    EXPECT_EQ(session->lastStartError(), busy);
    EXPECT_EQ(
        log.entries(),
        (std::vector<std::pair<LogLevel, QString>>{
            {LogLevel::warn,
             QStringLiteral("Kamera-Stream nicht gestartet (HD Pro Webcam C920): ") + busy}}));
    EXPECT_EQ(io->mapped, V4l2Input::bufferCount);
    EXPECT_EQ(io->unmapped, io->mapped);

    // Once the other program lets go, the same input starts.
    io->cameras[node0].failing.clear();
    session->startRunning();
    EXPECT_TRUE(session->isRunning());
}

TEST_F(V4l2StreamTest, YuyvFallbackConvertsToBgra) {
    io->cameras[node0].formats.pop_back(); // no MJPEG
    io->cameras[node0].current = {};
    std::vector<std::uint8_t> frame(640 * 360 * 2);
    for (std::size_t i = 0; i < frame.size(); i += 4) {
        const bool top = i < frame.size() / 2;
        frame[i] = frame[i + 2] = top ? 235 : 16; // white above, black below
        frame[i + 1] = frame[i + 3] = 128;
    }
    io->push(node0, frame);
    io->push(node0, std::vector<std::uint8_t>(100)); // short frame: dropped
    auto session = startSession();
    ASSERT_TRUE(pumpUntil([&] { return output->deliveredCount() + output->droppedCount() == 2; }));
    EXPECT_EQ(output->deliveredCount(), 1);
    EXPECT_EQ(input->format(), (V4l2StreamFormat{V4L2_PIX_FMT_YUYV, 640, 360, 30}));
    EXPECT_EQ(delegate->size(0), QSize(640, 360));
}

// A camera that sent pictures and then none is reported as stalled; its session stops running.
TEST_F(V4l2StreamTest, CameraThatGoesQuietIsReportedAsStalled) {
    io->push(node0, jpegFrame(1920, 1080));
    auto session = startSession();
    std::atomic<int> stalled{0};
    session->setStreamEndHandler(
        [&](StreamEnd reason) { stalled += reason == StreamEnd::stalled ? 1 : 100; });
    ASSERT_TRUE(pumpUntil([&] { return output->deliveredCount() == 1; }));
    ASSERT_TRUE(pumpUntil([&] { return stalled != 0; }));
    EXPECT_EQ(stalled, 1);
    EXPECT_FALSE(session->isRunning());
}

// Two cameras on one USB 2 hub: STREAMON answers ENOSPC. Smaller modes are tried, MJPEG first,
// each said in the log; when none fits, the reason tells the user what to do.
TEST_F(V4l2StreamTest, NoUsbBandwidthFallsBackToSmallerModes) {
    LogProbe log;
    io->cameras[node0].maxStreamPixels = 1280 * 720;
    auto session = startSession();
    ASSERT_TRUE(session->isRunning());
    EXPECT_EQ(input->format(), (V4l2StreamFormat{V4L2_PIX_FMT_MJPEG, 1280, 720, 30}));
    EXPECT_EQ(log.messages(),
              (QStringList{"USB-Bandbreite reicht nicht für 1920×1080 MJPEG (HD Pro Webcam C920) "
                           "— versuche 1600×896 MJPEG",
                           "USB-Bandbreite reicht nicht für 1600×896 MJPEG (HD Pro Webcam C920) "
                           "— versuche 1280×720 MJPEG"}));
    session->stopRunning();
    EXPECT_EQ(io->mapped, io->unmapped);

    io->cameras[node0].maxStreamPixels = 1; // nothing fits
    const int streamOns = io->count(VIDIOC_STREAMON);
    session->startRunning();
    EXPECT_FALSE(session->isRunning());
    EXPECT_EQ(io->count(VIDIOC_STREAMON) - streamOns, 1 + int(V4l2Input::maxBandwidthFallbacks));
    EXPECT_EQ(session->lastStartError(),
              QStringLiteral("USB-Bandbreite reicht nicht — Kameras an verschiedene "
                             "USB-Anschlüsse anschließen"));
    EXPECT_EQ(io->mapped, io->unmapped);
}

TEST(DeviceHolder, NamesTheOtherProgramThatHasTheNodeOpen) {
    QTemporaryDir proc;
    const auto makeProcess = [&](const QString& pid, const QString& comm,
                                 const QStringList& targets) {
        ASSERT_TRUE(QDir(proc.path()).mkpath(pid + QStringLiteral("/fd")));
        QFile file(proc.filePath(pid + QStringLiteral("/comm")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(comm.toUtf8() + "\n");
        for (int fd = 0; fd < targets.size(); ++fd)
            ASSERT_TRUE(QFile::link(
                targets[fd], proc.filePath(pid + QStringLiteral("/fd/") + QString::number(fd))));
    };
    makeProcess(QStringLiteral("100"), QStringLiteral("ostrel"), {"/dev/video7"}); // ourselves
    makeProcess(QStringLiteral("200"), QStringLiteral("bash"), {"/dev/null", "/dev/video3"});
    makeProcess(QStringLiteral("300"), QStringLiteral("cheese"), {"/dev/null", "/dev/video7"});
    ASSERT_TRUE(QDir(proc.path()).mkpath(QStringLiteral("self/fd")));
    EXPECT_EQ(deviceHolder("/dev/video7", 100, proc.path()), QStringLiteral("cheese, PID 300"));
    EXPECT_EQ(deviceHolder("/dev/video9", 100, proc.path()), QString());
    EXPECT_EQ(CameraErrorTexts::alertFor(CameraErrorTexts::busy(QStringLiteral("cheese, PID 300"))),
              QStringLiteral("Kamera wird von einem anderen Programm verwendet (cheese, PID 300) — "
                             "dieses Programm beenden, dann neu starten (↻)"));
    EXPECT_FALSE(CameraErrorTexts::alertFor(QStringLiteral("Gerät getrennt")));
}

// Support's way to make a stream file from a real camera: its buffers back to back as they came
// (bytes used, padding and all), which a virtual camera then plays as the same buffers.
TEST(CameraStreamSaver, WritesTheCamerasBuffersAsTheyCame) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("wide.mjpeg"));
    auto io = std::make_shared<RecordedV4l2Io>();
    io->cameras[node0] = uvcWebcam();
    const auto jpeg = jpegFrame(640, 360);
    const CameraBuffers frames{QuirkyMjpeg::withPadding(jpeg, 1000),
                               QuirkyMjpeg::cutOff(jpeg, 0.5, false),
                               QuirkyMjpeg::withStrayBytesBeforeEnd(jpeg, 5)};
    for (const auto& frame : frames)
        io->push(node0, frame);
    io->failAfterFrames(node0, ENODEV); // unplugged after them: no waiting for the time asked
    const SavedCameraStream saved = saveCameraStream(io, node0, path, std::chrono::minutes(1));
    EXPECT_EQ(saved.error, QStringLiteral("/dev/video0 wurde getrennt"));
    EXPECT_EQ(saved.buffers, 3);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray written = file.readAll();
    EXPECT_EQ(saved.bytes, written.size());
    EXPECT_EQ(splitMjpegStream(reinterpret_cast<const std::uint8_t*>(written.constData()),
                               std::size_t(written.size())),
              frames);
    EXPECT_EQ(io->opened, io->closed);

    // Cameras it cannot save from say why, and leave no file behind.
    const QString other = dir.filePath(QStringLiteral("other.mjpeg"));
    io->cameras[node0].formats.pop_back(); // no MJPEG
    EXPECT_EQ(saveCameraStream(io, node0, other, std::chrono::minutes(1)).error,
              QStringLiteral("/dev/video0 liefert kein MJPEG"));
    io->cameras[node0].openError = EACCES;
    EXPECT_EQ(saveCameraStream(io, node0, other, std::chrono::minutes(1)).error,
              QStringLiteral("/dev/video0 lässt sich nicht öffnen: ") +
                  CameraErrorTexts::noAccess());
    EXPECT_EQ(saveCameraStream(io, "/dev/video7", other, std::chrono::minutes(1)).error,
              QStringLiteral("/dev/video7 gibt es nicht"));
    EXPECT_FALSE(QFile::exists(other));
}

TEST_F(V4l2StreamTest, ControlsOfAUvcCameraShowTheirRangesMenusAndInactiveValues) {
    io->cameras[node0].controls = uvcControls();
    const auto controls = backend.cameraControls(device());
    ASSERT_TRUE(controls);
    const std::vector<CameraControl> listed = controls->list();

    std::vector<CameraControlId> ids;
    for (const CameraControl& control : listed)
        ids.push_back(control.id);
    // Gain is no control of ours; everything else in the order it is applied.
    EXPECT_EQ(ids,
              (std::vector<CameraControlId>{
                  CameraControlId::powerLineFrequency, CameraControlId::exposureAuto,
                  CameraControlId::exposure, CameraControlId::whiteBalanceAuto,
                  CameraControlId::whiteBalanceTemperature, CameraControlId::focusAuto,
                  CameraControlId::focus, CameraControlId::brightness, CameraControlId::contrast,
                  CameraControlId::saturation, CameraControlId::sharpness}));
    const auto find = [&](CameraControlId id) {
        return *std::find_if(listed.begin(), listed.end(),
                             [id](const CameraControl& c) { return c.id == id; });
    };
    const CameraControl powerLine = find(CameraControlId::powerLineFrequency);
    EXPECT_EQ(powerLine.kind, CameraControlKind::choice);
    EXPECT_EQ(powerLine.choices, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(powerLine.value, 2);
    // The exposure menu (manual, aperture priority) is a switch, on while automatic.
    const CameraControl exposureAuto = find(CameraControlId::exposureAuto);
    EXPECT_EQ(exposureAuto.kind, CameraControlKind::toggle);
    EXPECT_EQ(exposureAuto.value, 1);
    const CameraControl exposure = find(CameraControlId::exposure);
    EXPECT_EQ(std::tuple(exposure.kind, exposure.minimum, exposure.maximum, exposure.value),
              std::tuple(CameraControlKind::range, 3, 2047, 250));
    EXPECT_TRUE(exposure.inactive);
    EXPECT_EQ(find(CameraControlId::focus).step, 5);
    EXPECT_FALSE(find(CameraControlId::brightness).inactive);

    // Writes: the switch goes to the menu's manual and automatic entries; a refused write and
    // a value out of range say why and leave the camera's value.
    auto& camera = io->cameras[node0];
    EXPECT_FALSE(controls->set(CameraControlId::exposureAuto, 0));
    EXPECT_FALSE(controls->set(CameraControlId::powerLineFrequency, 1));
    camera.controls[V4L2_CID_EXPOSURE_ABSOLUTE].refuse = EBUSY;
    const auto refused = controls->set(CameraControlId::exposure, 100);
    ASSERT_TRUE(refused);
    EXPECT_TRUE(refused->contains(u"EBUSY")) << refused->toStdString();
    EXPECT_TRUE(controls->set(CameraControlId::brightness, 300));
    EXPECT_TRUE(controls->set(CameraControlId::powerLineFrequency, 3)) << "no automatic entry";
    EXPECT_FALSE(controls->set(CameraControlId::exposureAuto, 1));
    EXPECT_EQ(camera.written,
              (std::vector<Write>{{V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL},
                                  {V4L2_CID_POWER_LINE_FREQUENCY, 1},
                                  {V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_APERTURE_PRIORITY}}));
    EXPECT_EQ(find(CameraControlId::exposure).value, 250);
}

TEST_F(V4l2StreamTest, KeptControlsAreAppliedAtEveryStartAndARefusedOneIsReportedOnce) {
    auto& camera = io->cameras[node0];
    camera.controls = uvcControls();
    QTemporaryDir folder;
    SettingsStore settings(folder.filePath(QStringLiteral("settings.ini")));
    CameraControlKeeper keeper(backend, settings, PowerLineFrequency::hz50);
    const CaptureDevice camera0 = device();
    LogProbe log;

    // The first start sets only the region's mains frequency.
    keeper.applyAtStart(0, camera0);
    EXPECT_EQ(camera.written, (std::vector<Write>{{V4L2_CID_POWER_LINE_FREQUENCY, 1}}));

    // The user's manual exposure: the switch before the value, and stored for the next start.
    ASSERT_FALSE(keeper.set(0, camera0, CameraControlId::exposureAuto, 0));
    ASSERT_FALSE(keeper.set(0, camera0, CameraControlId::exposure, 120));
    camera.controls = uvcControls(); // the camera back at its own defaults after a replug
    camera.controls[V4L2_CID_BRIGHTNESS].refuse = EBUSY;
    ASSERT_TRUE(keeper.set(1, camera0, CameraControlId::brightness, 90));
    camera.controls[V4L2_CID_BRIGHTNESS].refuse = 0;
    camera.written.clear();
    keeper.applyAtStart(0, camera0);
    EXPECT_EQ(camera.written, (std::vector<Write>{{V4L2_CID_POWER_LINE_FREQUENCY, 1},
                                                  {V4L2_CID_EXPOSURE_AUTO, V4L2_EXPOSURE_MANUAL},
                                                  {V4L2_CID_EXPOSURE_ABSOLUTE, 120}}))
        << "the refused brightness was not kept; the region's default is not redone";

    // A control the camera refuses at every start: the stream is not touched, one warning.
    ASSERT_FALSE(keeper.set(0, camera0, CameraControlId::contrast, 40));
    camera.controls = uvcControls();
    camera.controls[V4L2_CID_CONTRAST].refuse = EINVAL;
    keeper.applyAtStart(0, camera0);
    keeper.applyAtStart(0, camera0);
    EXPECT_EQ(log.messages().filter(QStringLiteral("Kamera Wide: Regler „contrast“")).size(), 1);
    EXPECT_EQ(log.messages().filter(QStringLiteral("Kamera Macro: Regler „brightness“")).size(), 1);

    // Back to the camera's values: the manual exposure goes, nothing is applied any more.
    keeper.resetToDefaults(0, camera0);
    EXPECT_EQ(camera.controls[V4L2_CID_EXPOSURE_AUTO].value, V4L2_EXPOSURE_APERTURE_PRIORITY);
    camera.written.clear();
    keeper.applyAtStart(0, camera0);
    EXPECT_TRUE(camera.written.empty());
}

TEST(PowerLineRegion, TheRegionOfTheEnvironmentGivesTheMainsFrequency) {
    struct Case {
        const char* lcAll;
        const char* lang;
        PowerLineFrequency expected;
    };
    const QLocale c = QLocale::c();
    for (const Case& row : {Case{"C.UTF-8", "de_DE.UTF-8", PowerLineFrequency::hz50},
                            Case{"en_US.UTF-8", "de_DE.UTF-8", PowerLineFrequency::hz60},
                            Case{"", "pt_BR.UTF-8", PowerLineFrequency::hz60},
                            Case{"", "en_GB.UTF-8", PowerLineFrequency::hz50},
                            Case{"", "es_MX", PowerLineFrequency::hz60},
                            Case{"", "ko_KR.UTF-8", PowerLineFrequency::hz60},
                            Case{"", "C", PowerLineFrequency::hz50}}) {
        QProcessEnvironment environment;
        if (*row.lcAll)
            environment.insert(QStringLiteral("LC_ALL"), QString::fromLatin1(row.lcAll));
        environment.insert(QStringLiteral("LANG"), QString::fromLatin1(row.lang));
        EXPECT_EQ(powerLineFrequencyOf(userTerritory(c, environment)), row.expected)
            << row.lcAll << " " << row.lang;
    }
    EXPECT_EQ(userTerritory(QLocale(QStringLiteral("en_CA")), {}), QLocale::Canada)
        << "the system locale when the environment names no region";
}
