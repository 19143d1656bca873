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

TEST(RecordingPressure, ALiveViewStartedAtItsFloorComesBackOnlyOnceTheEncoderKeepsUp) {
    RecordingPressure pressure;
    pressure.startLiveViewAtFloor();
    // Set at the press; the recording's own start keeps it.
    pressure.reset();
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    Ticks ticks(pressure);
    ticks.calm(5);
    ticks.tick(15, 0, 9); // the encoder still catching up: the quiet time starts again
    ticks.calm(5);
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    EXPECT_TRUE(ticks.tick(15));
    EXPECT_EQ(pressure.liveIntervalMs(), 67);
    EXPECT_EQ(pressure.rateLimit(), 0);
}

TEST(RecordingPressure, ARecordingStartedPacedRisesWhileTheEncoderKeepsUp) {
    RecordingPressure pressure;
    pressure.startPaced(15);
    EXPECT_EQ(pressure.rateLimit(), 15);
    EXPECT_EQ(pressure.liveIntervalMs(), 100);
    Ticks ticks(pressure);
    for (int i = 0; i < 6; ++i)
        ticks.tick(7);
    EXPECT_EQ(pressure.rateLimit(), 17);
    // Behind at 17: after two seconds of drops it goes back below, and stays there.
    for (int i = 0; i < 4; ++i)
        ticks.tick(8, 1);
    EXPECT_EQ(pressure.rateLimit(), 16);
    // Quiet again: the room goes to the live view, not to another try at 17.
    for (int i = 0; i < 6; ++i)
        ticks.tick(8);
    EXPECT_EQ(pressure.rateLimit(), 16);
    EXPECT_EQ(pressure.liveIntervalMs(), 67);
}

TEST(RecordingPressure, ANewRecordingStartsWithoutLimitAndFromFreshTotals) {
    RecordingPressure pressure;
    {
        Ticks ticks(pressure);
        for (int i = 0; i < 7; ++i)
            ticks.tick(12, 3);
        ASSERT_GT(pressure.rateLimit(), 0);
    }
    pressure.reset();
    EXPECT_EQ(pressure.rateLimit(), 0);
    // The engine's counters start at zero again: small totals are not read as going backwards.
    Ticks ticks(pressure);
    ticks.calm(6);
    EXPECT_EQ(pressure.liveIntervalMs(), 67);
    EXPECT_FALSE(pressure.pressed());
}
