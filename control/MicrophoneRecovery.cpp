// CameraManager, microphone part: a microphone that is pulled or whose stream ends stops only
// its own session, the cameras and a running recording go on, and it is taken back in place
// when it is there again. While it is gone the meter reads nothing and the recording gets
// silence instead of its sound, so the file keeps one sound track in step with the picture and
// the sound returns into it at the time it is heard again. Main thread.

#include "control/CameraManager.h"

#include "diagnostics/OstrelLog.h"
#include "recording/RecordingEngine.h"
#include "runtime/SerialQueue.h"

#include <array>

using namespace std::chrono_literals;

namespace {

// After a failed restart of a listed microphone; then only its next plug-in tries again.
constexpr std::array<std::chrono::milliseconds, 3> retryDelays{1000ms, 2000ms, 4000ms};
// Short enough that the sound track keeps pace with the picture as a microphone's would.
constexpr auto silencePeriod = 100ms;

} // namespace

QString CameraManager::missingMicrophoneText() const {
    if (!m_mic.missing)
        return {};
    return m_isRecording ? tr("Mikrofon fehlt — die Aufnahme läuft ohne Ton weiter. Anschluss "
                              "prüfen.")
                         : tr("Mikrofon fehlt — Anschluss prüfen.");
}

void CameraManager::setMicrophoneMissing(bool missing) {
    if (m_mic.missing == missing)
        return;
    m_mic.missing = missing;
    emit microphoneMissingChanged();
}

void CameraManager::microphoneEnded(std::uint64_t generation, std::uint64_t epoch,
                                    StreamEnd reason) {
    if (generation != m_runGeneration || epoch != m_mic.epoch || m_mic.missing)
        return;
    const bool present =
        reason != StreamEnd::unplugged && audioDevice(m_backend.discovery(), m_micUID).has_value();
    microphoneLost(!present);
}

void CameraManager::microphoneDisconnected(const CaptureDevice& device) {
    if (device.uniqueID != m_micUID)
        return;
    if (m_mic.missing) {
        if (!m_mic.unplugged) {
            // Its stream ended first, as the device went: the retries cannot help.
            m_mic.unplugged = true;
            m_mic.retry.cancel();
            logOnMainThread(LogLevel::warn, QStringLiteral("Mikrofon getrennt: ") +
                                                device.localizedName +
                                                QStringLiteral(" — Anschluss prüfen"));
        }
        return;
    }
    if (!m_micActive)
        return; // not in the run: the next start looks for it anyway
    m_mic.device = device;
    microphoneLost(true);
}

void CameraManager::microphoneConnected(const CaptureDevice& device) {
    if (device.uniqueID != m_micUID || !m_mic.missing)
        return;
    m_mic.unplugged = false;
    m_mic.tries = 0;
    m_mic.retry.cancel();
    restartMicrophone();
}

void CameraManager::microphoneLost(bool unplugged) {
    ++m_mic.epoch; // whatever the old stream still reports is over
    m_mic.unplugged = unplugged;
    m_mic.restarting = false;
    m_mic.tries = 0;
    m_mic.retry.cancel();
    m_micActive = false;
    setMicrophoneMissing(true);
    setAudioLevel(0);
    const QString name = m_mic.device.localizedName;
    if (unplugged)
        logOnMainThread(LogLevel::warn,
                        QStringLiteral("Mikrofon getrennt: ") + name +
                            (m_isRecording ? QStringLiteral(" — Aufnahme läuft ohne Ton weiter")
                                           : QStringLiteral(" — Anschluss prüfen")));
    else
        logOnMainThread(LogLevel::warn, QStringLiteral("Tonstrom des Mikrofons (") + name +
                                            QStringLiteral(") abgebrochen — wird neu gestartet"));
    CaptureSessions* sessions = &m_sessions;
    m_camQueue->async([sessions] { PipelineSetup::stopMicrophone(*sessions); });
    startSilence();
    if (!unplugged)
        restartMicrophone();
}

void CameraManager::restartMicrophone() {
    if (!m_mic.missing || m_mic.restarting)
        return;
    if (!m_running && !degradedRecording())
        return;
    const std::optional<CaptureDevice> device = audioDevice(m_backend.discovery(), m_micUID);
    if (!device)
        return; // its plug-in notice brings it
    m_mic.device = *device;
    m_mic.restarting = true;
    ++m_mic.tries;
    const std::uint64_t epoch = ++m_mic.epoch;
    const std::uint64_t generation = m_runGeneration;
    // The silence ends where the microphone's own sound can begin at the earliest.
    stopSilence();
    MicrophoneRestart request;
    request.owner = this;
    request.sessions = &m_sessions;
    request.device = *device;
    request.done = [this, generation, epoch](bool running) {
        microphoneRestarted(generation, epoch, running);
    };
    request.streamEnded = [this, generation, epoch](StreamEnd reason) {
        microphoneEnded(generation, epoch, reason);
    };
    PipelineSetup* pipeline = m_pipeline.get();
    m_camQueue->async([pipeline, request] { pipeline->restartMicrophone(request); });
}

void CameraManager::microphoneRestarted(std::uint64_t generation, std::uint64_t epoch,
                                        bool running) {
    if (generation != m_runGeneration || epoch != m_mic.epoch)
        return;
    m_mic.restarting = false;
    if (running) {
        microphoneBack();
        return;
    }
    startSilence();
    if (m_mic.tries > int(retryDelays.size())) {
        logOnMainThread(LogLevel::warn, QStringLiteral("Mikrofon startet nicht neu: ") +
                                            m_mic.device.localizedName +
                                            QStringLiteral(" — Anschluss prüfen"));
        return;
    }
    m_mic.retry = m_scheduler.after(retryDelays[std::size_t(m_mic.tries - 1)], this,
                                    [this] { restartMicrophone(); });
}

void CameraManager::microphoneBack() {
    m_mic.tries = 0;
    m_mic.retry.cancel();
    m_micActive = true;
    stopSilence();
    setMicrophoneMissing(false);
    logOnMainThread(LogLevel::info,
                    QStringLiteral("Mikrofon wieder verbunden: ") + m_mic.device.localizedName);
}

void CameraManager::resetMicrophone() {
    ++m_mic.epoch;
    m_mic.restarting = false;
    m_mic.unplugged = false;
    m_mic.tries = 0;
    m_mic.retry.cancel();
    stopSilence();
    setMicrophoneMissing(false);
}

void CameraManager::startSilence() {
    if (!m_isRecording || m_mic.silence.isActive())
        return;
    m_mic.silent.emplace(captureClockNow());
    m_mic.silence = m_scheduler.every(silencePeriod, this, [this] {
        if (m_isRecording && m_mic.missing)
            fillSilence();
        else
            stopSilence();
    });
}

void CameraManager::fillSilence() {
    if (!m_mic.silent)
        return;
    std::optional<AudioBuffer> buffer = m_mic.silent->until(captureClockNow());
    if (!buffer)
        return;
    // Through the frame queue, behind the microphone's last buffers.
    RecordingEngine* recorder = m_recorder.get();
    m_frameQueue->async([recorder, buffer = std::move(*buffer)] { recorder->appendAudio(buffer); });
}

void CameraManager::stopSilence() {
    fillSilence();
    m_mic.silence.cancel();
    m_mic.silent.reset();
}
