#include "capture/AudioClock.h"
#include "control/SilenceSource.h"

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

// A clinic PC left capturing over a weekend: the count of samples grows past what its product
// with a second's nanoseconds holds in 64 bits (about 53 hours at 48 kHz). Every buffer keeps
// its exact place all the way. To keep the run short, most of each minute comes as one buffer
// and the rest as five buffers of a tenth of a second.
TEST(AudioClock, DaysOfCaptureKeepEveryBufferInItsPlace) {
    struct Case {
        int rate;
        std::chrono::hours length;
    };
    const Case cases[] = {{48000, 60h}, {44100, 60h}, {48000, 168h}, {44100, 168h}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.rate << " Hz, " << c.length.count() << " h");
        AudioClock clock(c.rate);
        std::int64_t misplaced = 0;
        MediaTime recorded = start;
        for (int i = 0; recorded < start + c.length; ++i) {
            const MediaTime length = i % 6 == 0 ? 59500ms : 100ms;
            const MediaTime delay = i % 7 == 3 ? 35ms : 0ms; // scheduling jitter
            const MediaTime placed =
                clock.place(length / 100ms * (c.rate / 10), recorded + length + delay);
            if (placed != recorded && misplaced++ < 3)
                ADD_FAILURE() << "buffer at " << mediaSeconds(recorded - start) << " s placed "
                              << mediaSeconds(placed - recorded) << " s off";
            recorded += length;
        }
        EXPECT_EQ(misplaced, 0);
    }
}
