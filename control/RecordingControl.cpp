// CameraManager, recording part: recording start and stop, the move of finished files into
// the recording folder, leftovers of a crash, and photos. Main thread, with the recorder
// driven from the frame queue.

#include "control/CameraManager.h"

#include "control/FrameStore.h"
#include "diagnostics/OstrelLog.h"
#include "recording/Photos.h"
#include "recording/RecordingEngine.h"
#include "recording/Watermark.h"
#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingFiles.h"
#include "storage/RecordingRecovery.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <variant>

namespace {

SizeD canvasFor(bool high) {
    return high ? SizeD{2560, 1440} : SizeD{1920, 1080};
}

// The watermark of a press: at canvas size, with the practice name when it is switched on.
WatermarkKey watermarkFor(bool high, bool watermarkOn, const QString& praxisText) {
    const SizeD canvas = canvasFor(high);
    return {watermarkOn ? std::optional<QString>(praxisText) : std::nullopt, int(canvas.width),
            int(canvas.height)};
}

} // namespace

void CameraManager::startRecording(int width, int height, bool withAudio, const QImage& overlay,
                                   double macroFraction) {
    if (!m_running || m_isRecording)
        return;
    yieldLiveViewForRecording();
    ++m_recordingGeneration;
    m_movingPartial = false;
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
                logOnMainThread(LogLevel::error,
                                QStringLiteral("Aufnahme-Start fehlgeschlagen: ") + *error);
                return;
            }
            weak->m_activePartial = partial;
            weak->m_activeTempFile = partial->path();
            weak->startStorageMonitor(width >= 2560);
            weak->startPressureWatch(width, height);
            logOnMainThread(LogLevel::event,
                            QStringLiteral("Aufnahme läuft (%1×%2, Audio: %3)")
                                .arg(width)
                                .arg(height)
                                .arg(sound ? QStringLiteral("an") : QStringLiteral("aus")));
            if (sound && weak->m_recorder->soundMuted())
                logOnMainThread(LogLevel::event,
                                QStringLiteral("Ton der Aufnahme stumm geschaltet"));
        });
    });
}

void CameraManager::recordingStartFailed(const QString& folderError, bool folderMissing) {
    setRecording(false);
    stopPressureWatch();
    setStatus(CameraStatus::recordingError);
    logOnMainThread(
        LogLevel::error,
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

void CameraManager::setRecordingSoundMuted(bool muted) {
    if (m_recorder->soundMuted() == muted)
        return;
    m_recorder->setSoundMuted(muted);
    if (m_isRecording)
        logOnMainThread(LogLevel::event,
                        muted ? QStringLiteral("Ton der Aufnahme stumm geschaltet")
                              : QStringLiteral("Ton der Aufnahme wieder eingeschaltet"));
}

void CameraManager::startRecordingWith(bool high, bool withAudio, bool watermarkOn,
                                       const QString& praxisText, double macroFraction) {
    const SizeD canvas = canvasFor(high);
    const WatermarkKey key = watermarkFor(high, watermarkOn, praxisText);
    // A press never waits for the watermark: without it the first frames go out plain.
    const std::optional<QImage> overlay = m_watermarks.find(key);
    const bool wasRecording = m_isRecording;
    startRecording(int(canvas.width), int(canvas.height), withAudio, overlay.value_or(QImage()),
                   macroFraction);
    if (overlay || wasRecording || !m_isRecording)
        return;
    const std::uint64_t generation = m_recordingGeneration;
    QPointer<CameraManager> weak(this);
    m_watermarks.whenMade(key, [weak, generation](const QImage& image) {
        const PixelBuffer buffer = pixelBufferOf(image);
        runOn(weak.data(), [weak, generation, buffer] {
            if (!weak || weak->m_recordingGeneration != generation || !weak->m_isRecording)
                return;
            // After the recorder's start, which runs on the same queue.
            RecordingEngine* recorder = weak->m_recorder.get();
            weak->m_frameQueue->async([recorder, buffer] { recorder->setOverlay(buffer); });
        });
    });
}

void CameraManager::prepareWatermark() {
    m_watermarks.prepare(watermarkFor(m_settings.resolutionHigh(), m_settings.watermarkOn(),
                                      m_settings.praxisText()));
}

void CameraManager::stopRecording() {
    if (!m_isRecording || m_stoppingRecording)
        return;
    m_stoppingRecording = true;
    const std::uint64_t generation = m_recordingGeneration;
    QPointer<CameraManager> weak(this);
    RecordingEngine* recorder = m_recorder.get();
    m_frameQueue->async([weak, recorder, generation] {
        if (!weak)
            return;
        recorder->stop(
            [weak, generation](std::optional<QString> file, std::optional<QString> error) {
                if (!weak)
                    return;
                runOn(weak.data(), [weak, generation, file, error] {
                    if (weak)
                        weak->recordingFinished(generation, file, error);
                });
            });
    });
    // A drive that never answers (a hung network folder) must not hold up the user or quitting.
    m_finishBound =
        m_scheduler.after(finishBound, this, [this, generation] { finishOverdue(generation); });
}

void CameraManager::recordingFileLost() {
    if (m_movingPartial || !m_activePartial)
        return;
    m_movingPartial = true;
    const std::shared_ptr<PartialRecording> from = m_activePartial;
    const QString folder = m_saveURL.isEmpty() ? m_options.tempFolder : m_saveURL.toLocalFile();
    const QString fallback = m_options.tempFolder;
    const std::uint64_t generation = m_recordingGeneration;
    RecordingEngine* recorder = m_recorder.get();
    QPointer<CameraManager> weak(this);
    m_fileQueue->async([weak, from, folder, fallback, generation, recorder] {
        auto created = from->sibling(folder);
        if (std::holds_alternative<QString>(created))
            created = from->sibling(fallback);
        if (const QString* error = std::get_if<QString>(&created)) {
            runOn(weak.data(), [weak, generation, from, error = *error] {
                if (weak)
                    weak->recordingFileMoved(generation, from, nullptr, error);
            });
            return;
        }
        std::shared_ptr<PartialRecording> to =
            std::move(std::get<std::unique_ptr<PartialRecording>>(created));
        recorder->relocate(to->path(), [weak, generation, from, to](std::optional<QString> error) {
            runOn(weak.data(), [weak, generation, from, to, error] {
                if (weak)
                    weak->recordingFileMoved(generation, from, to, error);
            });
        });
    });
}

void CameraManager::recordingFileMoved(std::uint64_t generation,
                                       std::shared_ptr<PartialRecording> from,
                                       std::shared_ptr<PartialRecording> to,
                                       std::optional<QString> error) {
    m_movingPartial = false;
    if (error) {
        if (to)
            to->discard();
        if (generation != m_recordingGeneration || !m_isRecording)
            return; // ended meanwhile: the file is saved from where it is
        logOnMainThread(LogLevel::error,
                        QStringLiteral("Aufnahmedatei nicht mehr erreichbar, kein Ersatzort: ") +
                            *error);
        setUserAlert(tr("Der Aufnahmeordner ist während der Aufnahme verschwunden, und es gibt "
                        "keinen Ort, an dem sie weiterlaufen kann. Die Aufnahme wird beim Beenden "
                        "gerettet, soweit möglich."));
        return;
    }
    from->discardLeftover();
    if (m_activePartial == from) {
        m_activePartial = to;
        m_activeTempFile = to->path();
    }
    const QString where = QDir::toNativeSeparators(QFileInfo(to->path()).absolutePath());
    logOnMainThread(LogLevel::warn, QStringLiteral("Aufnahmedatei nicht mehr erreichbar (Ordner "
                                                   "gelöscht, umbenannt oder Laufwerk getrennt) — "
                                                   "Aufnahme läuft weiter in ") +
                                        where);
    setUserAlert(tr("Der Aufnahmeordner ist während der Aufnahme verschwunden (gelöscht, "
                    "umbenannt oder Laufwerk getrennt). Die Aufnahme läuft weiter in „%1“ und wird "
                    "beim Beenden gespeichert.")
                     .arg(where));
}

void CameraManager::recordingFinished(std::uint64_t generation, std::optional<QString> file,
                                      std::optional<QString> error) {
    if (generation != m_recordingGeneration || !m_isRecording) {
        lateFinish(generation, file && !error);
        return;
    }
    m_finishBound.cancel();
    recordingEnded();
    if (error) {
        setStatus(CameraStatus::recordingError);
        logOnMainThread(LogLevel::error,
                        QStringLiteral("Aufnahme-Fehler beim Abschluss: ") + *error);
    }
    saveRecording(std::move(m_activePartial), file && !error);
}

void CameraManager::recordingEnded() {
    setRecording(false);
    m_stoppingRecording = false;
    stopStorageMonitor();
    stopPressureWatch();
    endDegradedRun();
}

void CameraManager::finishOverdue(std::uint64_t generation) {
    if (generation != m_recordingGeneration || !m_isRecording || !m_stoppingRecording)
        return;
    const QString where =
        m_activePartial ? QFileInfo(m_activePartial->path()).absolutePath() : QString();
    logOnMainThread(
        LogLevel::error,
        QStringLiteral("Aufnahme-Abschluss hängt seit %1 s — Laufwerk reagiert nicht. Die "
                       "Teilaufnahme bleibt erhalten: %2")
            .arg(finishBound.count())
            .arg(m_activePartial ? m_activePartial->path() : QString()));
    setUserAlert(tr("Die Aufnahme konnte nicht abgeschlossen werden: Das Laufwerk reagiert nicht. "
                    "Sie bleibt als versteckte Teilaufnahme in „%1“ erhalten und wird gespeichert, "
                    "sobald das Laufwerk wieder antwortet.")
                     .arg(QDir::toNativeSeparators(where)));
    // Its lock stays held until the writer lets go of the file.
    if (m_activePartial)
        m_overduePartials[generation] = std::move(m_activePartial);
    m_activeTempFile.reset();
    ++m_recordingGeneration;
    recordingEnded();
    consumeRecordingFinished();
}

// The one-shot callback is taken before it runs: it may set the next one.
void CameraManager::consumeRecordingFinished() {
    std::function<void()> callback = std::move(onRecordingFinished);
    onRecordingFinished = nullptr;
    if (callback)
        callback();
}

// The drive answered after all: the recording is saved as if it had just finished.
void CameraManager::lateFinish(std::uint64_t generation, bool finished) {
    const auto overdue = m_overduePartials.find(generation);
    if (overdue == m_overduePartials.end())
        return;
    std::shared_ptr<PartialRecording> partial = std::move(overdue->second);
    m_overduePartials.erase(overdue);
    logOnMainThread(LogLevel::info,
                    QStringLiteral("Laufwerk antwortet wieder — verspätete Aufnahme wird "
                                   "gespeichert"));
    saveRecording(std::move(partial), finished, true);
}

namespace {

// What became of a finished (or failed) recording's file.
struct SaveResult {
    enum class Kind { nothing, saved, savedElsewhere, unsaved, moveFailed, rescued, lost };
    Kind kind = Kind::nothing;
    QString name;  // the saved or kept file's name
    QString path;  // the file now; moveFailed: the folder it is in
    QString error; // moveFailed, lost: why
};

// Moves a finished recording into `folder` under its final name (a rename on the same drive),
// or without a folder gives it its unsaved name where it is. The file of a recording that
// failed is saved as far as it was written. A file that lost its name on the way (its folder
// deleted or renamed, its drive unmounted) is first copied to the folder, made anew, or else
// to `fallback`. File I/O: runs on the file queue.
SaveResult saveFile(PartialRecording& partial, const std::optional<QString>& folder,
                    const QString& fallback, bool finished) {
    if (!partial.reachable()) {
        if (!partial.exists() && !finished)
            return {}; // nothing was recorded; the writer removed it
        if (partial.rescueInto(folder.value_or(fallback))) {
            if (const std::optional<QString> error = partial.rescueInto(fallback))
                return {SaveResult::Kind::lost, {}, {}, *error};
        }
    }
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
            return {
                SaveResult::Kind::rescued, outcome.name, QDir(*folder).filePath(outcome.name), {}};
        return {};
    }
    const QString name = freeRecordingName(QDir(*folder), photoTimestamp());
    const std::optional<QString> error = partial.moveTo(QDir(*folder).filePath(name));
    if (!error)
        return {SaveResult::Kind::saved, name, QDir(*folder).filePath(name), {}};
    // Written elsewhere because the folder was gone: saved where it is rather than hidden.
    const QDir here(QFileInfo(partial.path()).absolutePath());
    if (here != QDir(*folder)) {
        const QString kept = freeRecordingName(here, photoTimestamp());
        if (!partial.moveTo(here.filePath(kept)))
            return {SaveResult::Kind::savedElsewhere, kept, partial.path(), {}};
    }
    return {SaveResult::Kind::moveFailed, {}, here.absolutePath(), *error};
}

} // namespace

void CameraManager::saveRecording(std::shared_ptr<PartialRecording> partial, bool finished,
                                  bool late) {
    const auto done = [this, late] {
        if (!late) // else the recording that quitting may wait for is another one
            consumeRecordingFinished();
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
    const QString fallback = m_options.tempFolder;
    m_fileQueue->async([weak, partial = std::move(partial), folder, fallback, finished, done,
                        late]() mutable {
        const SaveResult result = saveFile(*partial, folder, fallback, finished);
        partial.reset();
        runOn(weak.data(), [weak, result, done, late] {
            if (!weak)
                return;
            // A late save must not touch the file of a recording that runs meanwhile.
            std::optional<QString> ignored;
            std::optional<QString>& activeTempFile = late ? ignored : weak->m_activeTempFile;
            switch (result.kind) {
            case SaveResult::Kind::nothing:
                activeTempFile.reset();
                break;
            case SaveResult::Kind::unsaved:
                logOnMainThread(LogLevel::warn,
                                QStringLiteral("Kein Aufnahmeordner gewählt — Datei "
                                               "bleibt im temporären Ordner: ") +
                                    result.name);
                activeTempFile = result.path;
                break;
            case SaveResult::Kind::saved:
                logOnMainThread(LogLevel::event,
                                QStringLiteral("Aufnahme gespeichert: ") + result.name);
                activeTempFile.reset();
                emit weak->filesSaved({result.path}, true);
                break;
            case SaveResult::Kind::savedElsewhere:
                logOnMainThread(
                    LogLevel::warn,
                    QStringLiteral("Aufnahmeordner nicht erreichbar — Aufnahme gespeichert "
                                   "unter ") +
                        result.path);
                weak->setUserAlert(tr("Der Aufnahmeordner war nicht erreichbar. Die Aufnahme "
                                      "wurde in „%1“ gespeichert.")
                                       .arg(QDir::toNativeSeparators(result.path)));
                activeTempFile.reset();
                emit weak->filesSaved({result.path}, true);
                break;
            case SaveResult::Kind::lost:
                logOnMainThread(LogLevel::error,
                                QStringLiteral("Aufnahme verloren: Datei nicht mehr erreichbar und "
                                               "nicht zu retten (") +
                                    result.error + QStringLiteral(")"));
                weak->setUserAlert(tr("Die Aufnahme konnte nicht gespeichert werden: Ihr Ordner "
                                      "ist verschwunden, und es gibt keinen beschreibbaren Ort "
                                      "für sie."));
                activeTempFile.reset();
                break;
            case SaveResult::Kind::rescued:
                logOnMainThread(LogLevel::event,
                                QStringLiteral("Aufnahme bis zum Schreibfehler gespeichert: ") +
                                    result.name);
                activeTempFile.reset();
                emit weak->filesSaved({result.path}, true);
                break;
            case SaveResult::Kind::moveFailed:
                logOnMainThread(LogLevel::error,
                                QStringLiteral("Aufnahme speichern fehlgeschlagen: ") +
                                    result.error);
                weak->setUserAlert(
                    tr("Aufnahme konnte nicht in den Aufnahmeordner verschoben werden (Laufwerk "
                       "voll oder getrennt?). Sie liegt als versteckte Teilaufnahme in „%1“ und "
                       "wird gespeichert, sobald der Aufnahmeordner wieder erreichbar ist.")
                        .arg(QDir::toNativeSeparators(result.path)));
                activeTempFile.reset();
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
        logOnMainThread(LogLevel::warn, QStringLiteral("Foto nicht möglich — noch kein Live-Bild"));
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
    job.macroFraction = macroFraction;
    if (!m_saveURL.isEmpty())
        job.folder = m_saveURL.toLocalFile();
    // The watermark is made (or found) on the photo queue, not here on the GUI thread.
    const WatermarkKey key = watermarkFor(high, watermarkOn, praxisText);
    QPointer<CameraManager> weak(this);
    m_snapshotQueue->async([weak, job = std::move(job), key, watermarks = &m_watermarks]() mutable {
        job.overlay = watermarks->get(key);
        const QStringList saved = renderPhotos(job);
        runOn(weak.data(), [weak, saved] {
            if (weak && !saved.isEmpty())
                emit weak->filesSaved(saved, false);
        });
    });
}

void CameraManager::recoverLeftoverRecordings(RecoveryCause cause) {
    if (m_saveURL.isEmpty())
        return;
    const QString folder = m_saveURL.toLocalFile();
    const QStringList places{folder, m_options.tempFolder};
    QPointer<CameraManager> weak(this);
    // Only ever used on the file queue.
    m_fileQueue->async([weak, places, folder, cause, reported = m_reportedLeftovers] {
        const int saved = recoverUnownedRecordings(places, folder, cause, *reported);
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
            const bool seenAway = weak->m_folderReachable.has_value();
            weak->m_folderReachable = reachable;
            if (reachable && !wasReachable)
                weak->recoverLeftoverRecordings(seenAway ? RecoveryCause::folderBack
                                                         : RecoveryCause::crash);
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
