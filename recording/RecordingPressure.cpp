#include "recording/RecordingPressure.h"

#include <algorithm>
#include <cmath>

void RecordingPressure::start(int cpus) {
    *this = RecordingPressure();
    m_cpus = std::max(1, cpus);
    m_measuring = true;
    m_step = int(intervalsMs.size()) - 1;
}

bool RecordingPressure::update(const Sample& totals) {
    const int appended = std::max(0, totals.appended - m_previous.appended);
    const int dropped = std::max(0, totals.dropped - m_previous.dropped);
    const int backlogged = std::max(0, totals.backlogged - m_previous.backlogged);
    const int encoded = std::max(0, totals.encoded - m_previous.encoded);
    // A thread that ended takes its time with it; such a tick counts nothing.
    const std::int64_t cpuUs =
        std::max<std::int64_t>(0, totals.encoderCpuUs - m_previous.encoderCpuUs);
    const std::int64_t otherUs =
        std::max<std::int64_t>(0, totals.otherCpuUs - m_previous.otherCpuUs);
    const std::int64_t wallUs = std::max<std::int64_t>(0, totals.atUs - m_previous.atUs);
    m_previous = totals;
    if (totals.cameraFps > 0)
        m_cameraFps = totals.cameraFps;
    const int stepBefore = m_step;
    const int limitBefore = m_rateLimit;
    bool settled = false;
    if (m_measuring) {
        m_lastPressed = false;
        // Frames lost before the measurement settles come in bursts: pace evenly meanwhile.
        if (dropped > 0 && m_rateLimit == 0)
            m_rateLimit = std::max(minimumLimit, cameraCeiling() * 2 / 3);
        if (measure(encoded, cpuUs, otherUs, wallUs)) {
            settle();
            settled = true;
        }
    } else {
        judge(appended, dropped, backlogged);
    }
    return settled || m_step != stepBefore || m_rateLimit != limitBefore;
}

bool RecordingPressure::measure(int encoded, std::int64_t cpuUs, std::int64_t otherUs,
                                std::int64_t wallUs) {
    if (encoded == 0)
        return false; // no picture yet: nothing to measure
    if (m_warmUpSeen < warmUpTicks) {
        ++m_warmUpSeen;
        return false;
    }
    m_measuredFrames += encoded;
    m_measuredCpuUs += cpuUs;
    m_measuredOtherUs += otherUs;
    m_measuredWallUs += wallUs;
    return ++m_measuredTicks >= measureTicks;
}

int RecordingPressure::cameraCeiling() const {
    return std::max(minimumLimit, int(std::ceil(m_cameraFps - 0.5)) - 1);
}

void RecordingPressure::settle() {
    m_measuring = false;
    m_rateLimit = 0;
    const double cpuPerFrameUs = double(m_measuredCpuUs) / m_measuredFrames;
    // The live view, capture and compositing keep their share (measured with the live view at
    // its floor, where a paced recording keeps it); the encoder gets the rest, at least half a
    // core.
    const double otherCores =
        m_measuredWallUs > 0 ? double(m_measuredOtherUs) / double(m_measuredWallUs) : 0;
    m_encoderCores = std::max(0.5, m_cpus - otherCores);
    const double flatOut = cpuPerFrameUs > 0 ? m_encoderCores * 1e6 / cpuPerFrameUs : 1e6;
    m_flatOutFps = flatOut;
    if (flatOut < encoderMargin * m_cameraFps) {
        m_rateLimit = std::clamp(int(flatOut / paceMargin), minimumLimit, cameraCeiling());
        m_failedRate = m_rateLimit + 1; // what the encoder showed; never paced above it
    }
    if (flatOut >= roomyMargin * m_cameraFps)
        m_step = 0;
    else if (m_rateLimit == 0)
        m_step = keepingUpStep; // room for a live view at 15 fps beside every frame
}

void RecordingPressure::judge(int appended, int dropped, int backlogged) {
    // A drop is late news; a frame that finds the previous one still queued is the early sign.
    m_lastPressed = dropped > 0 || (appended > 0 && 2 * backlogged > appended);
    if (m_ticksSinceStepUp >= 0)
        ++m_ticksSinceStepUp;
    if (m_lastPressed) {
        if (m_ticksSinceStepUp >= 0 && m_ticksSinceStepUp <= calmTicksToRecover)
            m_calmNeeded = std::min(2 * m_calmNeeded, longestCalmWait);
        m_ticksSinceStepUp = -1;
        m_calmTicks = 0;
        if (m_step + 1 < int(intervalsMs.size())) {
            ++m_step;
        } else if (dropped == 0) {
            // A backlog without drops is an encoder that just keeps up: no limit for that.
            m_floorTicks = m_floorAppends = 0;
        } else {
            // Only drops in every tick count; now and then a drop is no reason to limit.
            ++m_floorTicks;
            m_floorAppends += appended;
            if (m_floorTicks >= floorTicksToLimit) {
                const int reached = m_floorAppends * 1000 / (m_floorTicks * tickMs);
                // Still dropping under a limit: it was judged too high, go below it.
                m_failedRate = m_rateLimit > 0 ? m_rateLimit : cameraCeiling() + 1;
                const int next = m_rateLimit > 0 ? std::min(reached, m_rateLimit - 1) : reached;
                m_rateLimit = std::clamp(next, minimumLimit, cameraCeiling());
                m_floorTicks = m_floorAppends = 0;
            }
        }
        return;
    }
    m_floorTicks = m_floorAppends = 0;
    if (m_ticksSinceStepUp > calmTicksToRecover)
        m_ticksSinceStepUp = -1; // the step held
    if (++m_calmTicks < m_calmNeeded)
        return;
    m_calmTicks = 0;
    if (m_rateLimit > 0 && m_flatOutFps && *m_flatOutFps >= encoderMargin * m_cameraFps) {
        // An encoder measured to carry every frame lost them to other programs for a while:
        // every frame again, tried like a step up of the live view.
        m_rateLimit = 0;
        m_failedRate = 0;
        m_ticksSinceStepUp = 0;
    } else if (m_rateLimit > 0 && (m_failedRate == 0 || m_rateLimit + 1 < m_failedRate)) {
        m_rateLimit = m_failedRate > 0 ? std::min(m_rateLimit + raiseStep, m_failedRate - 1)
                                       : m_rateLimit + raiseStep;
    } else if (m_step > 0) {
        --m_step;
        m_ticksSinceStepUp = 0;
    }
}
