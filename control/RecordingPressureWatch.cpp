// The live view gives way to the encoder while recording: a few times a second the recorder's
// counters decide the live refresh interval. In the first seconds the encoder shows what a frame
// costs it; when the machine cannot keep up at the camera's rate, the recording is paced evenly
// at a lower one and the user is told. Main thread.

#include "control/CameraManager.h"

#include "diagnostics/OstrelLog.h"
#include "media/MediaTime.h"
#include "recording/RecordingEngine.h"
#include "runtime/ThreadCpu.h"

#include <cmath>

unsigned CameraManager::cores() const {
    return m_options.cores > 0 ? m_options.cores : unsigned(usableCpuCount());
}

void CameraManager::yieldLiveViewForRecording() {
    if (!m_liveViewYields)
        return;
    const int before = m_pressure.liveIntervalMs();
    m_pressure.start(int(cores()));
    if (m_pressure.liveIntervalMs() != before)
        emit liveRefreshIntervalChanged();
}

void CameraManager::startPressureWatch(int width, int height) {
    m_pressureTask.cancel();
    m_paceNotice.clear();
    m_driveStalled = false;
    setRecordingNotice({});
    yieldLiveViewForRecording();
    m_pressureTask = m_scheduler.every(std::chrono::milliseconds(RecordingPressure::tickMs), this,
                                       [this, width, height] { pressureTick(width, height); });
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
        logOnMainThread(
            LogLevel::warn,
            QStringLiteral("Laufwerk reagiert nicht: seit %1 s nichts geschrieben, %2 MB "
                           "der Aufnahme warten im Arbeitsspeicher")
                .arg(waitingMs / 1000)
                .arg(backlogBytes / 1'000'000));
        setRecordingNotice(tr("Laufwerk reagiert nicht. Die Aufnahme läuft weiter und wird im "
                              "Arbeitsspeicher gehalten, bis das Laufwerk wieder schreibt."));
    } else {
        logOnMainThread(LogLevel::info, QStringLiteral("Laufwerk schreibt wieder"));
        setRecordingNotice(m_paceNotice);
    }
    return stalled;
}

void CameraManager::pressureTick(int width, int height) {
    if (m_stoppingRecording)
        return; // a finishing recording takes no frames: nothing to judge
    const RecordingEngine::Counters c = m_recorder->counters();
    RecordingPressure::Sample totals;
    totals.appended = c.framesAppended;
    totals.dropped = c.droppedBusy + c.droppedNotReady;
    totals.backlogged = c.backlogged;
    totals.encoded = c.encoded;
    totals.cameraFps = m_recorder->cameraRate();
    const bool measuring = m_pressure.measuring();
    if (measuring) { // read from /proc: only while it counts
        totals.encoderCpuUs = RecordingEngine::encoderCpuTime().count();
        totals.otherCpuUs = processCpuTime().count() - totals.encoderCpuUs;
        totals.atUs =
            std::chrono::duration_cast<std::chrono::microseconds>(captureClockNow()).count();
    }
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
    const int cameraFps = int(std::lround(m_pressure.cameraFps()));
    const bool settled = measuring && !m_pressure.measuring();
    if (settled)
        logOnMainThread(
            LogLevel::info,
            QStringLiteral("Encoder %1 bei %2×%3: %4 fps mit voller Last auf den %5 von %6 "
                           "Kernen, die der Rest der App frei lässt, Kamera %7 fps")
                .arg(m_recorder->videoEncoderName())
                .arg(width)
                .arg(height)
                .arg(m_pressure.flatOutFps().value_or(0), 0, 'f', 0)
                .arg(m_pressure.encoderCores(), 0, 'f', 1)
                .arg(cores())
                .arg(cameraFps));
    const int limit = m_pressure.rateLimit();
    // A pace kept through the measurement is said once it is settled.
    if (limit == limitBefore && !(settled && limit > 0))
        return;
    m_recorder->setRateLimit(limit);
    if (limit == 0) {
        logOnMainThread(LogLevel::info, QStringLiteral("Aufnahme wieder mit jedem Kamerabild"));
        showPaceNotice(QString());
        return;
    }
    if (m_pressure.measuring()) {
        logOnMainThread(LogLevel::info,
                        QStringLiteral("Kamerabilder verworfen, bevor der Encoder gemessen ist — "
                                       "vorläufig gleichmäßig mit %1 fps")
                            .arg(limit));
        return;
    }
    logOnMainThread(
        LogLevel::warn,
        QStringLiteral("Encoder schafft %1×%2 nicht mit %3 fps — Aufnahme gleichmäßig mit "
                       "%4 fps")
            .arg(width)
            .arg(height)
            .arg(cameraFps)
            .arg(limit));
    QString notice = tr("Dieser Rechner schafft %1 × %2 nicht mit %3 Bildern pro Sekunde. Die "
                        "Aufnahme läuft gleichmäßig mit %4 Bildern pro Sekunde.")
                         .arg(width)
                         .arg(height)
                         .arg(cameraFps)
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
