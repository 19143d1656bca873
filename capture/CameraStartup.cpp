// Start-up, polling, the no-picture watchdog and hot-plug of the camera manager. Main thread.

#include "capture/CameraManagerMac.h"

#include "capture/FrameStore.h"
#include "diagnostics/OstrelLog.h"
#include "imaging/Stabilizer.h"
#include "runtime/SerialQueue.h"
#include "settings/SettingsStore.h"

using namespace std::chrono_literals;

namespace {

constexpr auto pollInterval = 800ms;
constexpr int pollAttempts = 60;
constexpr auto watchdogDelay = 3000ms;
constexpr int maxRestarts = 3;

QString boolText(bool value) {
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

} // namespace

void CameraManagerMac::startCapture() {
    m_wideUID = m_settings.text(Setting::wideDeviceUID);
    m_macroUID = m_settings.text(Setting::macroDeviceUID);
    m_micUID = m_settings.text(Setting::micDeviceUID);
    autoAssignCameras();
    m_pollCount = 0;
    if (!m_running && !m_polling) {
        m_polling = true;
        pollForCameras();
    }
}

void CameraManagerMac::autoAssignCameras() {
    if (!m_wideUID.isEmpty() && !m_macroUID.isEmpty())
        return;
    std::vector<CaptureDevice> external;
    for (const CaptureDevice& device :
         m_backend.discovery().devices(cameraDeviceTypes(), MediaType::video))
        if (device.deviceType == DeviceType::external)
            external.push_back(device);
    if (m_wideUID.isEmpty() && !external.empty())
        m_wideUID = external.front().uniqueID;
    if (m_macroUID.isEmpty()) {
        for (const CaptureDevice& device : external) {
            if (device.uniqueID != m_wideUID) {
                m_macroUID = device.uniqueID;
                break;
            }
        }
    }
}

void CameraManagerMac::pollForCameras() {
    if (!m_polling)
        return;
    if (m_running) {
        m_polling = false;
        return;
    }
    tryStartPipelines();
    ++m_pollCount;
    if (m_pollCount > pollAttempts - 1) {
        m_polling = false;
        if (m_running || m_starting)
            return;
        setStatus(CameraStatus::noCameras);
        ostrelLog(
            LogLevel::warn,
            QStringLiteral("Kameras nicht erkannt — beide anstecken; bei Bedarf neu starten."));
        return;
    }
    m_scheduler.after(pollInterval, this, [this] { pollForCameras(); });
}

void CameraManagerMac::tryStartPipelines() {
    if (m_running || m_starting)
        return;
    const DeviceDiscovery& discovery = m_backend.discovery();
    const std::optional<CaptureDevice> wide = videoDevice(discovery, m_wideUID);
    const std::optional<CaptureDevice> macro = videoDevice(discovery, m_macroUID);
    if (wide && macro && wide->uniqueID != macro->uniqueID) {
        m_starting = true;
        StartRequest request;
        request.owner = this;
        request.sessions = &m_sessions;
        request.wide = *wide;
        request.macro = *macro;
        request.microphoneRequested = !m_micUID.isEmpty();
        request.microphone = audioDevice(discovery, m_micUID);
        Stabilizer* stabilizer = m_stabilizer.get();
        request.prepareStart = [stabilizer] {
            FrameStore::shared().clear();
            stabilizer->requestReset();
        };
        request.configurationFailed = [this] { configurationFailed(); };
        request.started = [this](bool video, bool audio) { started(video, audio); };
        PipelineSetup* pipeline = m_pipeline.get();
        m_camQueue->async([pipeline, request] { pipeline->configureAndStart(request); });
        return;
    }
    if (m_status != CameraStatus::live)
        setStatus(CameraStatus::searching);
}

void CameraManagerMac::configurationFailed() {
    m_starting = false;
    setStatus(CameraStatus::cameraError);
    ostrelLog(LogLevel::error, QStringLiteral("Video-Sessions konnten nicht konfiguriert werden"));
}

void CameraManagerMac::started(bool videoRunning, bool audioRunning) {
    m_starting = false;
    m_micActive = audioRunning;
    if (!videoRunning) {
        setStatus(CameraStatus::cameraError);
        ostrelLog(LogLevel::error,
                  QStringLiteral("startRunning ohne Erfolg — Bild bleibt schwarz"));
        return;
    }
    setRunning(true);
    m_polling = false;
    setConnectedCount(2);
    setStatus(CameraStatus::live);
    startFPSTask();
    scheduleWatchdog();
    ostrelLog(LogLevel::event, QStringLiteral("2 Kameras live") +
                                   (m_micActive ? QStringLiteral(" · Mikrofon aktiv") : QString()));
}

void CameraManagerMac::scheduleWatchdog() {
    m_scheduler.after(watchdogDelay, this, [this] { checkWatchdog(); });
}

void CameraManagerMac::checkWatchdog() {
    if (!m_running || m_starting)
        return;
    const bool wide = FrameStore::shared().latestBuffer(0).has_value();
    const bool macro = FrameStore::shared().latestBuffer(1).has_value();
    if (wide && macro) {
        m_watchdogRetries = 0;
        return;
    }
    const QString results = QStringLiteral("(Wide:") + boolText(wide) + QStringLiteral(" Macro:") +
                            boolText(macro) + QStringLiteral(")");
    if (m_watchdogRetries > maxRestarts - 1) {
        setStatus(CameraStatus::noImage);
        ostrelLog(LogLevel::error,
                  QStringLiteral("Kamera liefert kein Bild ") + results +
                      QStringLiteral(" — bitte USB-Verbindung/Hub prüfen und neu starten (↻)."));
        return;
    }
    ++m_watchdogRetries;
    ostrelLog(LogLevel::warn,
              QStringLiteral("Kamera ohne Bild ") + results +
                  QStringLiteral(" — automatischer Neustart %1/3").arg(m_watchdogRetries));
    restartPipelines();
}

void CameraManagerMac::scheduleStopSessions() {
    CaptureSessions* sessions = &m_sessions;
    m_camQueue->async([sessions] { PipelineSetup::stopSessions(*sessions); });
}

void CameraManagerMac::restartPipelines() {
    scheduleStopSessions();
    setRunning(false);
    m_starting = false;
    cancelFPSTask();
    FrameStore::shared().clear();
    setStatus(CameraStatus::restarting);
    m_pollCount = 0;
    if (!m_running && !m_polling) {
        m_polling = true;
        pollForCameras();
    }
}

void CameraManagerMac::stopCapture() {
    if (!m_running && !m_starting)
        return;
    scheduleStopSessions();
    setRunning(false);
    m_starting = false;
    m_polling = false;
    m_micActive = false;
    setConnectedCount(0);
    setAudioLevel(0);
    m_watchdogRetries = 0;
    cancelFPSTask();
    setFPS({});
    setWriterFPS(std::nullopt);
    FrameStore::shared().clear();
    setStatus(CameraStatus::stopped);
    ostrelLog(LogLevel::event, QStringLiteral("Kamera-Sessions gestoppt"));
}

void CameraManagerMac::deviceDisconnected(const CaptureDevice& device) {
    if (device.mediaType() != MediaType::video)
        return;
    if (device.uniqueID != m_wideUID && device.uniqueID != m_macroUID)
        return;
    ostrelLog(LogLevel::error, QStringLiteral("Kamera getrennt: ") + device.localizedName +
                                   QStringLiteral(" — USB-Verbindung/Hub prüfen"));
    setStatus(CameraStatus::cameraDisconnected);
    setConnectedCount(std::max(m_connectedCount - 1, 0));
    setRunning(false);
    FrameStore::shared().clear();
    scheduleStopSessions();
}

void CameraManagerMac::deviceConnected(const CaptureDevice& device) {
    if (device.mediaType() != MediaType::video)
        return;
    if (device.uniqueID != m_wideUID && device.uniqueID != m_macroUID)
        return;
    ostrelLog(LogLevel::event, QStringLiteral("Kamera angeschlossen: ") + device.localizedName);
    if (!m_running) {
        m_pollCount = 0;
        if (!m_polling) {
            m_polling = true;
            pollForCameras();
        }
    }
}
