#include "imaging/Stabilizer.h"

#include "diagnostics/OstrelLog.h"
#include "imaging/StabilizerTuning.h"
#include "settings/SettingsStore.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

namespace {

double steadySeconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double clampUnit(double v) {
    return std::clamp(v, 0.0, 1.0);
}

} // namespace

Stabilizer::Stabilizer(const SettingsStore& settings, Clock clock)
    : m_settings(settings), m_clock(clock ? std::move(clock) : Clock(steadySeconds)),
      m_correlatorReady(std::async(
          std::launch::async, [] { return std::make_unique<PhaseCorrelator>(cropW, cropH); })) {
}

Stabilizer::~Stabilizer() = default;

void Stabilizer::setEnabled(bool on) {
    bool wasOn = false;
    {
        std::lock_guard lock(m_stateLock);
        wasOn = m_enabled;
        m_enabled = on;
        if (on)
            m_needsReset = true;
    }
    if (on && !wasOn)
        logFromAnyThread(LogLevel::info, QStringLiteral("Stabilisierung an — ") +
                                             StabilizerTuning::read(m_settings).describe());
}

bool Stabilizer::isEnabled() const {
    std::lock_guard lock(m_stateLock);
    return m_enabled;
}

void Stabilizer::requestReset() {
    std::lock_guard lock(m_stateLock);
    m_needsReset = true;
}

bool Stabilizer::needsReset() const {
    std::lock_guard lock(m_stateLock);
    return m_needsReset;
}

double Stabilizer::currentZoom() const {
    if (!isEnabled())
        return 1.0;
    return StabilizerTuning::read(m_settings).cropZoom;
}

bool Stabilizer::diagEnabled() const {
    return m_settings.boolean(Setting::devStabDiag);
}

PixelBuffer Stabilizer::centerCrop(const PixelBuffer& frame) {
    if (frame.isNull() || frame.width() < cropW || frame.height() < cropH)
        return {};
    if (!m_cropPool)
        m_cropPool = std::make_unique<PixelBufferPool>(cropW, cropH, 3);
    PixelBuffer crop = m_cropPool->acquire();
    if (crop.isNull())
        return {};
    // Whole-pixel centre: a shift measured in crop pixels is a shift in frame pixels.
    const int left = (frame.width() - cropW) / 2;
    const int top = (frame.height() - cropH) / 2;
    for (int y = 0; y < cropH; ++y)
        std::memcpy(crop.row(y), frame.row(top + y) + std::ptrdiff_t(left) * 4,
                    std::size_t(cropW) * 4);
    return crop;
}

void Stabilizer::resetPaths() {
    m_previous = {};
    if (m_correlator)
        m_correlator->clearReference();
    m_lastCorrection = {};
    m_motionEnv = 0;
    m_rawX = m_rawY = 0;
    m_prevRawX = m_prevRawY = 0;
    m_smX = m_smY = 0;
}

StabilizationResult Stabilizer::stabilize(const PixelBuffer& frame, int source) {
    bool enabled = false;
    bool reset = false;
    {
        std::lock_guard lock(m_stateLock);
        enabled = m_enabled;
        reset = m_needsReset;
        m_needsReset = false;
    }

    std::lock_guard measure(m_measureLock);
    if (!enabled) {
        m_previous = {};
        if (m_correlator)
            m_correlator->clearReference();
        m_lastSource.reset();
        m_lastCorrection = {};
        m_motionEnv = 0;
        return {QPointF(0, 0), 1.0};
    }
    if (reset || !m_lastSource || *m_lastSource != source)
        resetPaths();
    m_lastSource = source;

    const StabilizerTuning tuning = StabilizerTuning::read(m_settings);
    const double g = tuning.gain;
    const double s = tuning.smoothing;
    const double z = tuning.cropZoom;
    const double l = tuning.lead;
    // The zoom may have been lowered since the last frame: keep the window inside the frame.
    const double margin = (z - 1.0) / (2.0 * z);
    const double bound = std::max(margin, 0.0);
    m_lastCorrection = QPointF(std::clamp(m_lastCorrection.x(), -bound, bound),
                               std::clamp(m_lastCorrection.y(), -bound, bound));
    const StabilizationResult unchanged{m_lastCorrection, z};

    const double W = frame.width();
    const double H = frame.height();
    if (W < 1 || H < 1)
        return unchanged;
    PixelBuffer crop = centerCrop(frame);
    if (crop.isNull())
        return unchanged;
    if (!m_correlator)
        m_correlator = m_correlatorReady.get(); // waits only if planning is still running

    if (m_previous.isNull()) {
        m_correlator->setReference(crop);
        m_previous = std::move(crop);
        return unchanged;
    }

    const double t0 = m_clock();
    const std::optional<PhaseCorrelator::Shift> shift = m_correlator->measure(crop);
    m_previous = std::move(crop); // the correlator now holds this crop's spectrum
    if (!shift) {
        if (diagEnabled()) {
            if (!m_diagStart)
                openDiagPeriod(m_clock());
            ++m_diagErrors;
            flushDiag();
        }
        return unchanged;
    }
    const double t1 = m_clock();
    const double visionMs = (t1 - t0) * 1000.0;
    // The correlator measures on the camera frame as stored, y downwards (row order). The
    // offset is applied to the half-turned picture, x to the right and y upwards (the layout's
    // convention, as the platform's registration measures). The half turn negates both axes
    // and going from rows to y-up negates y once more, so x carries over and y flips.
    const double tx = shift->x;
    const double ty = -shift->y;
    const double step = std::hypot(tx, ty);

    m_rawX += tx;
    m_rawY += ty;

    m_motionEnv = std::max(std::min(step, 0.042 * W), 0.9 * m_motionEnv);
    const double u = clampUnit((m_motionEnv - 0.008 * W) / (0.021 * W - 0.008 * W));
    const double gate = 1.0 - u * u * (3.0 - 2.0 * u);

    const double alpha = s * gate + 0.6 * (1.0 - gate);
    m_smX = alpha * m_smX + (1.0 - alpha) * m_rawX;
    m_smY = alpha * m_smY + (1.0 - alpha) * m_rawY;

    const double oldPrevRawX = m_prevRawX;
    const double oldPrevRawY = m_prevRawY;
    m_prevRawX = m_rawX;
    m_prevRawY = m_rawY;

    if (margin <= 0) {
        m_lastCorrection = {};
        return {QPointF(0, 0), z};
    }

    const double pX = m_rawX + l * (m_rawX - oldPrevRawX);
    const double pY = m_rawY + l * (m_rawY - oldPrevRawY);
    const double nX = gate * g * (pX - m_smX) / W;
    const double nY = gate * g * (pY - m_smY) / H;
    const double targetX = margin * std::tanh(nX / margin);
    const double targetY = margin * std::tanh(nY / margin);

    const double maxStep = margin * 0.12 * std::max(2.0 * g, 1.0);
    const double dX = std::clamp(targetX - m_lastCorrection.x(), -maxStep, maxStep);
    const double dY = std::clamp(targetY - m_lastCorrection.y(), -maxStep, maxStep);
    m_lastCorrection += QPointF(dX, dY);
    if (!std::isfinite(m_lastCorrection.x()) || !std::isfinite(m_lastCorrection.y()))
        m_lastCorrection = {}; // cannot happen with limited tuning; never hand out NaN

    const double corrPx = std::hypot(W * m_lastCorrection.x(), H * m_lastCorrection.y());
    recordDiag(visionMs, step, corrPx, gate);
    return {m_lastCorrection, z};
}

void Stabilizer::openDiagPeriod(double now) {
    m_diagStart = now;
    m_diagFrames = 0;
    m_diagErrors = 0;
    m_diagVisionSum = m_diagVisionMax = 0;
    m_diagStepSum = m_diagStepMax = 0;
    m_diagCorrSum = m_diagCorrMax = 0;
    m_diagGateSum = 0;
}

void Stabilizer::recordDiag(double visionMs, double stepPx, double corrPx, double gate) {
    if (!diagEnabled()) {
        m_diagStart.reset();
        return;
    }
    if (!m_diagStart) {
        openDiagPeriod(m_clock());
        m_diagFrames = 1;
    } else {
        ++m_diagFrames;
    }
    m_diagVisionSum += visionMs;
    m_diagVisionMax = std::max(m_diagVisionMax, visionMs);
    m_diagStepSum += stepPx;
    m_diagStepMax = std::max(m_diagStepMax, stepPx);
    m_diagCorrSum += corrPx;
    m_diagCorrMax = std::max(m_diagCorrMax, corrPx);
    m_diagGateSum += gate;
    flushDiag();
}

void Stabilizer::flushDiag() {
    const double now = m_clock();
    if (!m_diagStart) {
        m_diagStart = now;
        return;
    }
    const double elapsed = now - *m_diagStart;
    if (elapsed < diagPeriod)
        return;
    if (m_diagFrames < 1) {
        if (m_diagErrors >= 1)
            logFromAnyThread(LogLevel::warn,
                             QStringLiteral("Stab-Diagnose: keine Messung in %1 s · "
                                            "Fehler %2")
                                 .arg(qint64(elapsed))
                                 .arg(m_diagErrors));
    } else {
        const double frames = m_diagFrames;
        logFromAnyThread(
            LogLevel::info,
            QString::asprintf("Stab-Diagnose: %.0f/s · Vision %.1f ms (max %.1f) · "
                              "Bewegung %.1f px (max %.1f) · Korrektur %.1f px (max %.1f) "
                              "· Gate %d%% · Fehler %d",
                              frames / elapsed, m_diagVisionSum / frames, m_diagVisionMax,
                              m_diagStepSum / frames, m_diagStepMax, m_diagCorrSum / frames,
                              m_diagCorrMax, int(std::lround(m_diagGateSum / frames * 100.0)),
                              m_diagErrors));
    }
    openDiagPeriod(now);
}
