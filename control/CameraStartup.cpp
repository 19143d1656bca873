// CameraManager, start-up part: polling for the cameras, starting the pipelines, the
// no-picture watchdog with its restarts, stopping, and hot-plug. Main thread.

#include "control/CameraManager.h"

#include "capture/CameraErrorTexts.h"
#include "control/FrameStore.h"
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

void CameraManager::startCapture() {
    m_wideUID = m_settings.text(Setting::wideDeviceUID);
    m_macroUID = m_settings.text(Setting::macroDeviceUID);
    if (const QString mic = m_settings.text(Setting::micDeviceUID); mic != m_micUID) {
        resetMicrophone(); // another microphone, or none: the old one is missed no more
        m_micUID = mic;
    }
    autoAssignCameras();
    m_pollCount = 0;
    if (!m_running && !m_polling) {
        m_polling = true;
        pollForCameras();
    }
}

void CameraManager::autoAssignCameras() {
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

void CameraManager::pollForCameras() {
    if (!m_polling)
        return;
    if (m_running) {
        m_polling = false;
        return;
    }
    // One new listing per step, made off the GUI thread; this step looks at the kept one, and
    // the new one gets its own look when it comes.
    m_backend.discovery().refresh();
    tryStartPipelines();
    ++m_pollCount;
    if (m_pollCount > pollAttempts - 1) {
        m_polling = false;
        if (m_running || m_starting)
            return;
        if (m_startFailure) {
            // Found but not startable: "not found" would send the user looking for cables.
            setStatus(CameraStatus::cameraError);
            logGaveUpStarting();
            return;
        }
        setStatus(CameraStatus::noCameras);
        logOnMainThread(
            LogLevel::warn,
            QStringLiteral("Kameras nicht erkannt — beide anstecken; bei Bedarf neu starten."));
        return;
    }
    schedulePollStep();
}

void CameraManager::schedulePollStep() {
    // One loop only: a step left over from a stopped loop must not run beside a new one.
    m_pollTask.cancel();
    m_pollTask = m_scheduler.after(pollInterval, this, [this] { pollForCameras(); });
}

bool CameraManager::isStale(std::uint64_t generation) {
    if (generation == m_runGeneration)
        return false;
    // The run ended while this start was in flight (an unplug leaves `starting` set): the
    // outcome has now arrived, so a new start may go.
    if (m_starting && generation == m_startingGeneration)
        m_starting = false;
    logOnMainThread(LogLevel::info,
                    QStringLiteral("Ergebnis eines abgebrochenen Kamera-Starts verworfen"));
    return true;
}

void CameraManager::tryStartPipelines() {
    if (m_running || m_starting)
        return;
    if (degradedRecording()) {
        bringBackMissingCameras();
        return;
    }
    const DeviceDiscovery& discovery = m_backend.discovery();
    const std::optional<CaptureDevice> wide = videoDevice(discovery, m_wideUID);
    const std::optional<CaptureDevice> macro = videoDevice(discovery, m_macroUID);
    if (wide && macro && wide->uniqueID != macro->uniqueID) {
        m_starting = true;
        m_startingGeneration = m_runGeneration;
        const std::uint64_t generation = m_runGeneration;
        StartRequest request;
        request.owner = this;
        request.sessions = &m_sessions;
        request.wide = *wide;
        request.macro = *macro;
        request.microphoneRequested = !m_micUID.isEmpty();
        request.microphone = audioDevice(discovery, m_micUID);
        if (request.microphone)
            m_mic.device = *request.microphone;
        const std::uint64_t micEpoch = ++m_mic.epoch;
        request.microphoneEnded = [this, generation, micEpoch](StreamEnd reason) {
            microphoneEnded(generation, micEpoch, reason);
        };
        Stabilizer* stabilizer = m_stabilizer.get();
        request.prepareStart = [stabilizer] {
            FrameStore::shared().clear();
            stabilizer->requestReset();
        };
        request.configurationFailed = [this, generation] { configurationFailed(generation); };
        // A microphone lost before this outcome arrives is not running.
        request.started = [this, generation, micEpoch](bool video, bool audio) {
            started(generation, video, audio && micEpoch == m_mic.epoch);
        };
        const std::array<std::uint64_t, 2> epochs{++m_recovery[0].epoch, ++m_recovery[1].epoch};
        request.streamEnded = [this, generation, epochs](int index, StreamEnd reason) {
            streamEnded(generation, index, epochs[std::size_t(index)], reason);
        };
        m_runCameras[0] = *wide;
        m_runCameras[1] = *macro;
        PipelineSetup* pipeline = m_pipeline.get();
        m_camQueue->async([pipeline, request] { pipeline->configureAndStart(request); });
        return;
    }
    if (m_status != CameraStatus::live)
        setStatus(CameraStatus::searching);
}

void CameraManager::configurationFailed(std::uint64_t generation) {
    if (isStale(generation))
        return;
    m_starting = false;
    setStatus(CameraStatus::cameraError);
    logOnMainThread(LogLevel::error,
                    QStringLiteral("Video-Sessions konnten nicht konfiguriert werden"));
    reportStartFailure();
}

void CameraManager::reportStartFailure() {
    const std::optional<QString> reason = m_pipeline->lastFailure();
    if (!reason)
        return;
    const bool repeated = m_startFailure == reason;
    m_startFailure = reason;
    // Alert once per cause, not at every attempt of the poll loop.
    if (const std::optional<QString> alert = CameraErrorTexts::alertFor(*reason);
        alert && !repeated)
        setUserAlert(*alert);
    if (!m_polling)
        logGaveUpStarting(); // that was the poll loop's last attempt
}

void CameraManager::logGaveUpStarting() {
    if (m_startFailure)
        logOnMainThread(LogLevel::warn,
                        QStringLiteral("Kameras gefunden, starten aber nicht: ") + *m_startFailure);
}

void CameraManager::started(std::uint64_t generation, bool videoRunning, bool audioRunning) {
    if (isStale(generation))
        return;
    m_starting = false;
    m_micActive = audioRunning;
    if (!videoRunning) {
        setStatus(CameraStatus::cameraError);
        logOnMainThread(LogLevel::error,
                        QStringLiteral("startRunning ohne Erfolg — Bild bleibt schwarz"));
        reportStartFailure();
        return;
    }
    m_startFailure.reset();
    m_lost[0] = m_lost[1] = false;
    resetRecovery();
    setMissing(0, false);
    setMissing(1, false);
    setRunning(true);
    m_polling = false;
    setConnectedCount(2);
    setStatus(CameraStatus::live);
    startFPSTask();
    scheduleWatchdog();
    logOnMainThread(LogLevel::event,
                    QStringLiteral("2 Kameras live") +
                        (m_micActive ? QStringLiteral(" · Mikrofon aktiv") : QString()));
    if (m_mic.missing) {
        if (m_micActive)
            microphoneBack();
        else
            restartMicrophone();
    }
}

void CameraManager::scheduleWatchdog() {
    m_scheduler.after(watchdogDelay, this,
                      [this, generation = m_runGeneration] { checkWatchdog(generation); });
}

void CameraManager::checkWatchdog(std::uint64_t generation) {
    if (!m_running || m_starting || generation != m_runGeneration)
        return;
    if (m_recovery[0].restarting || m_recovery[1].restarting)
        return; // that camera has its own check
    const bool wide = FrameStore::shared().latestBuffer(0).has_value();
    const bool macro = FrameStore::shared().latestBuffer(1).has_value();
    if (wide && macro) {
        m_watchdogRetries = 0;
        return;
    }
    const QString results = QStringLiteral("(Wide:") + boolText(wide) + QStringLiteral(" Macro:") +
                            boolText(macro) + QStringLiteral(")");
    if (m_watchdogRetries > maxRestarts - 1) {
        m_recovery[0].pictureless = !wide;
        m_recovery[1].pictureless = !macro;
        emit liveCamerasChanged();
        setStatus(CameraStatus::noImage);
        logOnMainThread(
            LogLevel::error,
            QStringLiteral("Kamera liefert kein Bild ") + results +
                QStringLiteral(" — bitte USB-Verbindung/Hub prüfen und neu starten (↻)."));
        return;
    }
    ++m_watchdogRetries;
    logOnMainThread(LogLevel::warn,
                    QStringLiteral("Kamera ohne Bild ") + results +
                        QStringLiteral(" — automatischer Neustart %1/3").arg(m_watchdogRetries));
    restartPipelines();
}

void CameraManager::scheduleStopSessions() {
    CaptureSessions* sessions = &m_sessions;
    m_camQueue->async([sessions] { PipelineSetup::stopSessions(*sessions); });
}

void CameraManager::restartPipelines() {
    ++m_runGeneration;
    resetRecovery();
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

void CameraManager::stopCapture() {
    if (!m_running && !m_starting && !degradedRecording())
        return;
    ++m_runGeneration;
    resetRecovery();
    setMissing(0, false);
    setMissing(1, false);
    scheduleStopSessions();
    setRunning(false);
    m_starting = false;
    m_polling = false;
    m_pollTask.cancel();
    m_micActive = false;
    resetMicrophone();
    setConnectedCount(0);
    setAudioLevel(0);
    m_watchdogRetries = 0;
    cancelFPSTask();
    setFPS({});
    setWriterFPS(std::nullopt);
    FrameStore::shared().clear();
    setStatus(CameraStatus::stopped);
    logOnMainThread(LogLevel::event, QStringLiteral("Kamera-Sessions gestoppt"));
}

void CameraManager::deviceDisconnected(const CaptureDevice& device) {
    if (device.mediaType() == MediaType::audio) {
        microphoneDisconnected(device);
        return;
    }
    if (device.uniqueID != m_wideUID && device.uniqueID != m_macroUID)
        return;
    for (int index : {0, 1})
        if (m_lost[index] && m_runCameras[index].uniqueID == device.uniqueID) {
            m_lost[index] = false; // its stream end was the same loss, already reported
            return;
        }
    const int index = device.uniqueID == m_wideUID ? 0 : 1;
    logOnMainThread(LogLevel::error, CameraErrorTexts::unplugged(
                                         CameraErrorTexts::namedRole(device.localizedName, index)));
    if (m_recovery[index].missing) {
        // Already gone from the run (its stream could not be restarted): now it is unplugged.
        setStatus(CameraStatus::cameraDisconnected);
        return;
    }
    cameraGone(index);
}

void CameraManager::streamEnded(std::uint64_t generation, int index, std::uint64_t epoch,
                                StreamEnd reason) {
    // Ends of an earlier run or stream, or of a start still in flight (its outcome reports it).
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    if (generation != m_runGeneration || epoch != camera.epoch || m_starting || camera.missing)
        return;
    if (!m_running && !m_isRecording)
        return;
    const CaptureDevice& device = m_runCameras[index];
    const bool present = reason != StreamEnd::unplugged &&
                         videoDevice(m_backend.discovery(), device.uniqueID).has_value();
    if (present && camera.restarting) {
        camera.task.cancel();
        restartFailed(index); // a restarted stream that ends again is a failed try
        return;
    }
    if (present) {
        recoverStream(index, reason);
        return;
    }
    // Its notice follows; it is the same loss.
    m_lost[index] = true;
    logOnMainThread(LogLevel::error, CameraErrorTexts::unplugged(
                                         CameraErrorTexts::namedRole(device.localizedName, index)));
    cameraGone(index);
}

// The whole run ends as a camera is gone: its late outcomes are ignored and the restart button
// shows.
void CameraManager::endRunAsDisconnected() {
    setStatus(CameraStatus::cameraDisconnected);
    setRunning(false);
    ++m_runGeneration;
    resetRecovery();
    FrameStore::shared().clear();
    scheduleStopSessions();
}

void CameraManager::deviceConnected(const CaptureDevice& device) {
    if (device.mediaType() == MediaType::audio) {
        microphoneConnected(device);
        return;
    }
    if (device.uniqueID != m_wideUID && device.uniqueID != m_macroUID)
        return;
    logOnMainThread(LogLevel::event,
                    QStringLiteral("Kamera angeschlossen: ") +
                        CameraErrorTexts::namedRole(device.localizedName,
                                                    device.uniqueID == m_wideUID ? 0 : 1));
    if (!m_running) {
        m_pollCount = 0;
        if (!m_polling) {
            m_polling = true;
            pollForCameras();
        }
    }
}
