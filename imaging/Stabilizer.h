#pragma once

#include "imaging/PhaseCorrelator.h"
#include "imaging/StabilizationResult.h"
#include "media/PixelBuffer.h"

#include <QPointF>

#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>

class SettingsStore;

// Steadies the Macro picture against head tremor. Each frame's centre crop is registered
// against the previous one; the accumulated camera path minus its smoothed version gives the
// crop offset. Large movements close a gate and pass through. Pixels are never touched: the
// offset and zoom go with the frame to whoever draws it.
//
// `stabilize` runs on the Macro camera's delivery queue; `setEnabled`, `requestReset` and
// `currentZoom` on any other thread. The two locks are never held together.
class Stabilizer {
public:
    // Seconds on a monotonic clock; replaceable so the summary period can be driven in tests.
    using Clock = std::function<double()>;

    static constexpr int cropW = 960;
    static constexpr int cropH = 540;
    static constexpr double diagPeriod = 5.0; // seconds per diagnostic summary

    explicit Stabilizer(const SettingsStore& settings, Clock clock = {});
    ~Stabilizer();
    Stabilizer(const Stabilizer&) = delete;
    Stabilizer& operator=(const Stabilizer&) = delete;

    void setEnabled(bool on);
    bool isEnabled() const;
    // The next frame starts from a clean state (switching on, capture restarts).
    void requestReset();
    bool needsReset() const;

    // The offset and zoom for this frame of camera `source`.
    StabilizationResult stabilize(const PixelBuffer& frame, int source);

    // 1.0 while off, else the configured crop zoom.
    double currentZoom() const;

private:
    PixelBuffer centerCrop(const PixelBuffer& frame);
    void resetPaths();
    void openDiagPeriod(double now);
    void recordDiag(double visionMs, double stepPx, double corrPx, double gate);
    void flushDiag();
    bool diagEnabled() const;

    const SettingsStore& m_settings;
    const Clock m_clock;

    mutable std::mutex m_stateLock; // guards enabled and needsReset only
    bool m_enabled = false;
    bool m_needsReset = false;

    std::mutex m_measureLock; // held for one whole measurement; guards everything below
    std::unique_ptr<PixelBufferPool> m_cropPool;
    // FFTW measures its plans for a second or two; that runs in the background from
    // construction, so switching on does not stall the Macro picture.
    std::future<std::unique_ptr<PhaseCorrelator>> m_correlatorReady;
    std::unique_ptr<PhaseCorrelator> m_correlator; // holds the spectrum of `previous`
    PixelBuffer m_previous;
    std::optional<int> m_lastSource;
    QPointF m_lastCorrection;
    double m_motionEnv = 0;
    double m_rawX = 0, m_rawY = 0;
    double m_prevRawX = 0, m_prevRawY = 0;
    double m_smX = 0, m_smY = 0;

    std::optional<double> m_diagStart; // absent = no summary period open
    int m_diagFrames = 0;
    int m_diagErrors = 0;
    double m_diagVisionSum = 0, m_diagVisionMax = 0;
    double m_diagStepSum = 0, m_diagStepMax = 0;
    double m_diagCorrSum = 0, m_diagCorrMax = 0;
    double m_diagGateSum = 0;
};
