#include "recording/FramePacer.h"

void FramePacer::setLimit(int fps) {
    m_limit = fps > 0 ? fps : 0;
    m_credit = 0;
}

bool FramePacer::keep(MediaTime pts) {
    if (!m_last || mediaSeconds(pts - *m_last) > longestGap || pts < *m_last) {
        m_windowStart = pts;
        m_windowFrames = 0;
    } else {
        ++m_windowFrames;
        const double span = mediaSeconds(pts - *m_windowStart);
        // The first window's estimate is used as it grows; later ones replace it when full.
        if (span > 0 && (m_firstWindow || span >= window))
            m_rate = m_windowFrames / span;
        if (span >= window) {
            m_windowStart = pts;
            m_windowFrames = 0;
            m_firstWindow = false;
        }
    }
    m_last = pts;
    if (m_limit == 0 || m_rate <= 0 || m_rate < m_limit + 0.5)
        return true;
    m_credit += m_limit / m_rate;
    // The measured rate wavers in its last digits: sums land a hair below whole numbers.
    if (m_credit < 1 - 1e-3)
        return false;
    m_credit -= 1;
    return true;
}
