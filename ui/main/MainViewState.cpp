#include "ui/main/MainViewState.h"

#include "diagnostics/OstrelLog.h"
#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"
#include "storage/RecordingsStore.h"
#include "storage/StorageBudget.h"

#include <QFileInfo>

#include <algorithm>

MainViewState::MainViewState(QObject* parent)
    : QObject(parent), m_scheduler(&Scheduler::system()),
      m_folderQueue(std::make_unique<SerialQueue>("com.ostrel.ui.folder")) {
    startTimers();
}

MainViewState::~MainViewState() = default;

void MainViewState::setScheduler(Scheduler& scheduler) {
    m_hideWork.cancel();
    m_noticeWork.cancel();
    m_restartWork.cancel();
    stopTimers();
    m_scheduler = &scheduler;
    startTimers();
}

void MainViewState::startTimers() {
    m_recTimer = m_scheduler->every(recordTick, this, [this] {
        if (m_recording)
            setRecordSeconds(m_recordSeconds + 1);
    });
    m_storageTimer = m_scheduler->every(storageTick, this, [this] { emit storageRefreshDue(); });
}

void MainViewState::stopTimers() {
    m_recTimer.cancel();
    m_storageTimer.cancel();
}

void MainViewState::setMacroFraction(double fraction) {
    fraction = std::clamp(fraction, minFraction, maxFraction);
    if (fraction == m_macroFraction)
        return;
    m_macroFraction = fraction;
    emit macroFractionChanged();
}

void MainViewState::setMicMuted(bool muted) {
    if (muted == m_micMuted)
        return;
    m_micMuted = muted;
    emit micMutedChanged();
}

void MainViewState::setRecording(bool recording) {
    if (recording == m_recording)
        return;
    m_recording = recording;
    emit recordingChanged();
    if (!recording && m_restartAfterRecording) {
        m_restartAfterRecording = false;
        restartCapture();
    }
}

void MainViewState::setRecordSeconds(int seconds) {
    if (seconds == m_recordSeconds)
        return;
    m_recordSeconds = seconds;
    emit recordSecondsChanged();
}

QString MainViewState::recordTimeText() const {
    return QString::asprintf("%02d:%02d", m_recordSeconds / 60, m_recordSeconds % 60);
}

void MainViewState::setFlashOpacity(double opacity) {
    if (opacity == m_flashOpacity)
        return;
    m_flashOpacity = opacity;
    emit flashOpacityChanged();
}

void MainViewState::setCamera(QObject* camera) {
    if (camera == m_camera)
        return;
    m_camera = camera;
    emit cameraChanged();
}

void MainViewState::setControlsVisible(bool visible) {
    if (visible == m_controlsVisible)
        return;
    m_controlsVisible = visible;
    emit controlsVisibleChanged();
}

void MainViewState::bumpActivity() {
    setControlsVisible(true);
    m_hideWork.cancel();
    m_hideWork = m_scheduler->after(hideDelay, this, [this] { setControlsVisible(false); });
}

void MainViewState::changeMacroSize(double amount) {
    setMacroFraction(m_macroFraction + amount);
    bumpActivity();
}

bool MainViewState::handleKey(int key, int modifiers) {
    if (modifiers & Qt::ControlModifier)
        return false;
    switch (key) {
    case Qt::Key_Space:
        emit photoRequested();
        return true;
    case Qt::Key_R:
        emit recordToggleRequested();
        break;
    case Qt::Key_S:
        emit stabilizationToggleRequested();
        break;
    case Qt::Key_W:
        emit swapRequested();
        break;
    case Qt::Key_M:
        setMicMuted(!m_micMuted);
        break;
    default:
        if (key < Qt::Key_1 || key > Qt::Key_7)
            return false;
        setMacroFraction((key - Qt::Key_0) / 10.0);
        break;
    }
    bumpActivity();
    return true;
}

void MainViewState::flash() {
    setFlashOpacity(flashStart);
    emit flashed();
}

void MainViewState::refreshStorage(RecordingsStore* recordings, bool high) {
    const std::uint64_t request = ++m_storageRequest;
    const QString folder =
        recordings && !recordings->folderURL().isEmpty() ? recordings->folderPath() : QString();
    QPointer<MainViewState> weak(this);
    m_folderQueue->async([weak, folder, high, request] {
        const std::optional<qint64> free =
            folder.isEmpty() ? std::nullopt : volumeFreeBytes(folder);
        const QString text = free ? ::storageText(*free, high) : QString();
        runOn(weak.data(), [weak, text, request] {
            if (!weak || request != weak->m_storageRequest || text == weak->m_storageText)
                return;
            weak->m_storageText = text;
            emit weak->storageTextChanged();
        });
    });
}

void MainViewState::checkFolder(RecordingsStore* recordings) {
    if (!recordings)
        return;
    const QString folder = recordings->folderURL().isEmpty() ? QString() : recordings->folderPath();
    QPointer<MainViewState> weak(this);
    m_folderQueue->async([weak, folder] {
        const QFileInfo info(folder);
        const bool reachable = !folder.isEmpty() && info.isDir() && info.isReadable();
        runOn(weak.data(), [weak, reachable] {
            if (weak && !reachable)
                emit weak->folderMissing();
        });
    });
}

void MainViewState::restartCapture() {
    if (!m_camera)
        return;
    if (m_recording) {
        if (!m_restartAfterRecording)
            logOnMainThread(LogLevel::info,
                            QStringLiteral("Kamerawechsel wartet bis zum Ende der Aufnahme"));
        m_restartAfterRecording = true;
        showNotice(tr("Während der Aufnahme nicht möglich"),
                   tr("Der Kamerawechsel folgt, sobald die Aufnahme endet."));
        return;
    }
    QMetaObject::invokeMethod(m_camera, "stopCapture");
    m_restartWork.cancel();
    m_restartWork = m_scheduler->after(restartDelay, this, [this] {
        if (m_camera)
            QMetaObject::invokeMethod(m_camera, "startCapture");
    });
}

void MainViewState::showNotice(const QString& text, const QString& detail, const QString& path,
                               int durationMs) {
    m_notice = {text, detail, path};
    emit noticeChanged();
    m_noticeWork.cancel();
    const auto duration = durationMs > 0 ? std::chrono::milliseconds(durationMs) : noticeDuration;
    m_noticeWork = m_scheduler->after(duration, this, [this] { dismissNotice(); });
}

void MainViewState::dismissNotice() {
    m_noticeWork.cancel();
    if (m_notice.text.isEmpty())
        return;
    m_notice = {};
    emit noticeChanged();
}

void MainViewState::noteSaved(const QStringList& paths, bool recording) {
    if (paths.isEmpty())
        return;
    QStringList names;
    for (const QString& path : paths)
        names.append(QFileInfo(path).fileName());
    const QString text = recording           ? tr("Aufnahme gespeichert")
                         : paths.size() == 1 ? tr("Foto gespeichert")
                                             : tr("%1 Fotos gespeichert").arg(paths.size());
    showNotice(text, names.join(QLatin1Char('\n')), paths.front());
}

void MainViewState::logFolderMissing() const {
    logOnMainThread(LogLevel::warn,
                    QStringLiteral("Aufnahmeordner nicht erreichbar (externe Platte "
                                   "entfernt?)"));
}

QSizeF MainViewState::insetSize(double width) const {
    const SizeD size = exactInsetSize(width, m_macroFraction);
    return {size.width, size.height};
}

QString MainViewState::correctionText(QPointF offset) const {
    return tr("Korrektur  x %1%  y %2%")
        .arg(QString::asprintf("%+.1f", offset.x() * 100),
             QString::asprintf("%+.1f", offset.y() * 100));
}
