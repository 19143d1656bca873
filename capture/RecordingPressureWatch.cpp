// The live view gives way to the encoder while recording: a few times a second the recorder's
// counters decide the live refresh interval and, when the machine cannot keep up at all, an
// even, lower recording rate and a notice for the user. Main thread.

#include "capture/CameraManager.h"

#include "diagnostics/OstrelLog.h"
#include "recording/RecordingEngine.h"

#include <thread>

namespace {

// A software HEVC encoder needs about 2.5 cores for 2560 × 1440 at 30 fps.
bool predictedTooSlow(const QString& encoder, int width) {
    return encoder == QStringLiteral("libx265") && width >= 2560 &&
           std::thread::hardware_concurrency() < 4;
}

} // namespace

void CameraManager::startPressureWatch(int width, int height) {
    m_pressureTask.cancel();
    m_pressure.reset();
    setRecordingNotice({});
    if (!m_liveViewYields)
        return;
    if (predictedTooSlow(m_recorder->videoEncoderName(), width)) {
        const QString notice =
            tr("Dieser Rechner schafft %1 × %2 voraussichtlich nicht mit 30 Bildern pro Sekunde. "
               "Die Aufnahme läuft dann gleichmäßig mit weniger Bildern pro Sekunde; für 30 "
               "Bilder pro Sekunde 1920 × 1080 wählen.")
                .arg(width)
                .arg(height);
        setRecordingNotice(notice);
        ostrelLog(LogLevel::warn, QStringLiteral("Aufnahme %1×%2 mit %3 auf %4 Kernen: 30 fps "
                                                 "voraussichtlich nicht erreichbar")
                                      .arg(width)
                                      .arg(height)
                                      .arg(m_recorder->videoEncoderName())
                                      .arg(std::thread::hardware_concurrency()));
    }
    m_pressureTask = m_scheduler.every(std::chrono::milliseconds(RecordingPressure::tickMs), this,
                                       [this, width, height] { pressureTick(width, height); });
}

void CameraManager::stopPressureWatch() {
    m_pressureTask.cancel();
    m_pressureTask = {};
    const int before = m_pressure.liveIntervalMs();
    m_pressure = RecordingPressure();
    setRecordingNotice({});
    if (m_pressure.liveIntervalMs() != before)
        emit liveRefreshIntervalChanged();
}

void CameraManager::pressureTick(int width, int height) {
    const RecordingEngine::Counters c = m_recorder->counters();
    const int intervalBefore = m_pressure.liveIntervalMs();
    const int limitBefore = m_pressure.rateLimit();
    if (!m_pressure.update({c.framesAppended, c.droppedBusy + c.droppedNotReady, c.backlogged}))
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
    setRecordingNotice(notice);
}

void CameraManager::setRecordingNotice(const QString& notice) {
    if (notice == m_recordingNotice)
        return;
    m_recordingNotice = notice;
    emit recordingNoticeChanged();
}
