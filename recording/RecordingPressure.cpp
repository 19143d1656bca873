#include "recording/RecordingPressure.h"

#include <algorithm>

void RecordingPressure::reset() {
    m_previous = {};
    m_calmTicks = m_floorTicks = m_floorAppends = 0;
    m_rateLimit = 0;
    m_failedRate = cameraRate + 1;
    m_lastPressed = false;
}

void RecordingPressure::startLiveViewAtFloor() {
    m_step = int(intervalsMs.size()) - 1;
    m_calmTicks = 0;
}

void RecordingPressure::startPaced(int fps) {
    startLiveViewAtFloor();
    m_rateLimit = std::clamp(fps, minimumLimit, cameraRate - 1);
}

bool RecordingPressure::update(const Sample& totals) {
    const int appended = std::max(0, totals.appended - m_previous.appended);
    const int dropped = std::max(0, totals.dropped - m_previous.dropped);
    const int backlogged = std::max(0, totals.backlogged - m_previous.backlogged);
    m_previous = totals;
    const int stepBefore = m_step;
    const int limitBefore = m_rateLimit;

    // A drop is late news; a frame that finds the previous one still queued is the early sign.
    m_lastPressed = dropped > 0 || (appended > 0 && 2 * backlogged > appended);
    if (m_lastPressed) {
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
                m_failedRate = m_rateLimit > 0 ? m_rateLimit : cameraRate;
                const int next = m_rateLimit > 0 ? std::min(reached, m_rateLimit - 1) : reached;
                m_rateLimit = std::clamp(next, minimumLimit, cameraRate - 1);
                m_floorTicks = m_floorAppends = 0;
            }
        }
    } else {
        m_floorTicks = m_floorAppends = 0;
        if (++m_calmTicks >= calmTicksToRecover) {
            m_calmTicks = 0;
            if (m_rateLimit > 0 && m_rateLimit + 1 < m_failedRate)
                m_rateLimit = std::min(m_rateLimit + raiseStep, m_failedRate - 1);
            else if (m_step > 0)
                --m_step;
        }
    }
    return m_step != stepBefore || m_rateLimit != limitBefore;
}
