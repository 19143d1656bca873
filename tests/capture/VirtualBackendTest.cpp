#include "capture/virtual/VirtualBackend.h"
#include "capture/CaptureTestSupport.h"
#include "capture/virtual/CameraStreamFile.h"
#include "capture/virtual/VirtualInputs.h"
#include "capture/virtual/VirtualScene.h"
#include "support/QuirkyMjpeg.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <condition_variable>

namespace {

std::uint32_t pixel(const PixelBuffer& buffer, int x, int y) {
    return reinterpret_cast<const std::uint32_t*>(buffer.row(y))[x];
}

// A session of the virtual backend streaming one device into a recording delegate.
struct Stream {
    Stream(VirtualBackend& backend, const QString& id, SerialQueue& queue,
           SessionPreset preset = SessionPreset::high)
        : session(backend.makeSession()) {
        const auto devices = backend.discovery().allDevices();
        const auto device = std::find_if(devices.begin(), devices.end(),
                                         [&](const auto& d) { return d.uniqueID == id; });
        auto made = backend.makeDeviceInput(*device);
        session->setSessionPreset(preset);
        session->addInput(made.input);
        if (device->mediaType() == MediaType::video) {
            auto output = std::make_shared<CameraOutput>(0);
            output->setAlwaysDiscardsLateVideoFrames(true);
            output->setSampleBufferDelegate(delegate, &queue);
            session->addOutput(output);
        } else {
            auto output = std::make_shared<AudioDataOutput>();
            output->setSampleBufferDelegate(delegate, &queue);
            session->addOutput(output);
        }
        session->startRunning();
    }
    std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
    std::unique_ptr<CaptureSession> session;
};

} // namespace

TEST(VirtualDevices, FaultListForManualRuns) {
    VirtualDevices devices;
    const QStringList rejected = devices.applyFaults(QStringLiteral(
        "silent=ostrel-virtual-camera-1; size=ostrel-virtual-camera-2:640x480;refusePreset;"
        "inputError=ostrel-virtual-microphone:Kein Zugriff: belegt;unplug=ostrel-virtual-camera-1;"
        "bogus=1;size=ostrel-virtual-camera-2:wide;refuseOutput;fps=ostrel-virtual-camera-2:15;"
        "fps=ostrel-virtual-camera-1:0"));
    EXPECT_EQ(rejected, (QStringList{"bogus=1", "size=ostrel-virtual-camera-2:wide", "refuseOutput",
                                     "fps=ostrel-virtual-camera-1:0"}));
    EXPECT_EQ(devices.state(VirtualDevices::camera2ID)->framesPerSecond, 15);
    EXPECT_EQ(devices.state(VirtualDevices::camera1ID)->framesPerSecond, 0);
    EXPECT_TRUE(devices.state(VirtualDevices::camera1ID)->silent);
    EXPECT_FALSE(devices.state(VirtualDevices::camera1ID)->present);
    EXPECT_EQ(devices.state(VirtualDevices::camera2ID)->frameSize, QSize(640, 480));
    EXPECT_EQ(devices.state(VirtualDevices::microphoneID)->inputError,
              QStringLiteral("Kein Zugriff: belegt"));
    EXPECT_TRUE(devices.refusesPreset());
}

TEST(VirtualScene, MacroFramesAreTheSceneShiftedAlongTheTremorPath) {
    PixelBuffer first = PixelBuffer::allocate(320, 240);
    PixelBuffer later = PixelBuffer::allocate(320, 240);
    VirtualScene::render(VirtualScene::Motion::tremor, 0, first);
    for (std::int64_t n : {1, 7, 45}) {
        VirtualScene::render(VirtualScene::Motion::tremor, n, later);
        const QPoint shift = VirtualScene::offset(VirtualScene::Motion::tremor, n) -
                             VirtualScene::offset(VirtualScene::Motion::tremor, 0);
        ASSERT_FALSE(shift.isNull()) << n;
        int same = 0;
        for (int y = 60; y < 180; y += 7)
            for (int x = 80; x < 240; x += 5)
                same += pixel(later, x, y) == pixel(first, x + shift.x(), y + shift.y());
        EXPECT_EQ(same, 18 * 32) << n;
    }
    // The shake is quick and small: within a dozen pixels, and it changes between frames.
    int moves = 0;
    for (std::int64_t n = 0; n < 60; ++n) {
        const QPoint t = VirtualScene::tremor(n);
        EXPECT_LE(std::abs(t.x()) + std::abs(t.y()), 24);
        moves += VirtualScene::tremor(n + 1) != t;
    }
    EXPECT_GT(moves, 50);
}

TEST(VirtualScene, WideSceneIsTexturedAndDiffersFromMacro) {
    PixelBuffer wide = PixelBuffer::allocate(1920, 1080);
    PixelBuffer macro = PixelBuffer::allocate(1920, 1080);
    VirtualScene::render(VirtualScene::Motion::pan, 0, wide);
    VirtualScene::render(VirtualScene::Motion::tremor, 0, macro);
    int differing = 0;
    int neighbourChanges = 0;
    for (int y = 0; y < 1080; y += 37)
        for (int x = 0; x < 1919; x += 41) {
            differing += pixel(wide, x, y) != pixel(macro, x, y);
            neighbourChanges += pixel(wide, x, y) != pixel(wide, x + 1, y);
            EXPECT_EQ(pixel(wide, x, y) >> 24, 0xFFu); // opaque
        }
    EXPECT_GT(differing, 1300);
    EXPECT_GT(neighbourChanges, 1000);
    // A window larger than the texture wraps around instead of reading past it.
    PixelBuffer huge = PixelBuffer::allocate(4000, 3000);
    VirtualScene::render(VirtualScene::Motion::pan, 3, huge);
    EXPECT_EQ(pixel(huge, 3999, 2999) >> 24, 0xFFu);
}

TEST(VideoDataOutput, DropsFramesThatArriveWhileThePreviousIsStillHandled) {
    SerialQueue queue("com.ostrel.cam.video0");
    std::mutex lock;
    std::condition_variable wake;
    bool release = false;
    int delivered = 0;
    struct Blocking : SampleBufferDelegate {
        std::function<void()> onFrame;
        void captureOutput(CaptureOutput&, const SampleBuffer&) override { onFrame(); }
    };
    auto delegate = std::make_shared<Blocking>();
    delegate->onFrame = [&] {
        std::unique_lock guard(lock);
        ++delivered;
        wake.wait(guard, [&] { return release; });
    };
    auto output = std::make_shared<CameraOutput>(1);
    output->setAlwaysDiscardsLateVideoFrames(true);
    output->setSampleBufferDelegate(delegate, &queue);
    auto sample = [] {
        return VideoSample{MediaTime(1), [] { return PixelBuffer::allocate(8, 8); }};
    };
    output->deliver(sample());
    // Until the first frame is handled, every further frame is discarded.
    for (int i = 0; i < 5; ++i)
        output->deliver(sample());
    EXPECT_FALSE(output->isReadyForFrame());
    {
        std::lock_guard guard(lock);
        release = true;
    }
    wake.notify_all();
    queue.drain();
    EXPECT_TRUE(output->isReadyForFrame());
    output->deliver(sample());
    queue.drain();
    EXPECT_EQ(delivered, 2);
    EXPECT_EQ(output->droppedCount(), 5);
}

TEST(VideoDataOutput, FrameThatFailsToRenderIsNeverDelivered) {
    SerialQueue queue("com.ostrel.cam.video0");
    auto delegate = std::make_shared<RecordingDelegate>();
    auto output = std::make_shared<CameraOutput>(0);
    output->setSampleBufferDelegate(delegate, &queue);
    output->deliver({MediaTime(1), [] { return PixelBuffer(); }});
    output->deliver({MediaTime(2), [] { return PixelBuffer::allocate(4, 2); }});
    queue.drain();
    EXPECT_EQ(delegate->frameCount(0), 1);
    EXPECT_EQ(output->droppedCount(), 1);
    // Without a delegate nothing is rendered or delivered.
    output->setSampleBufferDelegate({}, &queue);
    output->deliver({MediaTime(3), [] { return PixelBuffer::allocate(4, 2); }});
    queue.drain();
    EXPECT_EQ(delegate->frameCount(0), 1);
}

// Faults of a running camera, from a test or from OSTREL_VIRTUAL_FAULTS with a delay counted
// from the camera's first streamed step: each ends the stream with its own reason.
TEST(VirtualDevices, RunningCameraFaultsEndTheStreamWithTheirReason) {
    VirtualBackend backend;
    const QStringList rejected = backend.devices().applyFaults(
        QStringLiteral("end=ostrel-virtual-camera-1@200ms;stall=ostrel-virtual-camera-2@0.1s;"
                       "unplug=ostrel-virtual-microphone@1ms;enospc=ostrel-virtual-camera-3;"
                       "unplug=x@soon;size=ostrel-virtual-camera-1:640x480@1s;refuseInput=y@1s"));
    EXPECT_EQ(rejected, (QStringList{"unplug=x@soon", "size=ostrel-virtual-camera-1:640x480@1s",
                                     "refuseInput=y@1s"}));
    EXPECT_TRUE(backend.devices().state(VirtualDevices::camera1ID)->present) << "not yet";

    SerialQueue queue("test.video");
    struct Ends {
        std::mutex lock;
        std::vector<StreamEnd> seen;
        void add(StreamEnd reason) {
            std::lock_guard guard(lock);
            seen.push_back(reason);
        }
        std::vector<StreamEnd> get() {
            std::lock_guard guard(lock);
            return seen;
        }
    };
    for (const auto& [id, expected] :
         {std::pair(VirtualDevices::camera1ID, StreamEnd::ended),
          std::pair(VirtualDevices::camera2ID, StreamEnd::stalled),
          std::pair(VirtualDevices::microphoneID, StreamEnd::unplugged)}) {
        Ends ends;
        Stream stream(backend, id, queue);
        stream.session->setStreamEndHandler([&](StreamEnd reason) { ends.add(reason); });
        ASSERT_TRUE(stream.session->isRunning()) << id.toStdString();
        ASSERT_TRUE(pumpUntil([&] { return !ends.get().empty(); })) << id.toStdString();
        EXPECT_EQ(ends.get(), std::vector<StreamEnd>{expected}) << id.toStdString();
        EXPECT_FALSE(stream.session->isRunning());
        stream.session->stopRunning();
        queue.drain();
    }
    EXPECT_TRUE(backend.devices().state(VirtualDevices::camera1ID)->present);
    EXPECT_FALSE(backend.devices().state(VirtualDevices::camera1ID)->endRequested)
        << "a stream end happens once";
    EXPECT_FALSE(backend.devices().state(VirtualDevices::microphoneID)->present);

    // No room on the bus: the stream cannot start and says why.
    backend.devices().setNoBandwidth(VirtualDevices::camera1ID, true);
    Stream refused(backend, VirtualDevices::camera1ID, queue);
    EXPECT_FALSE(refused.session->isRunning());
    EXPECT_EQ(refused.session->lastStartError(),
              QStringLiteral("USB-Bandbreite reicht nicht — Kameras an verschiedene "
                             "USB-Anschlüsse anschließen"));
}

TEST(CameraStreamFile, CutsAtEachStartOfImageKeepingWhatFollowsEachPicture) {
    using Bytes = std::vector<std::uint8_t>;
    const auto join = [](std::initializer_list<Bytes> parts) {
        Bytes all;
        for (const Bytes& part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    const Bytes picture{0xFF, 0xD8, 0xFF, 0xE0, 1, 2, 0xFF, 0xD9};
    // A stuffed FF 00 before D8 in the scan, and zero padding after the end marker.
    const Bytes padded{0xFF, 0xD8, 0xFF, 0xDA, 0xFF, 0x00, 0xD8, 0xFF, 0xD9, 0, 0, 0};
    struct Case {
        const char* name;
        Bytes stream;
        std::vector<Bytes> buffers;
    };
    const Case cases[] = {
        {"back to back", join({picture, picture}), {picture, picture}},
        {"padding stays with its picture", join({padded, picture}), {padded, picture}},
        {"stray bytes stay with the picture before them",
         join({picture, {7, 0xFF, 0xD8, 7}, picture}),
         {join({picture, {7, 0xFF, 0xD8, 7}}), picture}},
        {"bytes before the first picture belong to none", join({{1, 2, 3}, picture}), {picture}},
        {"no picture", {1, 2, 3, 0xFF, 0xD8}, {}},
        {"empty", {}, {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(splitMjpegStream(c.stream.data(), c.stream.size()), c.buffers) << c.name;
}

// A camera stream on file plays in a loop through the decoder the V4L2 cameras use: a cheap
// camera's pictures decode, a transfer cut off among them is dropped, and faults still apply.
TEST(VirtualCamera, PlaysAStreamOnFileThroughTheCamerasDecoder) {
    LogProbe log;
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("wide.mjpeg"));
    std::vector<PixelBuffer> pictures;
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        const auto append = [&](const QuirkyMjpeg::Bytes& bytes) {
            file.write(reinterpret_cast<const char*>(bytes.data()), qint64(bytes.size()));
        };
        for (int i = 0; i < 3; ++i) {
            pictures.push_back(QuirkyMjpeg::picture(320, 176, i * 40));
            const auto jpeg = QuirkyMjpeg::withoutHuffmanTables(
                QuirkyMjpeg::encode(pictures.back(), QuirkyMjpeg::Sampling::s422));
            append(QuirkyMjpeg::withPadding(jpeg, std::size_t(i) * 300));
            if (i == 1)
                append(QuirkyMjpeg::cutOff(jpeg, 0.5, false));
        }
    }
    VirtualBackend backend;
    const QStringList problems = backend.devices().applyStreams(
        QStringLiteral("ostrel-virtual-camera-1=%1; ostrel-virtual-microphone=%1;"
                       "ostrel-virtual-camera-2=%2")
            .arg(path, dir.filePath(QStringLiteral("missing.mjpeg"))));
    ASSERT_EQ(problems.size(), 2) << problems.join(u'\n').toStdString();
    EXPECT_EQ(problems[0], QStringLiteral("ostrel-virtual-microphone=%1: keine virtuelle Kamera "
                                          "mit Datei")
                               .arg(path));
    EXPECT_TRUE(problems[1].startsWith(QStringLiteral("ostrel-virtual-camera-2: %1 nicht lesbar")
                                           .arg(dir.filePath(QStringLiteral("missing.mjpeg")))));

    struct Pictures : SampleBufferDelegate {
        void captureOutput(CaptureOutput&, const SampleBuffer& buffer) override {
            std::lock_guard guard(lock);
            taken.push_back(buffer.image);
        }
        std::size_t count() {
            std::lock_guard guard(lock);
            return taken.size();
        }
        std::mutex lock;
        std::vector<PixelBuffer> taken;
    };
    auto delegate = std::make_shared<Pictures>();
    SerialQueue queue("com.ostrel.cam.video0");
    {
        auto made = backend.makeDeviceInput(backend.discovery().allDevices()[0]);
        auto session = backend.makeSession();
        session->addInput(made.input);
        auto output = std::make_shared<CameraOutput>(0);
        output->setAlwaysDiscardsLateVideoFrames(false);
        output->setSampleBufferDelegate(delegate, &queue);
        session->addOutput(output);
        std::atomic<int> ended{0};
        session->setStreamEndHandler(
            [&](StreamEnd reason) { ended += reason == StreamEnd::ended ? 1 : 100; });
        session->startRunning();
        ASSERT_TRUE(pumpUntil([&] { return delegate->count() >= 7; }));
        backend.devices().endStream(VirtualDevices::camera1ID);
        ASSERT_TRUE(pumpUntil([&] { return ended != 0; }));
        EXPECT_EQ(ended, 1);
        session->stopRunning();
        queue.drain();
    }
    std::lock_guard guard(delegate->lock);
    for (std::size_t i = 0; i < 7; ++i)
        EXPECT_LT(QuirkyMjpeg::meanDifference(delegate->taken[i], pictures[i % 3]), 3.0)
            << "picture " << i;
    const QStringList logged = log.messages();
    ASSERT_EQ(logged.size(), 1) << logged.join(u'\n').toStdString();
    EXPECT_TRUE(logged[0].startsWith(
        QStringLiteral("MJPEG-Bildstrom ostrel-virtual-camera-1 (wide.mjpeg): von ")));
    EXPECT_TRUE(logged[0].endsWith(QStringLiteral(" abgeschnitten und verworfen")));
}
