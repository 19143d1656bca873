// CameraManager, recovery part: a camera whose stream ended or stalled is restarted in place,
// and a camera lost during a recording stops only its own session, so the recording keeps the
// other camera and the sound. Main thread.

#include "control/CameraManager.h"

#include "capture/CameraErrorTexts.h"
#include "control/FrameStore.h"
#include "diagnostics/OstrelLog.h"
#include "imaging/Stabilizer.h"
#include "runtime/SerialQueue.h"

#include <array>
#include <memory>

using namespace std::chrono_literals;

namespace {

// At once, then after 1, 2 and 4 s: most hiccups of a USB camera are over within seconds.
constexpr std::array<std::chrono::milliseconds, 5> restartDelays{0ms, 1000ms, 2000ms, 4000ms,
                                                                 4000ms};
// A restarted stream counts as back at its first picture, and as failed without one in 3 s.
constexpr auto restartCheckInterval = 100ms;
constexpr int restartChecks = 30;

} // namespace

bool CameraManager::degradedRecording() const {
    return m_isRecording && !m_running && !m_starting && cameraMissing();
}

void CameraManager::setMissing(int index, bool missing) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    if (camera.missing == missing)
        return;
    camera.missing = missing;
    emit cameraMissingChanged();
    emit liveCamerasChanged();
}

QString CameraManager::missingCameraText() const {
    const bool wide = m_recovery[0].missing;
    const bool macro = m_recovery[1].missing;
    if (wide && macro)
        return m_isRecording ? tr("Beide Kameras fehlen — die Aufnahme läuft nur mit Ton weiter. "
                                  "USB-Verbindung/Hub prüfen.")
                             : tr("Beide Kameras fehlen — USB-Verbindung/Hub prüfen.");
    if (wide)
        return m_isRecording ? tr("Wide-Kamera fehlt — die Aufnahme läuft ohne Bild weiter, "
                                  "mit Ton. USB-Verbindung/Hub prüfen.")
                             : tr("Wide-Kamera fehlt — USB-Verbindung/Hub prüfen.");
    if (macro)
        return m_isRecording ? tr("Makro-Kamera fehlt — die Aufnahme läuft ohne Makrobild "
                                  "weiter. USB-Verbindung/Hub prüfen.")
                             : tr("Makro-Kamera fehlt — USB-Verbindung/Hub prüfen.");
    return {};
}

void CameraManager::resetRecovery() {
    for (CameraRecovery& camera : m_recovery) {
        camera.task.cancel();
        camera.tries = 0;
        camera.restarting = false;
        camera.pictureless = false;
    }
    // A restart in flight belongs to the run that ends; a new start looks for the microphone.
    m_mic.restarting = false;
    m_mic.retry.cancel();
}

void CameraManager::recoverStream(int index, StreamEnd reason) {
    const CaptureDevice& device = m_runCameras[index];
    const QString role = CameraErrorTexts::role(index);
    logOnMainThread(LogLevel::warn,
                    (reason == StreamEnd::stalled
                         ? CameraErrorTexts::stalled(role, device.localizedName)
                         : CameraErrorTexts::streamEnded(role, device.localizedName))
                            .section(QStringLiteral(" — "), 0, 0) +
                        QStringLiteral(" — wird neu gestartet"));
    m_recovery[std::size_t(index)].tries = 0;
    if (m_running)
        setStatus(CameraStatus::restarting);
    scheduleCameraRestart(index);
}

void CameraManager::scheduleCameraRestart(int index) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    camera.restarting = true;
    ++camera.epoch; // whatever the old stream still reports is over
    const auto delay = restartDelays[std::size_t(camera.tries)];
    ++camera.tries;
    camera.task.cancel();
    if (delay == 0ms) {
        restartCamera(index, false);
        return;
    }
    camera.task = m_scheduler.after(delay, this, [this, index] { restartCamera(index, false); });
}

void CameraManager::restartCamera(int index, bool comingBack) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    camera.restarting = true;
    const std::uint64_t epoch = ++camera.epoch;
    const std::uint64_t generation = m_runGeneration;
    if (!comingBack)
        logOnMainThread(LogLevel::warn,
                        QStringLiteral("%1-Kamera wird neu gestartet (Versuch %2/%3)")
                            .arg(CameraErrorTexts::role(index))
                            .arg(camera.tries)
                            .arg(restartDelays.size()));
    CameraRestart request;
    request.owner = this;
    request.sessions = &m_sessions;
    request.index = index;
    request.device = m_runCameras[index];
    Stabilizer* stabilizer = m_stabilizer.get();
    request.prepareStart = [stabilizer, index] {
        FrameStore::shared().clear(index);
        if (index == 1)
            stabilizer->requestReset();
    };
    request.done = [this, generation, index, epoch, comingBack](bool running) {
        cameraRestarted(generation, index, epoch, running, comingBack);
    };
    request.streamEnded = [this, generation, index, epoch](StreamEnd reason) {
        streamEnded(generation, index, epoch, reason);
    };
    PipelineSetup* pipeline = m_pipeline.get();
    m_camQueue->async([pipeline, request] { pipeline->restartCamera(request); });
}

void CameraManager::cameraRestarted(std::uint64_t generation, int index, std::uint64_t epoch,
                                    bool running, bool comingBack) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    if (generation != m_runGeneration || epoch != camera.epoch)
        return;
    if (running) {
        auto checks = std::make_shared<int>(0);
        camera.task = m_scheduler.every(
            restartCheckInterval, this, [this, generation, index, epoch, comingBack, checks] {
                checkRestartedCamera(generation, index, epoch, comingBack, ++*checks);
            });
    } else if (comingBack) {
        camera.restarting = false; // the poll loop tries again at its next step
    } else {
        restartFailed(index);
    }
}

void CameraManager::checkRestartedCamera(std::uint64_t generation, int index, std::uint64_t epoch,
                                         bool comingBack, int check) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    if (generation != m_runGeneration || epoch != camera.epoch) {
        camera.task.cancel();
        return;
    }
    const bool delivers = FrameStore::shared().latestBuffer(index).has_value();
    if (!delivers && check < restartChecks)
        return;
    camera.task.cancel();
    if (delivers)
        cameraBack(index, comingBack);
    else if (comingBack)
        camera.restarting = false;
    else
        restartFailed(index);
}

void CameraManager::restartFailed(int index) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    if (camera.tries < int(restartDelays.size())) {
        scheduleCameraRestart(index);
        return;
    }
    camera.restarting = false;
    const CaptureDevice& device = m_runCameras[index];
    const QString message =
        CameraErrorTexts::stalled(CameraErrorTexts::role(index), device.localizedName);
    logOnMainThread(LogLevel::error, message);
    setUserAlert(CameraErrorTexts::alertFor(message).value_or(message));
    cameraGone(index);
}

void CameraManager::cameraBack(int index, bool comingBack) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    camera.restarting = false;
    camera.tries = 0;
    logOnMainThread(LogLevel::event,
                    QStringLiteral("Kamera wieder live: ") +
                        CameraErrorTexts::namedRole(m_runCameras[index].localizedName, index));
    if (comingBack) {
        setMissing(index, false);
        setConnectedCount(std::min(m_connectedCount + 1, 2));
    }
    if (cameraMissing() || m_recovery[0].restarting || m_recovery[1].restarting)
        return;
    if (!m_running) {
        setRunning(true);
        m_polling = false;
        m_pollTask.cancel();
        startFPSTask();
    }
    setStatus(CameraStatus::live);
}

void CameraManager::cameraGone(int index) {
    CameraRecovery& camera = m_recovery[std::size_t(index)];
    camera.task.cancel();
    camera.restarting = false;
    ++camera.epoch;
    setConnectedCount(std::max(m_connectedCount - 1, 0));
    setMissing(index, true);
    if (!m_isRecording) {
        endRunAsDisconnected();
        return;
    }
    // The recording goes on with what is left; the record command still ends it.
    setStatus(CameraStatus::cameraDisconnected);
    setRunning(false);
    FrameStore::shared().clear(index);
    CaptureSessions* sessions = &m_sessions;
    m_camQueue->async([sessions, index] { PipelineSetup::stopCamera(*sessions, index); });
    if (!m_userAlert)
        setUserAlert(
            CameraErrorTexts::alertFor(CameraErrorTexts::unplugged(CameraErrorTexts::namedRole(
                                           m_runCameras[index].localizedName, index)))
                .value_or(QString()));
}

void CameraManager::bringBackMissingCameras() {
    const DeviceDiscovery& discovery = m_backend.discovery();
    for (int index : {0, 1}) {
        const CameraRecovery& camera = m_recovery[std::size_t(index)];
        if (!camera.missing || camera.restarting)
            continue;
        if (const auto device = videoDevice(discovery, index == 0 ? m_wideUID : m_macroUID)) {
            m_runCameras[index] = *device;
            restartCamera(index, true);
        }
    }
}

void CameraManager::endDegradedRun() {
    if (!cameraMissing() || m_running || m_starting)
        return;
    endRunAsDisconnected();
    m_pollCount = 0;
    if (!m_polling) {
        m_polling = true;
        pollForCameras();
    }
}
