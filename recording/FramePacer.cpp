#include "recording/FramePacer.h"

void FramePacer::setLimit(int fps) {
    m_limit = fps > 0 ? fps : 0;
    m_credit = 0;
}

double FramePacer::cameraRate() const {
    return m_interval > 0 ? 1.0 / m_interval : 0;
}

bool FramePacer::keep(MediaTime pts) {
    if (m_last) {
        const double delta = mediaSeconds(pts - *m_last);
        // A gap (a stalled camera, a restart) says nothing about the rate.
        if (delta > 0.004 && delta < 0.5)
            m_interval = m_interval > 0 ? m_interval + (delta - m_interval) * 0.1 : delta;
    }
    m_last = pts;
    const double rate = cameraRate();
    if (m_limit == 0 || rate <= 0 || rate < m_limit + 0.5)
        return true;
    m_credit += m_limit / rate;
    // The measured rate wavers in its last digits: sums land a hair below whole numbers.
    if (m_credit < 1 - 1e-3)
        return false;
    m_credit -= 1;
    return true;
}
