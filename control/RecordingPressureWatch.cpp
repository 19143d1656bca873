// The live view gives way to the encoder while recording: a few times a second the recorder's
// counters decide the live refresh interval and, when the machine cannot keep up at all, an
// even, lower recording rate and a notice for the user. Main thread.

#include "control/CameraManager.h"

#include "diagnostics/OstrelLog.h"
#include "recording/RecordingEngine.h"
#include "recording/ffmpeg/VideoEncoder.h"

#include <algorithm>
#include <thread>

namespace {

// A software HEVC encoder needs about 2.5 cores for 2560 × 1440 at 30 fps.
bool predictedTooSlow(const QString& encoder, int width, unsigned cores) {
    return encoder == QStringLiteral("libx265") && width >= 2560 && cores < 4;
}

// A software encoder takes over a core at 1920 × 1080; with fewer than four, the live view
// would take the rest.
bool predictedShortOfCpu(const QString& encoder, unsigned cores) {
    return encoder == QStringLiteral("libx265") && cores < 4;
}

} // namespace

unsigned CameraManager::cores() const {
    return m_options.cores > 0 ? m_options.cores
                               : std::max(1u, std::thread::hardware_concurrency());
}

void CameraManager::yieldLiveViewForRecording(const QString& encoder) {
    if (!m_liveViewYields || !predictedShortOfCpu(encoder, cores()))
        return;
    const int before = m_pressure.liveIntervalMs();
    m_pressure.startLiveViewAtFloor();
    if (m_pressure.liveIntervalMs() != before)
        emit liveRefreshIntervalChanged();
}

void CameraManager::startPressureWatch(int width, int height) {
    m_pressureTask.cancel();
    m_pressure.reset();
    m_paceNotice.clear();
    m_driveStalled = false;
    setRecordingNotice({});
    m_pressureTask = m_scheduler.every(std::chrono::milliseconds(RecordingPressure::tickMs), this,
                                       [this, width, height] { pressureTick(width, height); });
    if (!m_liveViewYields)
        return;
    // The encoder that opened may be another than expected at the press.
    yieldLiveViewForRecording(m_recorder->videoEncoderName());
    if (predictedTooSlow(m_recorder->videoEncoderName(), width, cores())) {
        showPaceNotice(
            tr("Dieser Rechner schafft %1 × %2 voraussichtlich nicht mit 30 Bildern pro Sekunde. "
               "Die Aufnahme läuft dann gleichmäßig mit weniger Bildern pro Sekunde; für 30 "
               "Bilder pro Sekunde 1920 × 1080 wählen.")
                .arg(width)
                .arg(height));
        // Every other camera frame: an even cadence from the start.
        m_pressure.startPaced(RecordingPressure::cameraRate / 2);
        m_recorder->setRateLimit(m_pressure.rateLimit());
        ostrelLog(LogLevel::warn, QStringLiteral("Aufnahme %1×%2 mit %3 auf %4 Kernen: 30 fps "
                                                 "voraussichtlich nicht erreichbar")
                                      .arg(width)
                                      .arg(height)
                                      .arg(m_recorder->videoEncoderName())
                                      .arg(cores()));
    }
}

void CameraManager::stopPressureWatch() {
    m_pressureTask.cancel();
    m_pressureTask = {};
    const int before = m_pressure.liveIntervalMs();
    m_pressure = RecordingPressure();
    m_paceNotice.clear();
    m_driveStalled = false;
    setRecordingNotice({});
    if (m_pressure.liveIntervalMs() != before)
        emit liveRefreshIntervalChanged();
}

// Frames lost while the drive does not answer are the drive's: they say nothing about the
// encoder, so the pace stays as it is.
bool CameraManager::checkDrive(int waitingMs, std::int64_t backlogBytes) {
    const bool stalled = waitingMs >= driveStallMs;
    if (stalled == m_driveStalled)
        return stalled;
    m_driveStalled = stalled;
    if (stalled) {
        ostrelLog(LogLevel::warn,
                  QStringLiteral("Laufwerk reagiert nicht: seit %1 s nichts geschrieben, %2 MB "
                                 "der Aufnahme warten im Arbeitsspeicher")
                      .arg(waitingMs / 1000)
                      .arg(backlogBytes / 1'000'000));
        setRecordingNotice(tr("Laufwerk reagiert nicht. Die Aufnahme läuft weiter und wird im "
                              "Arbeitsspeicher gehalten, bis das Laufwerk wieder schreibt."));
    } else {
        ostrelLog(LogLevel::info, QStringLiteral("Laufwerk schreibt wieder"));
        setRecordingNotice(m_paceNotice);
    }
    return stalled;
}

void CameraManager::pressureTick(int width, int height) {
    if (m_stoppingRecording)
        return; // a finishing recording takes no frames: nothing to judge
    const RecordingEngine::Counters c = m_recorder->counters();
    const RecordingPressure::Sample totals{c.framesAppended, c.droppedBusy + c.droppedNotReady,
                                           c.backlogged};
    if (checkDrive(c.diskWaitingMs, c.diskBacklogBytes)) {
        m_pressure.pass(totals);
        return;
    }
    if (!m_liveViewYields)
        return;
    const int intervalBefore = m_pressure.liveIntervalMs();
    const int limitBefore = m_pressure.rateLimit();
    if (!m_pressure.update(totals))
        return;
    if (m_pressure.liveIntervalMs() != intervalBefore)
        emit liveRefreshIntervalChanged();
    const int limit = m_pressure.rateLimit();
    if (limit == limitBefore || limit == 0)
        return;
    m_recorder->setRateLimit(limit);
    ostrelLog(LogLevel::warn,
              QStringLiteral("Encoder schafft %1×%2 nicht mit 30 fps — Aufnahme gleichmäßig mit "
                             "%3 fps")
                  .arg(width)
                  .arg(height)
                  .arg(limit));
    QString notice = tr("Dieser Rechner schafft %1 × %2 nicht mit 30 Bildern pro Sekunde. Die "
                        "Aufnahme läuft gleichmäßig mit %3 Bildern pro Sekunde.")
                         .arg(width)
                         .arg(height)
                         .arg(limit);
    if (width >= 2560)
        notice += QLatin1Char(' ') + tr("Für 30 Bilder pro Sekunde 1920 × 1080 wählen.");
    showPaceNotice(notice);
}

void CameraManager::showPaceNotice(const QString& notice) {
    m_paceNotice = notice;
    if (!m_driveStalled)
        setRecordingNotice(notice);
}

void CameraManager::setRecordingNotice(const QString& notice) {
    if (notice == m_recordingNotice)
        return;
    m_recordingNotice = notice;
    emit recordingNoticeChanged();
}
