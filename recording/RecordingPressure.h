#pragma once

#include <array>

// How hard the encoder is pressed, and what the live view and the recording should do about it.
// Pure policy, fed with the recording engine's counters a few times a second: drops in a
// recording are permanent while a slower preview is not, so the live view gives way first, step
// by step down to 10 fps, and comes back once the encoder has had room for a while. When the
// encoder still falls behind with the live view at its floor, the machine cannot sustain the
// camera rate: the recording is then paced evenly at the rate it did reach. Room that comes
// back goes to the recording first: the limit rises step by step, but stays below the rate that
// failed, so the cadence does not swing back and forth; only then does the live view speed up.
class RecordingPressure {
public:
    // Totals since the recording began, as the engine counts them.
    struct Sample {
        int appended = 0;
        int dropped = 0;    // both kinds
        int backlogged = 0; // appends that found an earlier frame still waiting for the encoder
    };

    static constexpr std::array<int, 4> intervalsMs{33, 50, 67, 100}; // 30, 20, 15, 10 fps
    static constexpr int tickMs = 500;
    // Quiet ticks before the live view speeds up one step again.
    static constexpr int calmTicksToRecover = 6;
    // Consecutive ticks with drops at the floor before the recording rate is judged
    // unsustainable (and, under a limit, before the limit is lowered).
    static constexpr int floorTicksToLimit = 4;
    static constexpr int cameraRate = 30;
    static constexpr int minimumLimit = 10;
    // Frames per second a limit rises by after a quiet while.
    static constexpr int raiseStep = 2;

    // A new recording: the live view keeps its current rate, the counters start at zero.
    void reset();
    // For an encoder expected to need most of the CPU: the live view starts the recording at
    // its floor and speeds up only once the encoder has shown it keeps up, instead of costing
    // the first second's frames while it steps down.
    void startLiveViewAtFloor();
    // For a recording the machine is known not to sustain at the camera rate: paced from the
    // first frame, with the live view at its floor, rather than losing frames unevenly until
    // the drops have been counted. The limit rises from there while the encoder keeps up.
    void startPaced(int fps);
    // One tick's totals; returns whether anything the callers show changed.
    bool update(const Sample& totals);
    // A tick whose drops are not the encoder's (the drive held it up): taken as seen, judged
    // for nothing.
    void pass(const Sample& totals) { m_previous = totals; }

    int liveIntervalMs() const { return intervalsMs[std::size_t(m_step)]; }
    // Frames per second the recording is paced to; 0 while unlimited.
    int rateLimit() const { return m_rateLimit; }
    bool pressed() const { return m_lastPressed; }

private:
    Sample m_previous;
    int m_step = 0;
    int m_calmTicks = 0;
    int m_floorTicks = 0;
    int m_floorAppends = 0;
    int m_rateLimit = 0;
    int m_failedRate = cameraRate + 1; // the lowest rate that dropped frames; above all at first
    bool m_lastPressed = false;
};
