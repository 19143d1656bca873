#include "capture/AudioClock.h"
#include "capture/SilenceSource.h"

#include <gtest/gtest.h>

#include <vector>

using namespace std::chrono_literals;

namespace {

constexpr int rate = 44100;
constexpr std::int64_t frames = 441; // 10 ms buffers
const MediaTime start = 1000s;

// When buffer `i` was recorded: its first sample.
MediaTime recorded(int i) {
    return start + i * 10ms;
}

} // namespace

TEST(AudioClock, LateAndBunchedHandOversKeepTheirPlaceOnTheTimeLine) {
    AudioClock clock(rate);
    std::vector<MediaTime> placed;
    for (int i = 0; i < 300; ++i) {
        MediaTime delay = MediaTime::zero();
        if (i >= 100 && i < 140)
            delay = (140 - i) * 10ms; // the thread was busy for 0.4 s, then took all at once
        else if (i % 7 == 3)
            delay = 35ms; // scheduling jitter
        placed.push_back(clock.place(frames, recorded(i) + 10ms + delay));
    }
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(placed[std::size_t(i)], recorded(i)) << "buffer " << i;
}

TEST(AudioClock, AFirstBufferHandedOverLateIsCorrectedByTheNextOnTime) {
    AudioClock clock(rate);
    EXPECT_EQ(clock.place(frames, recorded(0) + 10ms + 60ms), recorded(0) + 60ms);
    for (int i = 1; i < 50; ++i)
        EXPECT_EQ(clock.place(frames, recorded(i) + 10ms), recorded(i)) << "buffer " << i;
}

TEST(AudioClock, SamplesTheDeviceLostMoveTheTimeLineWithinASecond) {
    AudioClock clock(rate);
    std::vector<MediaTime> placed;
    // From buffer 200 on the device has lost 0.3 s: each arrives 0.3 s after the count says.
    const auto arrival = [](int i) { return recorded(i) + 10ms + (i >= 200 ? 300ms : 0ms); };
    for (int i = 0; i < 400; ++i)
        placed.push_back(clock.place(frames, arrival(i)));
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(placed[std::size_t(i)], recorded(i));
    // Within about a second the sound is back in step with the clock (to the sample).
    for (int i = 320; i < 400; ++i) {
        const MediaTime error = placed[std::size_t(i)] - (recorded(i) + 300ms);
        EXPECT_LE(std::abs(error.count()), (1s / rate).count() + 1) << "buffer " << i;
    }
    // Never two buffers over each other: the time line only moves on.
    for (std::size_t i = 1; i < placed.size(); ++i)
        EXPECT_GE(placed[i] - placed[i - 1], 10ms - 1ns) << "buffer " << i;
}

// Silence for a lost microphone, fetched at uneven moments (a busy main thread, a stall of a
// minute): each buffer begins where the last one ended, holds only zeros, and together
// they hold exactly the samples of the time gone by.
TEST(SilenceSource, BuffersFollowEachOtherWithoutGapOrDrift) {
    SilenceSource silence(start);
    EXPECT_FALSE(silence.until(start)) << "no time, no sample";
    EXPECT_FALSE(silence.until(start - 5ms)) << "nor before the start";
    const MediaTime moments[] = {start + 100ms, start + 100ms,     start + 133'333'333ns,
                                 start + 1s,    start + 1s + 10us, start + 1s + 40us,
                                 start + 61s,   start + 61s + 1ms};
    MediaTime end = start;
    std::int64_t samples = 0;
    for (const MediaTime now : moments) {
        const std::optional<AudioBuffer> buffer = silence.until(now);
        if (!buffer)
            continue;
        EXPECT_EQ(buffer->pts, end);
        EXPECT_EQ(buffer->format, (AudioFormat{true, 32, 1, SilenceSource::sampleRate}));
        for (const std::uint8_t byte : *buffer->bytes)
            ASSERT_EQ(byte, 0);
        samples += buffer->frameCount();
        end = silence.end();
        EXPECT_LE(end, now);
        EXPECT_GE(end + MediaTime(1s) / SilenceSource::sampleRate + 1ns, now) << "within a sample";
    }
    EXPECT_EQ(samples, 61 * SilenceSource::sampleRate + 44);
}
