// CameraManager, storage part: free space while recording, a warning with the time left, then
// an automatic stop. Main thread; the measurement runs on its own queue so file-system queries
// never block it.

#include "control/CameraManager.h"

#include "diagnostics/OstrelLog.h"
#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"
#include "storage/RecordingFiles.h"

#include <QFileInfo>

using namespace std::chrono_literals;

void CameraManager::startStorageMonitor(bool high) {
    m_storageMonitorTask.cancel();
    ++m_storageGeneration;
    setStorageWarning(std::nullopt);
    scheduleStorageTick(StorageBudget::forResolution(high), m_storageGeneration);
}

void CameraManager::scheduleStorageTick(StorageBudget budget, std::uint64_t generation) {
    m_storageMonitorTask = m_scheduler.after(
        5s, this, [this, budget, generation] { storageTick(budget, generation); });
}

void CameraManager::storageTick(StorageBudget budget, std::uint64_t generation) {
    if (generation != m_storageGeneration || !m_isRecording)
        return;
    const std::optional<QString> folder =
        m_saveURL.isEmpty() ? std::nullopt : std::optional<QString>(m_saveURL.toLocalFile());
    const std::optional<QString> tempFile = m_activeTempFile;
    // The drive the recording is written to (normally the recording folder's own).
    const QString tempFolder =
        tempFile ? QFileInfo(*tempFile).absolutePath() : folder.value_or(m_options.tempFolder);
    const auto measure = m_options.freeSpace ? m_options.freeSpace : freeBytesAtDestination;
    const std::shared_ptr<PartialRecording> partial = m_activePartial;
    QPointer<CameraManager> weak(this);
    // One measurement in flight at a time: the next tick is armed only after this one is back.
    m_storageQueue->async([=] {
        const std::optional<std::int64_t> free = measure(tempFolder, folder, tempFile);
        const bool lost = partial && !partial->reachable();
        runOn(weak.data(), [=] {
            if (!weak || generation != weak->m_storageGeneration || !weak->m_isRecording)
                return; // the monitor was stopped while measuring
            ++weak->m_storageChecks;
            if (lost && partial == weak->m_activePartial)
                weak->recordingFileLost();
            weak->checkStorage(free, budget);
            if (weak->m_isRecording && !weak->m_stoppingRecording)
                weak->scheduleStorageTick(budget, generation);
        });
    });
}

void CameraManager::checkStorage(std::optional<std::int64_t> freeBytes,
                                 const StorageBudget& budget) {
    if (!freeBytes)
        return;
    const std::int64_t free = *freeBytes;
    if (free < budget.stopReserve) {
        logOnMainThread(LogLevel::event, QStringLiteral("Speicherplatz fast voll (%1 MB frei) — "
                                                        "Aufnahme wird automatisch beendet")
                                             .arg(free / 1000000));
        setUserAlert(tr("Aufnahme automatisch beendet: Der Speicherplatz am Ziel ist fast voll. "
                        "Die Aufnahme wurde gespeichert."));
        stopRecording();
        return;
    }
    if (!m_storageWarning && free < budget.warnLevel) {
        const std::int64_t minutes = budget.minutesBeforeStop(free);
        setStorageWarning(tr("Speicher fast voll · ≈ %1 Min").arg(minutes));
        logOnMainThread(
            LogLevel::warn,
            QStringLiteral("Speicherplatz wird knapp: ≈ %1 Min Restzeit am Aufnahmeziel")
                .arg(minutes));
    }
}

void CameraManager::stopStorageMonitor() {
    m_storageMonitorTask.cancel();
    m_storageMonitorTask = {};
    ++m_storageGeneration;
    setStorageWarning(std::nullopt);
}
