#pragma once

#include <array>
#include <cstdint>
#include <optional>

// How hard the encoder is pressed, and what the live view and the recording should do about it.
// Pure policy, fed with the recording engine's counters a few times a second.
//
// A recording begins with the live view at its floor while the encoder shows what it costs: over
// its first seconds the CPU time of the encoder's threads per frame gives the rate it would reach
// flat out on the cores the rest of the app leaves it. Short of a margin over the camera's own
// (measured) rate, the recording is paced evenly below it from then on; with plenty of room the
// live view returns to full rate at once, with the margin to 15 fps, and from there step by step
// while the encoder keeps up.
//
// Afterwards drops in a recording are permanent while a slower preview is not, so the live view
// gives way first, step by step down to 10 fps. When the encoder still falls behind with the live
// view at its floor, the recording is paced evenly at the rate it did reach. Room that comes back
// goes to the recording first: every frame again at once when the encoder was measured to carry
// them (other programs took the CPU for a while), else step by step up to the rate that failed or
// was measured; only then does the live view speed up. A step up the live view cannot hold is tried
// again only after twice the wait, so that a machine at its edge does not keep probing it.
class RecordingPressure {
public:
    // Totals since the recording began, as the engine counts them.
    struct Sample {
        int appended = 0;
        int dropped = 0;    // both kinds
        int backlogged = 0; // appends that found an earlier frame still waiting for the encoder
        int encoded = 0;    // frames the encoder has taken
        std::int64_t encoderCpuUs = 0; // CPU time of the encoder's threads (while measuring)
        std::int64_t otherCpuUs = 0;   // CPU time of the rest of the app (while measuring)
        std::int64_t atUs = 0;         // when the totals were read, on a steady clock
        double cameraFps = 0;          // the Wide camera's rate from its frames; 0 unknown
    };

    static constexpr std::array<int, 4> intervalsMs{33, 50, 67, 100}; // 30, 20, 15, 10 fps
    static constexpr int tickMs = 500;
    // Quiet ticks before the live view speeds up one step again (doubled after a failed step).
    static constexpr int calmTicksToRecover = 6;
    static constexpr int longestCalmWait = 48;
    // Consecutive ticks with drops at the floor before the recording rate is judged
    // unsustainable (and, under a limit, before the limit is lowered).
    static constexpr int floorTicksToLimit = 4;
    static constexpr int minimumLimit = 10;
    // Frames per second a limit rises by after a quiet while.
    static constexpr int raiseStep = 2;
    // Ticks left out at the start (the first key frame costs several frames' time), then the
    // ticks the encoder is measured over: settled two seconds into the recording.
    static constexpr int warmUpTicks = 1;
    static constexpr int measureTicks = 3;
    // Flat out on the cores left to it, the encoder must reach this multiple of the camera's
    // rate to be given every frame: moments when it gets less CPU need the room.
    static constexpr double encoderMargin = 1.15;
    // With this much more, the live view costs the encoder nothing it needs.
    static constexpr double roomyMargin = 2.5;
    // A pace below the camera's rate keeps this much of the encoder's measured rate in reserve.
    static constexpr double paceMargin = 1.1;
    // The live view's step after the measurement for an encoder that keeps up, short of that.
    static constexpr int keepingUpStep = 2; // 67 ms

    // A new recording on a machine with `cpus` cores: the counters start at zero, the live view
    // at its floor while the encoder is measured.
    void start(int cpus);
    // One tick's totals; returns whether anything the callers show changed, or the
    // measurement has just settled.
    bool update(const Sample& totals);
    // A tick whose drops are not the encoder's (the drive held it up): taken as seen, judged
    // for nothing.
    void pass(const Sample& totals) { m_previous = totals; }

    bool measuring() const { return m_measuring; }
    // What the measurement found: the encoder's rate flat out on the cores the rest of the app
    // leaves it, and the camera's.
    std::optional<double> flatOutFps() const { return m_flatOutFps; }
    double cameraFps() const { return m_cameraFps; }
    double encoderCores() const { return m_encoderCores; }

    int liveIntervalMs() const { return intervalsMs[std::size_t(m_step)]; }
    // Frames per second the recording is paced to; 0 while unlimited.
    int rateLimit() const { return m_rateLimit; }
    bool pressed() const { return m_lastPressed; }

private:
    bool measure(int encoded, std::int64_t cpuUs, std::int64_t otherUs, std::int64_t wallUs);
    void settle();
    void judge(int appended, int dropped, int backlogged);
    int cameraCeiling() const; // highest limit below the camera's rate

    Sample m_previous;
    int m_cpus = 1;
    bool m_measuring = false;
    int m_warmUpSeen = 0;
    int m_measuredTicks = 0;
    int m_measuredFrames = 0;
    std::int64_t m_measuredCpuUs = 0;
    std::int64_t m_measuredOtherUs = 0;
    std::int64_t m_measuredWallUs = 0;
    std::optional<double> m_flatOutFps;
    double m_encoderCores = 0;
    double m_cameraFps = 30;

    int m_step = 0;
    int m_calmTicks = 0;
    int m_calmNeeded = calmTicksToRecover;
    int m_ticksSinceStepUp = -1; // -1: no step up to watch
    int m_floorTicks = 0;
    int m_floorAppends = 0;
    int m_rateLimit = 0;
    int m_failedRate = 0; // above every limit while 0
    bool m_lastPressed = false;
};
