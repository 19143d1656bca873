#include "recording/RecordingPressure.h"

#include <gtest/gtest.h>

#include <vector>

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
    bool measuredTick(int frames, std::int64_t cpuUs, double fps, double otherCores = 0,
                      int dropped = 0) {
        m_totals.appended += frames;
        m_totals.dropped += dropped;
        m_totals.encoded += frames;
        m_totals.encoderCpuUs += frames * cpuUs;
        m_totals.atUs += RecordingPressure::tickMs * 1000;
        m_totals.otherCpuUs += std::int64_t(otherCores * RecordingPressure::tickMs * 1000);
        m_totals.cameraFps = fps;
        return m_pressure.update(m_totals);
    }

private:
    RecordingPressure& m_pressure;
    RecordingPressure::Sample m_totals;
};

constexpr int full = RecordingPressure::intervalsMs[0];
constexpr int fps20 = RecordingPressure::intervalsMs[1];
constexpr int fps15 = RecordingPressure::intervalsMs[2];
constexpr int floor = RecordingPressure::intervalsMs[3];
constexpr int ceiling = 29; // just below a 30 fps camera
constexpr int raiseBy = RecordingPressure::raiseStep;
constexpr int any = -1;

// Half a second of the engine's counters: frames appended, dropped and found waiting.
struct Tick {
    int appended;
    int dropped = 0;
    int backlogged = 0;
};
constexpr Tick calm{15};

// `count` such ticks, then the live interval and the rate limit expected (`any`: not checked).
struct Step {
    int count;
    Tick tick;
    int interval;
    int limit;
};

struct Scenario {
    const char* name;
    std::vector<Step> steps;
    int repeat = 1;
    std::int64_t measuredCpuUs = 0; // a measured start first: CPU per frame on 2 cores
    double otherCores = 0;
};

} // namespace

TEST(RecordingPressure, LiveViewAndPaceFollowTheEncodersTicks) {
    const Scenario scenarios[] = {
        // Now and then a frame finds its predecessor still queued: normal jitter.
        {"an encoder that keeps up", {{40, {15, 0, 7}, full, 0}}},
        // A backlog on more than half the appends is the early sign; a single drop is enough.
        {"one step per pressed tick down to the floor",
         {{1, {15, 0, 8}, fps20, 0},
          {1, {15, 1, 0}, fps15, 0},
          {1, {14, 1, 14}, floor, 0},
          {1, {15, 0, 15}, floor, 0}}},
        {"back step by step after three quiet seconds, a pressed tick restarting the wait",
         {{2, {15, 1}, fps15, any},
          {5, calm, fps15, any},
          {1, {15, 0, 9}, floor, any},
          {5, calm, floor, any},
          {1, calm, fps15, any},
          {6, calm, fps20, any},
          {6, calm, full, any},
          {12, calm, full, any}}},
        // Two seconds at the floor still dropping, 12 + 13 + 12 + 12 frames: 24 fps. Room goes
        // to the recording first, up to just below the camera; then to the live view.
        {"behind at the floor: paced at what it reached",
         {{3, {12, 3, 12}, floor, 0},
          {1, {12, 3, 12}, floor, 0},
          {1, {13, 2, 13}, floor, 0},
          {1, {12, 3, 12}, floor, 0},
          {1, {12, 3, 12}, floor, 24},
          {6, calm, floor, 24 + raiseBy},
          {12, calm, floor, ceiling},
          {12, calm, fps20, ceiling}}},
        {"a raised limit that drops again settles below it for good",
         {{7, {10, 5, 10}, any, 20},
          {6, calm, any, 20 + raiseBy},
          {4, {11, 1, 11}, any, 21},
          {30, calm, full, 21}}},
        {"a backlog without drops is no reason to limit", {{20, {15, 0, 12}, floor, 0}}},
        {"now and then a drop is no reason to limit",
         {{1, {15, 1, 12}, any, any}, {3, {15, 0, 12}, floor, 0}},
         15},
        {"drops under a limit lower it by at least one",
         {{7, {14, 1, 14}, any, 28},
          {3, {14, 1, 14}, any, 28},
          {1, {14, 1, 14}, any, 27},
          {4, {10, 2, 10}, any, 20}}},
        // A key frame's burst is over: room again.
        {"a quiet tick at the floor starts the judgement again",
         {{3, {12, 3}, any, any}, {1, calm, any, 0}},
         5},
        {"never below the minimum", {{7, {2, 10}, any, RecordingPressure::minimumLimit}}},
        {"never up to the camera's rate", {{7, {15, 1, 15}, any, ceiling}}},
        {"a step up that does not hold is tried again only after twice the wait",
         {{1, {15, 1}, fps20, any},
          {6, calm, full, any},
          {1, {15, 0, 9}, fps20, any},
          {11, calm, fps20, any},
          {1, calm, full, any}}},
        // Other programs took the CPU: 14 fps reached.
        {"a measured pace is lowered on drops and never raised above the measurement",
         {{0, calm, any, 17},
          {4, {7, 1, 7}, any, 14},
          {6, calm, any, 14 + raiseBy},
          {60, calm, any, 14 + raiseBy}},
         1,
         69'000,
         0.7},
        // 57 fps flat out; a build next door paces it for a while. Every frame comes back
        // after three quiet seconds, and after twice that once it failed.
        {"an encoder measured to keep up gets every frame back",
         {{0, calm, fps15, 0},
          {5, {12, 3, 12}, any, 24},
          {5, calm, any, 24},
          {1, calm, any, 0},
          {4, {12, 3, 12}, any, 24},
          {11, calm, any, 24},
          {1, calm, any, 0}},
         1,
         35'000},
    };
    for (const Scenario& scenario : scenarios) {
        SCOPED_TRACE(scenario.name);
        RecordingPressure pressure;
        Ticks ticks(pressure);
        if (scenario.measuredCpuUs > 0) {
            pressure.start(2);
            for (int i = 0; i < 4; ++i)
                ticks.measuredTick(15, scenario.measuredCpuUs, 30, scenario.otherCores);
        }
        for (int round = 0; round < scenario.repeat; ++round)
            for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
                const Step& step = scenario.steps[i];
                for (int n = 0; n < step.count; ++n)
                    ticks.tick(step.tick.appended, step.tick.dropped, step.tick.backlogged);
                SCOPED_TRACE(testing::Message() << "round " << round << ", step " << i);
                EXPECT_TRUE(step.interval == any || pressure.liveIntervalMs() == step.interval)
                    << pressure.liveIntervalMs();
                EXPECT_TRUE(step.limit == any || pressure.rateLimit() == step.limit)
                    << pressure.rateLimit();
            }
    }
}

// One RecordingPressure for all cases: each recording measures afresh, with counters from zero.
TEST(RecordingPressure, TheEncodersCostInTheFirstSecondsSetsThePace) {
    struct Case {
        int cpus;
        double otherCores; // the live view, capture and compositing
        std::int64_t cpuPerFrameUs;
        double cameraFps;
        int limit;          // 0: every frame
        int liveIntervalMs; // right after the measurement
        int dropped = 0;    // in each measured tick
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
        // Drops while measured: paced at two thirds of the camera's rate until it settles.
        {2, 0.7, 69'000, 30, 17, 100, 3},
        {2, 0.0, 20'000, 30, 0, 33, 1}, // a burst: the measurement gives every frame back
    };
    RecordingPressure pressure;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.cpus << " cores, " << c.otherCores << " taken, "
                                        << c.cpuPerFrameUs << " us, " << c.cameraFps << " fps");
        pressure.start(c.cpus);
        EXPECT_EQ(pressure.rateLimit(), 0);
        EXPECT_EQ(pressure.liveIntervalMs(), 100); // the encoder gets the room while measured
        Ticks ticks(pressure);
        for (int i = 0; i < 6; ++i)
            EXPECT_FALSE(ticks.measuredTick(0, 0, 0)); // no Wide picture yet
        const int perTick = int(c.cameraFps / 2);
        // The first key frame costs several frames' time: that tick is left out.
        EXPECT_FALSE(ticks.measuredTick(perTick, 20 * c.cpuPerFrameUs, c.cameraFps, 2.0));
        for (int i = 0; i < RecordingPressure::measureTicks; ++i) {
            const bool last = i + 1 == RecordingPressure::measureTicks;
            EXPECT_EQ(
                ticks.measuredTick(perTick, c.cpuPerFrameUs, c.cameraFps, c.otherCores, c.dropped),
                last || (c.dropped > 0 && i == 0));
            if (!last) {
                EXPECT_EQ(pressure.rateLimit(), c.dropped > 0 ? ceiling * 2 / 3 : 0);
            }
        }
        EXPECT_FALSE(pressure.measuring());
        EXPECT_EQ(pressure.rateLimit(), c.limit);
        EXPECT_EQ(pressure.liveIntervalMs(), c.liveIntervalMs);
    }
}
