// Recording start and stop, the move of finished files into the recording folder, photos.
// Main thread, with the recorder driven from the frame queue.

#include "capture/CameraManagerMac.h"

#include "capture/FrameStore.h"
#include "capture/RecordingFiles.h"
#include "diagnostics/OstrelLog.h"
#include "recording/Photos.h"
#include "recording/RecordingEngine.h"
#include "recording/Watermark.h"
#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace {

SizeD canvasFor(bool high) {
    return high ? SizeD{2560, 1440} : SizeD{1920, 1080};
}

} // namespace

void CameraManagerMac::startRecording(int width, int height, bool withAudio, const QImage& overlay,
                                      double macroFraction) {
    if (!m_running || m_isRecording)
        return;
    setRecording(true);
    m_stoppingRecording = false;
    const bool sound = withAudio && m_micActive;
    const QString tempFile =
        temporaryRecordingPath(m_options.tempFolder, QDateTime::currentDateTimeUtc());
    m_activeTempFile = tempFile;

    QPointer<CameraManagerMac> weak(this);
    RecordingEngine* recorder = m_recorder.get();
    const PixelBuffer overlayBuffer = pixelBufferOf(overlay);
    m_frameQueue->async([=] {
        if (!weak)
            return;
        const std::optional<QString> error =
            recorder->start(tempFile, width, height, sound, overlayBuffer, macroFraction);
        runOn(weak.data(), [=] {
            if (!weak)
                return;
            if (error) {
                weak->setRecording(false);
                weak->setStatus(CameraStatus::recordingError);
                ostrelLog(LogLevel::error,
                          QStringLiteral("Aufnahme-Start fehlgeschlagen: ") + *error);
                return;
            }
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

void CameraManagerMac::startRecordingWith(bool high, bool withAudio, bool watermarkOn,
                                          const QString& praxisText, double macroFraction) {
    const SizeD canvas = canvasFor(high);
    const QImage overlay =
        makeWatermark(watermarkOn ? std::optional<QString>(praxisText) : std::nullopt, canvas.width,
                      canvas.height);
    startRecording(int(canvas.width), int(canvas.height), withAudio, overlay, macroFraction);
}

void CameraManagerMac::stopRecording() {
    if (!m_isRecording || m_stoppingRecording)
        return;
    m_stoppingRecording = true;
    QPointer<CameraManagerMac> weak(this);
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

void CameraManagerMac::recordingFinished(std::optional<QString> file,
                                         std::optional<QString> error) {
    setRecording(false);
    m_stoppingRecording = false;
    stopStorageMonitor();
    stopPressureWatch();
    if (error) {
        setStatus(CameraStatus::recordingError);
        ostrelLog(LogLevel::error, QStringLiteral("Aufnahme-Fehler beim Abschluss: ") + *error);
    } else if (file) {
        moveRecordingToFolder(*file);
    }
    std::function<void()> finished = std::move(onRecordingFinished);
    onRecordingFinished = nullptr;
    if (finished)
        finished();
}

void CameraManagerMac::moveRecordingToFolder(const QString& tempFile) {
    if (m_saveURL.isEmpty()) {
        ostrelLog(
            LogLevel::warn,
            QStringLiteral("Kein Aufnahmeordner gewählt — Datei bleibt im temporären Ordner: ") +
                QFileInfo(tempFile).fileName());
        return;
    }
    const QString name = finalRecordingName(photoTimestamp());
    const QString destination = QDir(m_saveURL.toLocalFile()).filePath(name);
    if (const std::optional<QString> error = moveFileReplacing(tempFile, destination)) {
        ostrelLog(LogLevel::error, QStringLiteral("Aufnahme speichern fehlgeschlagen: ") + *error);
        setUserAlert(tr("Aufnahme konnte nicht in den Aufnahmeordner verschoben werden (Laufwerk "
                        "voll oder getrennt?). Die Datei liegt weiterhin im temporären Ordner."));
    } else {
        ostrelLog(LogLevel::event, QStringLiteral("Aufnahme gespeichert: ") + name);
    }
    m_activeTempFile.reset();
}

void CameraManagerMac::setMacroFraction(double fraction) {
    QPointer<CameraManagerMac> weak(this);
    RecordingEngine* recorder = m_recorder.get();
    m_frameQueue->async([weak, recorder, fraction] {
        if (weak)
            recorder->setMacroFraction(fraction);
    });
}

void CameraManagerMac::takeSnapshot(bool high, bool watermarkOn, const QString& praxisText,
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

int CameraManagerMac::recoverLeftoverRecordings() {
    if (m_saveURL.isEmpty())
        return 0;
    int saved = 0;
    const QDir folder(m_saveURL.toLocalFile());
    for (const QString& leftover :
         leftoverRecordings(m_options.tempFolder, QDateTime::currentDateTimeUtc())) {
        if (m_activeTempFile == leftover)
            continue;
        const QFileInfo info(leftover);
        if (info.size() == 0) {
            QFile::remove(leftover); // nothing was recorded before the crash
            continue;
        }
        const QString name = finalRecordingName(
            info.lastModified().toLocalTime().toString(QStringLiteral("yyyy-MM-dd_HH-mm-ss")));
        if (QFileInfo::exists(folder.filePath(name)))
            continue; // never replace a saved recording with a recovered one
        if (!moveFileReplacing(leftover, folder.filePath(name))) {
            ostrelLog(LogLevel::event,
                      QStringLiteral("Aufnahme nach Absturz wiederhergestellt: ") + name);
            ++saved;
        }
    }
    return saved;
}
