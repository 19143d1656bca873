#include "capture/virtual/VirtualBackend.h"
#include "capture/CaptureTestSupport.h"
#include "capture/virtual/VirtualInputs.h"
#include "capture/virtual/VirtualScene.h"

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
            auto output = std::make_shared<TaggedOutput>(0);
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

TEST(VirtualDevices, TwoSameNamedCamerasWithDifferentIdsAndAMicrophone) {
    VirtualDevices devices;
    const auto all = devices.allDevices();
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].localizedName, QStringLiteral("OSTREL Kamera"));
    EXPECT_EQ(all[1].localizedName, QStringLiteral("OSTREL Kamera"));
    EXPECT_NE(all[0].uniqueID, all[1].uniqueID);
    EXPECT_EQ(all[0].deviceType, DeviceType::external);
    EXPECT_EQ(all[2].deviceType, DeviceType::microphone);
    EXPECT_EQ(all[2].mediaType(), MediaType::audio);
}

TEST(VirtualDevices, UnplugAndReplugAreEachReportedOnce) {
    VirtualDevices devices;
    std::vector<std::pair<DeviceChange, QString>> seen;
    QObject::connect(&devices, &DeviceDiscovery::devicesChanged,
                     [&](DeviceChange change, const CaptureDevice& device) {
                         seen.emplace_back(change, device.uniqueID);
                     });
    devices.unplug(VirtualDevices::camera2ID);
    devices.unplug(VirtualDevices::camera2ID); // already gone: no second notice
    EXPECT_EQ(devices.allDevices().size(), 2u);
    devices.replug(VirtualDevices::camera2ID);
    devices.unplug(QStringLiteral("unknown"));
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0], std::pair(DeviceChange::disconnected, VirtualDevices::camera2ID));
    EXPECT_EQ(seen[1], std::pair(DeviceChange::connected, VirtualDevices::camera2ID));
    EXPECT_EQ(devices.allDevices()[1].uniqueID, VirtualDevices::camera2ID);
}

TEST(VirtualDevices, FaultListForManualRuns) {
    VirtualDevices devices;
    const QStringList rejected = devices.applyFaults(QStringLiteral(
        "silent=ostrel-virtual-camera-1; size=ostrel-virtual-camera-2:640x480;refusePreset;"
        "inputError=ostrel-virtual-microphone:Kein Zugriff: belegt;unplug=ostrel-virtual-camera-1;"
        "bogus=1;size=ostrel-virtual-camera-2:wide;refuseOutput"));
    EXPECT_EQ(rejected,
              (QStringList{"bogus=1", "size=ostrel-virtual-camera-2:wide", "refuseOutput"}));
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
    auto output = std::make_shared<TaggedOutput>(1);
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
    auto output = std::make_shared<TaggedOutput>(0);
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

TEST(VirtualCamera, FollowsFrameSizeFaultsWhileStreaming) {
    VirtualBackend backend;
    SerialQueue queue("com.ostrel.cam.video0");
    Stream stream(backend, VirtualDevices::camera1ID, queue);
    ASSERT_TRUE(stream.session->isRunning());
    ASSERT_TRUE(pumpUntil([&] { return stream.delegate->frameCount(0) >= 2; }));
    EXPECT_EQ(stream.delegate->size(0), QSize(1920, 1080));
    backend.devices().setFrameSize(VirtualDevices::camera1ID, QSize(640, 480));
    ASSERT_TRUE(pumpUntil([&] { return stream.delegate->size(0) == QSize(640, 480); }));
    backend.devices().setFrameSize(VirtualDevices::camera1ID, QSize(1280, 960));
    ASSERT_TRUE(pumpUntil([&] { return stream.delegate->size(0) == QSize(1280, 960); }));
}

TEST(VirtualCamera, SilentCameraStreamsButDeliversNothing) {
    VirtualBackend backend;
    backend.devices().setSilent(VirtualDevices::camera1ID, true);
    SerialQueue q0("com.ostrel.cam.video0");
    SerialQueue q1("com.ostrel.cam.video1");
    Stream silent(backend, VirtualDevices::camera1ID, q0);
    Stream other(backend, VirtualDevices::camera2ID, q1);
    ASSERT_TRUE(pumpUntil([&] { return other.delegate->frameCount(0) >= 10; }));
    EXPECT_TRUE(silent.session->isRunning());
    EXPECT_EQ(silent.delegate->frameCount(0), 0);
    backend.devices().setSilent(VirtualDevices::camera1ID, false);
    ASSERT_TRUE(pumpUntil([&] { return silent.delegate->frameCount(0) >= 1; }));
}

TEST(VirtualCamera, UnpluggedCameraCannotStart) {
    VirtualBackend backend;
    const CaptureDevice device = backend.discovery().allDevices()[0];
    auto made = backend.makeDeviceInput(device);
    ASSERT_TRUE(made.input);
    backend.devices().unplug(device.uniqueID);
    auto session = backend.makeSession();
    session->addInput(made.input);
    session->startRunning();
    EXPECT_FALSE(session->isRunning());
    EXPECT_EQ(session->lastStartError(), QStringLiteral("Gerät getrennt"));
    EXPECT_FALSE(backend.makeDeviceInput(device).input);
}

TEST(VirtualMicrophone, DeliversAToneAsFloatSamples) {
    VirtualBackend backend;
    SerialQueue queue("com.ostrel.cam.frames");
    Stream stream(backend, VirtualDevices::microphoneID, queue);
    ASSERT_TRUE(pumpUntil([&] { return stream.delegate->audioCount() >= 2; }));
    stream.session->stopRunning();
    queue.drain();
    std::lock_guard guard(stream.delegate->lock);
    const AudioBuffer& buffer = stream.delegate->lastAudio;
    EXPECT_EQ(buffer.format, (AudioFormat{true, 32, 1, 48000}));
    ASSERT_EQ(buffer.frameCount(), VirtualMicrophoneInput::samplesPerBuffer);
    const auto* samples = reinterpret_cast<const float*>(buffer.bytes->data());
    double sum = 0;
    for (int i = 0; i < buffer.frameCount(); ++i)
        sum += double(samples[i]) * samples[i];
    EXPECT_NEAR(std::sqrt(sum / buffer.frameCount()), 0.25 / std::sqrt(2.0), 0.01);
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
