// CameraManager, recording part: recording start and stop, the move of finished files into
// the recording folder, leftovers of a crash, and photos. Main thread, with the recorder
// driven from the frame queue.

#include "capture/CameraManager.h"

#include "capture/FrameStore.h"
#include "capture/RecordingFiles.h"
#include "capture/RecordingRecovery.h"
#include "diagnostics/OstrelLog.h"
#include "recording/Photos.h"
#include "recording/RecordingEngine.h"
#include "recording/Watermark.h"
#include "recording/ffmpeg/VideoEncoder.h"
#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <variant>

namespace {

SizeD canvasFor(bool high) {
    return high ? SizeD{2560, 1440} : SizeD{1920, 1080};
}

} // namespace

void CameraManager::startRecording(int width, int height, bool withAudio, const QImage& overlay,
                                   double macroFraction) {
    if (!m_running || m_isRecording)
        return;
    yieldLiveViewForRecording(ffmpeg::VideoEncoder::expectedName());
    setRecording(true);
    m_stoppingRecording = false;
    const bool sound = withAudio && m_micActive;
    // Written where it will be saved, so saving is a rename on the same drive.
    const bool haveFolder = !m_saveURL.isEmpty();
    const QString folder = haveFolder ? m_saveURL.toLocalFile() : m_options.tempFolder;
    const qint64 startSeconds = QDateTime::currentSecsSinceEpoch();

    QPointer<CameraManager> weak(this);
    RecordingEngine* recorder = m_recorder.get();
    const PixelBuffer overlayBuffer = pixelBufferOf(overlay);
    m_frameQueue->async([=] {
        if (!weak)
            return;
        // Creating the locked file is the check that the folder can be written.
        auto created = PartialRecording::create(folder, startSeconds, !haveFolder);
        if (const QString* folderError = std::get_if<QString>(&created)) {
            const bool missing = !QFileInfo(folder).isDir();
            runOn(weak.data(), [=, error = *folderError] {
                if (weak)
                    weak->recordingStartFailed(error, missing);
            });
            return;
        }
        std::shared_ptr<PartialRecording> partial =
            std::move(std::get<std::unique_ptr<PartialRecording>>(created));
        const std::optional<QString> error =
            recorder->start(partial->path(), width, height, sound, overlayBuffer, macroFraction);
        if (error)
            partial->discard();
        runOn(weak.data(), [=] {
            if (!weak)
                return;
            if (error) {
                weak->setRecording(false);
                weak->stopPressureWatch();
                weak->setStatus(CameraStatus::recordingError);
                ostrelLog(LogLevel::error,
                          QStringLiteral("Aufnahme-Start fehlgeschlagen: ") + *error);
                return;
            }
            weak->m_activePartial = partial;
            weak->m_activeTempFile = partial->path();
            weak->startStorageMonitor(width >= 2560);
            weak->startPressureWatch(width, height);
            ostrelLog(LogLevel::event,
                      QStringLiteral("Aufnahme läuft (%1×%2, Audio: %3)")
                          .arg(width)
                          .arg(height)
                          .arg(sound ? QStringLiteral("an") : QStringLiteral("aus")));
        });
    });
}

void CameraManager::recordingStartFailed(const QString& folderError, bool folderMissing) {
    setRecording(false);
    stopPressureWatch();
    setStatus(CameraStatus::recordingError);
    ostrelLog(LogLevel::error,
              QStringLiteral("Aufnahme-Start fehlgeschlagen: Aufnahmeordner nicht beschreibbar (") +
                  folderError + QStringLiteral(")"));
    setUserAlert(tr("Aufnahme nicht gestartet: In den Aufnahmeordner kann nicht geschrieben "
                    "werden (Laufwerk voll, schreibgeschützt oder getrennt?). Bitte den Ordner "
                    "prüfen oder einen anderen wählen."));
    if (folderMissing) {
        m_folderReachable = false;
        scheduleFolderCheck();
    }
}

void CameraManager::startRecordingWith(bool high, bool withAudio, bool watermarkOn,
                                       const QString& praxisText, double macroFraction) {
    const SizeD canvas = canvasFor(high);
    const QImage overlay =
        makeWatermark(watermarkOn ? std::optional<QString>(praxisText) : std::nullopt, canvas.width,
                      canvas.height);
    startRecording(int(canvas.width), int(canvas.height), withAudio, overlay, macroFraction);
}

void CameraManager::stopRecording() {
    if (!m_isRecording || m_stoppingRecording)
        return;
    m_stoppingRecording = true;
    QPointer<CameraManager> weak(this);
    RecordingEngine* recorder = m_recorder.get();
    m_frameQueue->async([weak, recorder] {
        if (!weak)
            return;
        recorder->stop([weak](std::optional<QString> file, std::optional<QString> error) {
            if (!weak)
                return;
            runOn(weak.data(), [weak, file, error] {
                if (weak)
                    weak->recordingFinished(file, error);
            });
        });
    });
}

void CameraManager::recordingFinished(std::optional<QString> file, std::optional<QString> error) {
    setRecording(false);
    m_stoppingRecording = false;
    stopStorageMonitor();
    stopPressureWatch();
    endDegradedRun();
    if (error) {
        setStatus(CameraStatus::recordingError);
        ostrelLog(LogLevel::error, QStringLiteral("Aufnahme-Fehler beim Abschluss: ") + *error);
    }
    saveRecording(std::move(m_activePartial), file && !error);
}

namespace {

// What became of a finished (or failed) recording's file.
struct SaveResult {
    enum class Kind { nothing, saved, unsaved, moveFailed, rescued } kind = Kind::nothing;
    QString name;  // the saved or kept file's name
    QString path;  // unsaved: where the file is now
    QString error; // moveFailed: why
};

// Moves a finished recording into `folder` under its final name (a rename on the same drive),
// or without a folder gives it its unsaved name where it is. The file of a recording that
// failed is saved as far as it was written. File I/O: runs on the file queue.
SaveResult saveFile(PartialRecording& partial, const std::optional<QString>& folder,
                    bool finished) {
    if (!partial.exists())
        return {}; // nothing was recorded; the writer removed it
    if (!folder) {
        const QString kept = QDir(QFileInfo(partial.path()).absolutePath())
                                 .filePath(unsavedRecordingName(partial.path()));
        if (finished && !partial.moveTo(kept))
            return {SaveResult::Kind::unsaved, QFileInfo(kept).fileName(), kept, {}};
        return {};
    }
    if (!finished) {
        const RecoveryOutcome outcome = recoverPartial(partial, *folder);
        if (outcome.kind == RecoveryOutcome::Kind::saved)
            return {SaveResult::Kind::rescued, outcome.name, {}, {}};
        return {};
    }
    const QString name = freeRecordingName(QDir(*folder), photoTimestamp());
    if (const std::optional<QString> error = partial.moveTo(QDir(*folder).filePath(name)))
        return {SaveResult::Kind::moveFailed, {}, {}, *error};
    return {SaveResult::Kind::saved, name, {}, {}};
}

} // namespace

void CameraManager::saveRecording(std::shared_ptr<PartialRecording> partial, bool finished) {
    const auto done = [this] {
        std::function<void()> callback = std::move(onRecordingFinished);
        onRecordingFinished = nullptr;
        if (callback)
            callback();
    };
    if (!partial) {
        done();
        return;
    }
    setSavingRecording(true);
    const std::optional<QString> folder =
        m_saveURL.isEmpty() ? std::nullopt : std::optional<QString>(m_saveURL.toLocalFile());
    QPointer<CameraManager> weak(this);
    // The lock goes with the file and is released only once it has its final name.
    m_fileQueue->async([weak, partial = std::move(partial), folder, finished, done]() mutable {
        const SaveResult result = saveFile(*partial, folder, finished);
        partial.reset();
        runOn(weak.data(), [weak, result, done] {
            if (!weak)
                return;
            switch (result.kind) {
            case SaveResult::Kind::nothing:
                weak->m_activeTempFile.reset();
                break;
            case SaveResult::Kind::unsaved:
                ostrelLog(LogLevel::warn, QStringLiteral("Kein Aufnahmeordner gewählt — Datei "
                                                         "bleibt im temporären Ordner: ") +
                                              result.name);
                weak->m_activeTempFile = result.path;
                break;
            case SaveResult::Kind::saved:
                ostrelLog(LogLevel::event, QStringLiteral("Aufnahme gespeichert: ") + result.name);
                weak->m_activeTempFile.reset();
                break;
            case SaveResult::Kind::rescued:
                ostrelLog(LogLevel::event,
                          QStringLiteral("Aufnahme bis zum Schreibfehler gespeichert: ") +
                              result.name);
                weak->m_activeTempFile.reset();
                break;
            case SaveResult::Kind::moveFailed:
                ostrelLog(LogLevel::error,
                          QStringLiteral("Aufnahme speichern fehlgeschlagen: ") + result.error);
                weak->setUserAlert(
                    tr("Aufnahme konnte nicht in den Aufnahmeordner verschoben werden (Laufwerk "
                       "voll oder getrennt?). Die Datei liegt weiterhin im temporären Ordner."));
                weak->m_activeTempFile.reset();
                // It is saved from its partial file once the drive is back.
                weak->m_folderReachable = false;
                weak->scheduleFolderCheck();
                break;
            }
            weak->setSavingRecording(false);
            done();
        });
    });
}

void CameraManager::setMacroFraction(double fraction) {
    QPointer<CameraManager> weak(this);
    RecordingEngine* recorder = m_recorder.get();
    m_frameQueue->async([weak, recorder, fraction] {
        if (weak)
            recorder->setMacroFraction(fraction);
    });
}

void CameraManager::takeSnapshot(bool high, bool watermarkOn, const QString& praxisText,
                                 double macroFraction) {
    const std::optional<PixelBuffer> wide = FrameStore::shared().latestBuffer(0);
    if (!m_running || !wide) {
        ostrelLog(LogLevel::warn, QStringLiteral("Foto nicht möglich — noch kein Live-Bild"));
        return;
    }
    SnapshotJob job;
    job.canvas = canvasFor(high);
    job.wide = *wide;
    if (const std::optional<StoredFrame> macro = FrameStore::shared().latest(1)) {
        job.macro = macro->buffer;
        job.macroZoom = macro->stabZoom;
        job.macroOffset = {macro->stabOffset.x(), macro->stabOffset.y()};
    }
    job.overlay = makeWatermark(watermarkOn ? std::optional<QString>(praxisText) : std::nullopt,
                                job.canvas.width, job.canvas.height);
    job.macroFraction = macroFraction;
    if (!m_saveURL.isEmpty())
        job.folder = m_saveURL.toLocalFile();
    m_snapshotQueue->async([job = std::move(job)] { renderPhotos(job); });
}

void CameraManager::recoverLeftoverRecordings() {
    if (m_saveURL.isEmpty())
        return;
    const QString folder = m_saveURL.toLocalFile();
    const QStringList places{folder, m_options.tempFolder};
    QPointer<CameraManager> weak(this);
    m_fileQueue->async([weak, places, folder] {
        const int saved = recoverUnownedRecordings(places, folder);
        runOn(weak.data(), [weak, saved] {
            if (weak)
                emit weak->leftoversRecovered(saved);
        });
    });
}

// A folder found unreachable is looked at again every few seconds; when it is back, what a
// crash or a pulled drive left in it is recovered at once.
void CameraManager::checkRecordingFolder() {
    m_folderWatch.cancel();
    if (m_saveURL.isEmpty())
        return;
    const QUrl url = m_saveURL;
    QPointer<CameraManager> weak(this);
    m_fileQueue->async([weak, url] {
        const bool reachable = QFileInfo(url.toLocalFile()).isDir();
        runOn(weak.data(), [weak, url, reachable] {
            if (!weak || weak->m_saveURL != url)
                return;
            const bool wasReachable = weak->m_folderReachable.value_or(false);
            weak->m_folderReachable = reachable;
            if (reachable && !wasReachable)
                weak->recoverLeftoverRecordings();
            if (!reachable)
                weak->scheduleFolderCheck();
        });
    });
}

void CameraManager::scheduleFolderCheck() {
    m_folderWatch.cancel();
    m_folderWatch =
        m_scheduler.after(std::chrono::seconds(5), this, [this] { checkRecordingFolder(); });
}
