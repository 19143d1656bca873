#include "capture/virtual/VirtualBackend.h"
#include "capture/CaptureTestSupport.h"
#include "capture/virtual/CameraStreamFile.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <condition_variable>

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
