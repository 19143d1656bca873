#include "recording/RecordingPressure.h"

#include <gtest/gtest.h>

namespace {

// Feeds ticks of half a second with the given per-tick increments, keeping running totals.
class Ticks {
public:
    explicit Ticks(RecordingPressure& pressure) : m_pressure(pressure) {}
    bool tick(int appended, int dropped = 0, int backlogged = 0) {
        m_totals.appended += appended;
        m_totals.dropped += dropped;
        m_totals.backlogged += backlogged;
        m_totals.encoded += appended;
        return m_pressure.update(m_totals);
    }
    // A tick of the first seconds: `frames` encoded at `cpuUs` each, from a camera at `fps`,
    // the rest of the app on `otherCores`.
    bool measuredTick(int frames, std::int64_t cpuUs, double fps, double otherCores = 0) {
        m_totals.appended += frames;
        m_totals.encoded += frames;
        m_totals.encoderCpuUs += frames * cpuUs;
        m_totals.atUs += RecordingPressure::tickMs * 1000;
        m_totals.otherCpuUs += std::int64_t(otherCores * RecordingPressure::tickMs * 1000);
        m_totals.cameraFps = fps;
        return m_pressure.update(m_totals);
    }
    // An encoder that keeps up: 15 frames per tick, none waiting.
    void calm(int ticks) {
        for (int i = 0; i < ticks; ++i)
            tick(15);
    }

private:
    RecordingPressure& m_pressure;
    RecordingPressure::Sample m_totals;
};

} // namespace

TEST(RecordingPressure, AnEncoderThatKeepsUpLeavesTheLiveViewAtFullRate) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    // Now and then a frame finds its predecessor still queued: normal jitter, no pressure.
    for (int i = 0; i < 40; ++i)
        EXPECT_FALSE(ticks.tick(15, 0, i % 3 == 0 ? 7 : 2));
    EXPECT_EQ(pressure.liveIntervalMs(), 33);
    EXPECT_EQ(pressure.rateLimit(), 0);
}

TEST(RecordingPressure, LiveViewSlowsOneStepPerPressedTickDownToTenFps) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    // A backlog on more than half the appends is the early sign, before anything is dropped.
    EXPECT_TRUE(ticks.tick(15, 0, 8));
    EXPECT_EQ(pressure.liveIntervalMs(), 50);
    // A single drop is enough on its own.
    EXPECT_TRUE(ticks.tick(15, 1, 0));
    EXPECT_EQ(pressure.liveIntervalMs(), 67);
    EXPECT_TRUE(ticks.tick(14, 1, 14));
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    // The floor: the view stays at 10 fps however hard the encoder is pressed.
    EXPECT_FALSE(ticks.tick(15, 0, 15));
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
}

TEST(RecordingPressure, LiveViewComesBackStepByStepAfterThreeQuietSeconds) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    ticks.tick(15, 1);
    ticks.tick(15, 1);
    ASSERT_EQ(pressure.liveIntervalMs(), 67);
    ticks.calm(5);
    EXPECT_EQ(pressure.liveIntervalMs(), 67);
    // A pressed tick in between starts the quiet time again (and slows one more step).
    ticks.tick(15, 0, 9);
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    ticks.calm(5);
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    EXPECT_TRUE(ticks.tick(15));
    EXPECT_EQ(pressure.liveIntervalMs(), 67);
    ticks.calm(6);
    EXPECT_EQ(pressure.liveIntervalMs(), 50);
    ticks.calm(6);
    EXPECT_EQ(pressure.liveIntervalMs(), 33);
    ticks.calm(12);
    EXPECT_EQ(pressure.liveIntervalMs(), 33);
}

TEST(RecordingPressure, AnEncoderBehindEvenWithTheViewAtItsFloorGetsAnEvenLowerRate) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    for (int i = 0; i < 3; ++i)
        ticks.tick(12, 3, 12);
    ASSERT_EQ(pressure.liveIntervalMs(), 100);
    ASSERT_EQ(pressure.rateLimit(), 0);
    // Two seconds at the floor, still dropping, writing 12 + 13 + 12 + 12 = 49 frames: 24.5 fps.
    EXPECT_FALSE(ticks.tick(12, 3, 12));
    EXPECT_FALSE(ticks.tick(13, 2, 13));
    EXPECT_FALSE(ticks.tick(12, 3, 12));
    EXPECT_TRUE(ticks.tick(12, 3, 12));
    EXPECT_EQ(pressure.rateLimit(), 24);
    // Room again goes to the recording first, two frames per second every quiet three
    // seconds, up to just below the rate that failed; then the live view speeds up.
    ticks.calm(6);
    EXPECT_EQ(pressure.rateLimit(), 26);
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    ticks.calm(12);
    EXPECT_EQ(pressure.rateLimit(), 29);
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    ticks.calm(12);
    EXPECT_EQ(pressure.rateLimit(), 29);
    EXPECT_EQ(pressure.liveIntervalMs(), 50);
}

TEST(RecordingPressure, ARaisedLimitThatDropsAgainSettlesBelowIt) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    for (int i = 0; i < 7; ++i)
        ticks.tick(10, 5, 10);
    ASSERT_EQ(pressure.rateLimit(), 20);
    ticks.calm(6);
    ASSERT_EQ(pressure.rateLimit(), 22);
    // 22 is too many: four ticks of drops at 21 fps lower it to 21, and it never rises to 22
    // again.
    for (int i = 0; i < 4; ++i)
        ticks.tick(11, 1, 11);
    ASSERT_EQ(pressure.rateLimit(), 21);
    ticks.calm(30);
    EXPECT_EQ(pressure.rateLimit(), 21);
    EXPECT_EQ(pressure.liveIntervalMs(), 33);
}

TEST(RecordingPressure, ABacklogWithoutDropsAtTheFloorIsNoReasonToLimit) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    for (int i = 0; i < 20; ++i)
        ticks.tick(15, 0, 12); // every frame waits a little, none is lost
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    EXPECT_EQ(pressure.rateLimit(), 0);
}

TEST(RecordingPressure, NowAndThenADropAtTheFloorIsNoReasonToLimit) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    // Just keeping up: every frame waits a little, and every other second one is lost.
    for (int i = 0; i < 60; ++i)
        ticks.tick(15, i % 4 == 0 ? 1 : 0, 12);
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    EXPECT_EQ(pressure.rateLimit(), 0);
}

TEST(RecordingPressure, DropsUnderALimitLowerItFurther) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    for (int i = 0; i < 7; ++i)
        ticks.tick(14, 1, 14);
    ASSERT_EQ(pressure.rateLimit(), 28);
    // Paced to 28, the encoder still loses frames: at least one frame per second less.
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(ticks.tick(14, 1, 14));
    EXPECT_TRUE(ticks.tick(14, 1, 14));
    EXPECT_EQ(pressure.rateLimit(), 27);
    for (int i = 0; i < 4; ++i)
        ticks.tick(10, 2, 10);
    EXPECT_EQ(pressure.rateLimit(), 20);
}

TEST(RecordingPressure, AQuietTickAtTheFloorStartsTheJudgementAgain) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    for (int i = 0; i < 3; ++i)
        ticks.tick(12, 3);
    for (int round = 0; round < 5; ++round) {
        ticks.tick(12, 3);
        ticks.tick(12, 3);
        ticks.tick(12, 3);
        ticks.tick(15); // a key frame's burst is over: room again
    }
    EXPECT_EQ(pressure.rateLimit(), 0);
}

TEST(RecordingPressure, TheLimitStaysWithinTenAndTwentyNineFps) {
    {
        RecordingPressure pressure;
        Ticks ticks(pressure);
        for (int i = 0; i < 7; ++i)
            ticks.tick(2, 10); // nearly nothing written
        EXPECT_EQ(pressure.rateLimit(), RecordingPressure::minimumLimit);
    }
    {
        RecordingPressure pressure;
        Ticks ticks(pressure);
        for (int i = 0; i < 7; ++i)
            ticks.tick(15, 1, 15); // all written, yet one drop per tick
        EXPECT_EQ(pressure.rateLimit(), 29);
    }
}

TEST(RecordingPressure, TheEncodersCostInTheFirstSecondsSetsThePace) {
    struct Case {
        int cpus;
        double otherCores; // the live view, capture and compositing
        std::int64_t cpuPerFrameUs;
        double cameraFps;
        int limit;          // 0: every frame
        int liveIntervalMs; // right after the measurement
    };
    const Case cases[] = {
        {2, 0.0, 1'000, 30, 0, 33},     // a hardware encoder: full rate everywhere
        {2, 0.0, 20'000, 30, 0, 33},    // 100 fps flat out: room for the live view as well
        {2, 0.0, 40'000, 30, 0, 67},    // 50 fps: every frame, the live view at 15 fps
        {2, 0.0, 60'000, 30, 29, 100},  // 33 fps, short of the margin: just below the camera
        {2, 0.7, 69'000, 30, 17, 100},  // 1.3 cores left: 18.8 fps flat out, evenly 17
        {2, 1.8, 20'000, 30, 22, 100},  // the encoder keeps half a core: 25 fps, evenly 22
        {2, 0.0, 60'000, 15, 0, 67},    // the same encoder keeps up with a 15 fps camera
        {2, 0.0, 120'000, 15, 14, 100}, // 17 fps flat out: below the camera's rate
        {1, 0.0, 200'000, 30, 10, 100}, // 5 fps: no lower than 10
        {4, 0.0, 60'000, 30, 0, 67},    // the cores count: 67 fps flat out
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.cpus << " cores, " << c.otherCores << " taken, "
                                        << c.cpuPerFrameUs << " us, " << c.cameraFps << " fps");
        RecordingPressure pressure;
        pressure.start(c.cpus);
        EXPECT_EQ(pressure.liveIntervalMs(), 100); // the encoder gets the room while measured
        Ticks ticks(pressure);
        const int perTick = int(c.cameraFps / 2);
        // The first key frame costs several frames' time: that tick is left out.
        EXPECT_FALSE(ticks.measuredTick(perTick, 20 * c.cpuPerFrameUs, c.cameraFps, 2.0));
        for (int i = 0; i < RecordingPressure::measureTicks; ++i)
            EXPECT_EQ(ticks.measuredTick(perTick, c.cpuPerFrameUs, c.cameraFps, c.otherCores),
                      i + 1 == RecordingPressure::measureTicks);
        EXPECT_FALSE(pressure.measuring());
        EXPECT_EQ(pressure.rateLimit(), c.limit);
        EXPECT_EQ(pressure.liveIntervalMs(), c.liveIntervalMs);
    }
}

TEST(RecordingPressure, MeasuringWaitsForPicturesAndEachRecordingMeasuresAfresh) {
    RecordingPressure pressure;
    pressure.start(2);
    Ticks ticks(pressure);
    for (int i = 0; i < 6; ++i)
        EXPECT_FALSE(ticks.measuredTick(0, 0, 0)); // no Wide picture yet
    EXPECT_TRUE(pressure.measuring());
    for (int i = 0; i < 4; ++i)
        ticks.measuredTick(15, 60'000, 30);
    ASSERT_EQ(pressure.rateLimit(), 29);
    EXPECT_NEAR(*pressure.flatOutFps(), 33.3, 0.1);

    // The next recording: no limit, measuring again, and the engine's counters start at zero.
    pressure.start(2);
    EXPECT_EQ(pressure.rateLimit(), 0);
    EXPECT_TRUE(pressure.measuring());
    Ticks again(pressure);
    for (int i = 0; i < 4; ++i)
        again.measuredTick(15, 10'000, 30);
    EXPECT_EQ(pressure.rateLimit(), 0);
    EXPECT_EQ(pressure.liveIntervalMs(), 33);
}

TEST(RecordingPressure, AMeasuredPaceIsLoweredOnDropsAndNeverRaisedAboveWhatWasMeasured) {
    RecordingPressure pressure;
    pressure.start(2);
    Ticks ticks(pressure);
    for (int i = 0; i < 4; ++i)
        ticks.measuredTick(15, 69'000, 30, 0.7);
    ASSERT_EQ(pressure.rateLimit(), 17);
    for (int i = 0; i < 4; ++i)
        ticks.tick(7, 1, 7); // other programs took the CPU: 14 fps reached
    ASSERT_EQ(pressure.rateLimit(), 14);
    ticks.calm(6);
    EXPECT_EQ(pressure.rateLimit(), 16);
    ticks.calm(60);
    EXPECT_EQ(pressure.rateLimit(), 16);
}

TEST(RecordingPressure, AStepUpTheLiveViewCannotHoldIsTriedAgainOnlyAfterTwiceTheWait) {
    RecordingPressure pressure;
    Ticks ticks(pressure);
    ticks.tick(15, 1);
    ASSERT_EQ(pressure.liveIntervalMs(), 50);
    ticks.calm(6);
    ASSERT_EQ(pressure.liveIntervalMs(), 33);
    ticks.tick(15, 0, 9); // 30 fps is too much for the encoder
    ASSERT_EQ(pressure.liveIntervalMs(), 50);
    ticks.calm(11);
    EXPECT_EQ(pressure.liveIntervalMs(), 50);
    ticks.calm(1);
    EXPECT_EQ(pressure.liveIntervalMs(), 33);
}

TEST(RecordingPressure, AnEncoderMeasuredToKeepUpGetsEveryFrameBackAfterOtherProgramsTookTheCpu) {
    RecordingPressure pressure;
    pressure.start(2);
    Ticks ticks(pressure);
    for (int i = 0; i < 4; ++i)
        ticks.measuredTick(15, 35'000, 30); // 57 fps flat out
    ASSERT_EQ(pressure.rateLimit(), 0);
    ASSERT_EQ(pressure.liveIntervalMs(), 67);
    // A build next door: the live view gives way, then two seconds at 24 fps pace the recording.
    for (int i = 0; i < 5; ++i)
        ticks.tick(12, 3, 12);
    ASSERT_EQ(pressure.rateLimit(), 24);
    ticks.calm(5);
    EXPECT_EQ(pressure.rateLimit(), 24);
    ticks.calm(1);
    EXPECT_EQ(pressure.rateLimit(), 0);
    // Still crowded: paced again, and every frame is tried again only after twice the wait.
    for (int i = 0; i < 4; ++i)
        ticks.tick(12, 3, 12);
    ASSERT_EQ(pressure.rateLimit(), 24);
    ticks.calm(11);
    EXPECT_EQ(pressure.rateLimit(), 24);
    ticks.calm(1);
    EXPECT_EQ(pressure.rateLimit(), 0);
}
