// CameraManager, its core: construction and teardown, frame delivery from the camera queues
// (stabiliser, frame store, recorder), the once-a-second rate task and the observable state.
// The other parts: CameraStartup.cpp, RecordingControl.cpp, StorageMonitor.cpp.

#include "control/CameraManager.h"

#include "control/AudioLevel.h"
#include "control/CameraControlKeeper.h"
#include "control/FrameStore.h"
#include "diagnostics/OstrelLog.h"
#include "imaging/Stabilizer.h"
#include "recording/RecordingEngine.h"
#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"
#include "runtime/ThreadPriority.h"
#include "storage/RecordingFiles.h"

#include <QDir>
#include <QStandardPaths>

namespace {

QPointer<CameraManager>& currentManager() {
    static QPointer<CameraManager> manager; // main thread only
    return manager;
}

} // namespace

// The outputs hold their delegate weakly; this small object forwards to the manager, which
// outlives every delivery (its destructor stops the sessions and drains the queues first).
class CameraManager::FrameForwarder : public SampleBufferDelegate {
public:
    explicit FrameForwarder(CameraManager& manager) : m_manager(manager) {}
    void captureOutput(CaptureOutput& output, const SampleBuffer& buffer) override {
        m_manager.handleFrame(output, buffer);
    }

private:
    CameraManager& m_manager;
};

CameraManager::CameraManager(CaptureBackend& backend, SettingsStore& settings, QObject* parent)
    : CameraManager(backend, settings, Options{}, parent) {
}

CameraManager::CameraManager(CaptureBackend& backend, SettingsStore& settings, Options options,
                             QObject* parent)
    : QObject(parent), m_backend(backend), m_settings(settings),
      m_scheduler(options.scheduler ? *options.scheduler : Scheduler::system()),
      m_options(std::move(options)) {
    if (m_options.tempFolder.isEmpty())
        m_options.tempFolder =
            QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);

    m_camQueue = std::make_unique<SerialQueue>("com.ostrel.cam.config");
    m_frameQueue = std::make_unique<SerialQueue>("com.ostrel.cam.frames");
    m_camQueues[0] = std::make_unique<SerialQueue>("com.ostrel.cam.video0");
    m_camQueues[1] = std::make_unique<SerialQueue>("com.ostrel.cam.video1");
    m_snapshotQueue = std::make_unique<SerialQueue>("com.ostrel.snapshot");
    // Three JPEGs at canvas size took the encoder's margin at 1080p and cost it frames.
    m_snapshotQueue->async([] { lowerCurrentThreadPriority(yieldingNice); });
    m_storageQueue = std::make_unique<SerialQueue>("com.ostrel.storage");
    m_fileQueue = std::make_unique<SerialQueue>("com.ostrel.files");

    m_recorder = std::make_unique<RecordingEngine>();
    m_stabilizer = std::make_unique<Stabilizer>(m_settings);

    currentManager() = this;

    connect(
        &m_backend.discovery(), &DeviceDiscovery::devicesChanged, this,
        [this](DeviceChange change, const CaptureDevice& device) {
            if (change == DeviceChange::connected)
                deviceConnected(device);
            else
                deviceDisconnected(device);
        },
        Qt::QueuedConnection);
    connect(
        &m_backend.discovery(), &DeviceDiscovery::listingRefreshed, this,
        [this] {
            if (m_polling && !m_running && !m_starting)
                tryStartPipelines();
        },
        Qt::QueuedConnection);

    // A write failure during a recording: alert and stop, if still recording. Set once and
    // never cleared: the record queue may call it until the engine is gone, so the manager is
    // looked at only on the main thread, where it is destroyed.
    QPointer<CameraManager> weak(this);
    m_recorder->onFailure = [weak](const QString&) {
        runOnMain([weak] {
            if (!weak || !weak->m_isRecording)
                return;
            weak->setUserAlert(
                tr("Aufnahme fehlgeschlagen — Laufwerk getrennt oder Schreibfehler. Die Datei "
                   "ist voraussichtlich unbrauchbar."));
            weak->stopRecording();
        });
    };

    m_forwarder = std::make_shared<FrameForwarder>(*this);
    m_pipeline = std::make_unique<PipelineSetup>(
        m_backend, m_forwarder,
        std::array<SerialQueue*, 2>{m_camQueues[0].get(), m_camQueues[1].get()},
        m_frameQueue.get());
    m_pipeline->macroStartPause = m_options.macroStartPause;
    if (CameraControlKeeper* keeper = m_options.cameraControls)
        m_pipeline->cameraStarted = [keeper](int index, const CaptureDevice& device) {
            keeper->applyAtStart(index, device);
        };
    m_sessions = CaptureSessions::make(m_backend);
}

CameraManager::~CameraManager() {
    m_camQueue->sync([this] { PipelineSetup::stopSessions(m_sessions); });
    for (auto& queue : m_camQueues)
        queue->drain();
    m_frameQueue->drain();
    m_snapshotQueue->drain();
    m_storageQueue->drain();
    m_fileQueue->drain();
    m_forwarder.reset();
}

CameraManager* CameraManager::current() {
    return currentManager().data();
}

void CameraManager::drainConfigurationQueue() {
    m_camQueue->drain();
}

// --- frames -------------------------------------------------------------------------------

void CameraManager::handleFrame(CaptureOutput& output, const SampleBuffer& buffer) {
    if (buffer.isAudio()) {
        m_recorder->appendAudio(buffer.audio);
        const std::optional<float> dB = audioLevelDB(buffer.audio);
        if (!dB)
            return;
        runOn(this, [this, level = *dB] { applyAudioLevel(level); });
        return;
    }
    const auto* tagged = dynamic_cast<const CameraOutput*>(&output);
    if (!tagged || !buffer.image)
        return;
    const int index = tagged->index;

    if (index == m_recorder->macroIndex()) {
        const StabilizationResult result = m_stabilizer->stabilize(buffer.image, index);
        FrameStore::shared().store(index, {buffer.image, result.offset, result.zoom});
        runOn(this, [this, offset = result.offset] { setStabOffset(offset); });
        return;
    }

    FrameStore::shared().store(index, {buffer.image, QPointF(), 1.0});
    if (!m_recorder->active() || index != m_recorder->wideIndex())
        return;
    const std::optional<StoredFrame> macro = FrameStore::shared().latest(m_recorder->macroIndex());
    FrameJob job;
    job.wide = buffer.image;
    job.macroFraction = m_recorder->macroFraction();
    if (macro) {
        job.macro = macro->buffer;
        job.macroZoom = macro->stabZoom;
        job.macroOffset = {macro->stabOffset.x(), macro->stabOffset.y()};
    }
    job.pts = buffer.pts;
    m_recorder->enqueueFrame(std::move(job));
}

void CameraManager::applyAudioLevel(float dB) {
    if (m_mic.missing)
        return; // a buffer of the lost stream, still on its way
    setAudioLevel(smoothedAudioLevel(m_audioLevel, dB));
}

void CameraManager::startFPSTask() {
    cancelFPSTask();
    m_fpsTask = m_scheduler.every(std::chrono::seconds(1), this, [this] {
        if (!m_running && !m_isRecording) {
            m_fpsTask.cancel();
            return;
        }
        setFPS(FrameStore::shared().takeCounts());
        setWriterFPS(m_isRecording ? std::optional<int>(m_recorder->takeAppendedThisSecond())
                                   : std::nullopt);
    });
}

void CameraManager::cancelFPSTask() {
    m_fpsTask.cancel();
    m_fpsTask = {};
}

void CameraManager::setStabilizationEnabled(bool on) {
    m_stabilizer->setEnabled(on);
}

double CameraManager::currentZoom() const {
    return m_stabilizer->currentZoom();
}

// --- observable state ---------------------------------------------------------------------

void CameraManager::setStatus(CameraStatus status) {
    if (status == m_status)
        return;
    m_status = status;
    emit statusChanged();
}

void CameraManager::setRunning(bool running) {
    if (running == m_running)
        return;
    m_running = running;
    if (running)
        prepareWatermark();
    emit runningChanged();
    emit liveCamerasChanged();
}

void CameraManager::setConnectedCount(int count) {
    if (count == m_connectedCount)
        return;
    m_connectedCount = count;
    emit connectedCountChanged();
}

void CameraManager::setRecording(bool recording) {
    if (recording == m_isRecording)
        return;
    m_isRecording = recording;
    emit isRecordingChanged();
    if (cameraMissing()) {
        emit cameraMissingChanged(); // the banner says whether a recording goes on
        emit liveCamerasChanged();
    }
    if (m_mic.missing)
        emit microphoneMissingChanged(); // so does the microphone's notice
}

void CameraManager::setAudioLevel(float level) {
    if (level == m_audioLevel)
        return;
    m_audioLevel = level;
    emit audioLevelChanged();
}

void CameraManager::setFPS(std::map<int, int> fps) {
    if (fps == m_fps)
        return;
    m_fps = std::move(fps);
    emit fpsChanged();
}

void CameraManager::setWriterFPS(std::optional<int> fps) {
    if (fps == m_writerFPS)
        return;
    m_writerFPS = fps;
    emit writerFPSChanged();
}

void CameraManager::setUserAlert(std::optional<QString> alert) {
    if (alert == m_userAlert)
        return;
    m_userAlert = std::move(alert);
    emit userAlertChanged();
}

void CameraManager::setUserAlertText(const QString& text) {
    setUserAlert(text.isEmpty() ? std::nullopt : std::optional<QString>(text));
}

void CameraManager::setStorageWarning(std::optional<QString> warning) {
    if (warning == m_storageWarning)
        return;
    m_storageWarning = std::move(warning);
    emit storageWarningChanged();
}

void CameraManager::setStabOffset(QPointF offset) {
    if (offset == m_stabOffset)
        return;
    m_stabOffset = offset;
    emit stabOffsetChanged();
}

void CameraManager::setSaveURL(const QUrl& url) {
    if (url == m_saveURL)
        return;
    m_saveURL = url;
    emit saveURLChanged();
    m_folderReachable.reset();
    checkRecordingFolder(); // a new folder may hold a crashed run's recording
}

void CameraManager::setSavingRecording(bool saving) {
    if (saving == m_savingRecording)
        return;
    m_savingRecording = saving;
    emit savingRecordingChanged();
}

QVariantMap CameraManager::fpsMap() const {
    QVariantMap map;
    for (const auto& [index, rate] : m_fps)
        map.insert(QString::number(index), rate);
    return map;
}

QVariant CameraManager::writerFPSValue() const {
    return m_writerFPS ? QVariant(*m_writerFPS) : QVariant();
}
