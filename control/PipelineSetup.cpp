#include "control/PipelineSetup.h"

#include "diagnostics/OstrelLog.h"
#include "runtime/MainThread.h"

#include <thread>

namespace {

// A stream end, reported on the input's thread, handed to the owner's thread while it lives.
CaptureSession::StreamEndHandler onOwnersThread(QPointer<QObject> owner,
                                                std::function<void(StreamEnd)> handler) {
    return [owner, handler = std::move(handler)](StreamEnd reason) {
        if (QObject* target = owner.data(); target && handler)
            runOn(target, [handler, reason] { handler(reason); });
    };
}

QString cameraPrefix(int index, const CaptureDevice& device) {
    return QStringLiteral("Kamera %1 (%2): ").arg(index).arg(device.localizedName);
}

} // namespace

CaptureSessions CaptureSessions::make(CaptureBackend& backend) {
    return {backend.makeSession(), backend.makeSession(), backend.makeSession()};
}

PipelineSetup::PipelineSetup(CaptureBackend& backend, std::weak_ptr<SampleBufferDelegate> delegate,
                             std::array<SerialQueue*, 2> cameraQueues, SerialQueue* frameQueue)
    : m_backend(backend), m_delegate(std::move(delegate)), m_cameraQueues(cameraQueues),
      m_frameQueue(frameQueue) {
}

void PipelineSetup::removeInputsAndOutputs(CaptureSession& session) {
    for (const auto& input : session.inputs())
        session.removeInput(input);
    for (const auto& output : session.outputs())
        session.removeOutput(output);
}

bool PipelineSetup::configureVideoSession(CaptureSession& session, const CaptureDevice& device,
                                          int index) {
    session.beginConfiguration();
    removeInputsAndOutputs(session);
    if (session.canSetSessionPreset(SessionPreset::high))
        session.setSessionPreset(SessionPreset::high);

    const DeviceInputResult made = m_backend.makeDeviceInput(device);
    if (!made.input) {
        session.commitConfiguration();
        logFromAnyThread(LogLevel::error, cameraPrefix(index, device) + made.error);
        noteFailure(made.error);
        return false;
    }
    if (!session.canAddInput(made.input)) {
        session.commitConfiguration();
        logFromAnyThread(LogLevel::error,
                         cameraPrefix(index, device) + QStringLiteral("canAddInput = false"));
        return false;
    }
    session.addInput(made.input);

    auto output = std::make_shared<CameraOutput>(index);
    output->setAlwaysDiscardsLateVideoFrames(true);
    output->setVideoSettings(pixelFormatBGRA);
    output->setSampleBufferDelegate(m_delegate, m_cameraQueues[std::size_t(index)]);
    if (session.canAddOutput(output)) {
        session.addOutput(output);
        session.commitConfiguration();
        logFromAnyThread(
            LogLevel::info,
            QStringLiteral("Kamera %1 konfiguriert: %2").arg(index).arg(device.localizedName));
        return true;
    }
    session.commitConfiguration();
    logFromAnyThread(LogLevel::error, QStringLiteral("Kamera %1: canAddOutput = false").arg(index));
    return false;
}

bool PipelineSetup::configureAudioSession(CaptureSession& session, const CaptureDevice& device) {
    session.beginConfiguration();
    removeInputsAndOutputs(session);

    const DeviceInputResult made = m_backend.makeDeviceInput(device);
    if (!made.input) {
        session.commitConfiguration();
        logFromAnyThread(LogLevel::warn,
                         QStringLiteral("Mikrofon konnte nicht verbunden werden: ") + made.error);
        return false;
    }
    if (!session.canAddInput(made.input)) {
        session.commitConfiguration();
        return false;
    }
    session.addInput(made.input);

    auto output = std::make_shared<AudioDataOutput>();
    output->setSampleBufferDelegate(m_delegate, m_frameQueue);
    if (session.canAddOutput(output)) {
        session.addOutput(output);
        session.commitConfiguration();
        logFromAnyThread(LogLevel::info,
                         QStringLiteral("Mikrofon eingebunden: ") + device.localizedName);
        return true;
    }
    session.commitConfiguration();
    return false;
}

void PipelineSetup::noteFailure(const QString& reason) {
    std::lock_guard guard(m_failureLock);
    if (!m_lastFailure)
        m_lastFailure = reason;
}

std::optional<QString> PipelineSetup::lastFailure() const {
    std::lock_guard guard(m_failureLock);
    return m_lastFailure;
}

void PipelineSetup::configureAndStart(const StartRequest& request) {
    if (request.owner.isNull() || !request.sessions)
        return;
    CaptureSessions& sessions = *request.sessions;
    {
        std::lock_guard guard(m_failureLock);
        m_lastFailure.reset();
    }

    bool videoReady = configureVideoSession(*sessions.wide, request.wide, 0);
    if (videoReady)
        videoReady = configureVideoSession(*sessions.macro, request.macro, 1);

    bool micReady = false;
    if (request.microphoneRequested && request.microphone)
        micReady = configureAudioSession(*sessions.audio, *request.microphone);

    if (!videoReady) {
        if (QObject* owner = request.owner.data(); owner && request.configurationFailed)
            runOn(owner, request.configurationFailed);
        return;
    }

    if (request.prepareStart)
        request.prepareStart();

    // A stream end reaches the manager tagged with this start, so a later start ignores it.
    for (int index : {0, 1}) {
        CaptureSession& session = cameraSession(sessions, index);
        session.setStreamEndHandler(
            onOwnersThread(request.owner, [handler = request.streamEnded, index](StreamEnd reason) {
                if (handler)
                    handler(index, reason);
            }));
    }

    if (micReady)
        sessions.audio->setStreamEndHandler(onOwnersThread(request.owner, request.microphoneEnded));

    sessions.wide->startRunning();
    std::this_thread::sleep_for(macroStartPause);
    sessions.macro->startRunning();
    if (micReady)
        sessions.audio->startRunning();
    for (CaptureSession* session : {sessions.wide.get(), sessions.macro.get()})
        if (!session->isRunning())
            if (const auto reason = session->lastStartError())
                noteFailure(*reason);
    if (cameraStarted)
        for (int index : {0, 1})
            if (cameraSession(sessions, index).isRunning())
                cameraStarted(index, index == 0 ? request.wide : request.macro);

    const bool videoRunning = sessions.wide->isRunning() && sessions.macro->isRunning();
    const bool audioRunning = micReady && sessions.audio->isRunning();
    if (QObject* owner = request.owner.data(); owner && request.started)
        runOn(owner, [started = request.started, videoRunning, audioRunning] {
            started(videoRunning, audioRunning);
        });
}

void PipelineSetup::stopSessions(CaptureSessions& sessions) {
    for (CaptureSession* session :
         {sessions.wide.get(), sessions.macro.get(), sessions.audio.get()})
        if (session)
            session->stopRunning();
}

CaptureSession& PipelineSetup::cameraSession(CaptureSessions& sessions, int index) {
    return index == 0 ? *sessions.wide : *sessions.macro;
}

void PipelineSetup::stopCamera(CaptureSessions& sessions, int index) {
    cameraSession(sessions, index).stopRunning();
}

void PipelineSetup::restartCamera(const CameraRestart& request) {
    if (request.owner.isNull() || !request.sessions)
        return;
    CaptureSession& session = cameraSession(*request.sessions, request.index);
    session.stopRunning();
    bool running = false;
    if (configureVideoSession(session, request.device, request.index)) {
        if (request.prepareStart)
            request.prepareStart();
        session.setStreamEndHandler(onOwnersThread(request.owner, request.streamEnded));
        session.startRunning();
        running = session.isRunning();
        if (running && cameraStarted)
            cameraStarted(request.index, request.device);
    }
    if (QObject* owner = request.owner.data(); owner && request.done)
        runOn(owner, [done = request.done, running] { done(running); });
}

void PipelineSetup::stopMicrophone(CaptureSessions& sessions) {
    sessions.audio->stopRunning();
}

void PipelineSetup::restartMicrophone(const MicrophoneRestart& request) {
    if (request.owner.isNull() || !request.sessions)
        return;
    CaptureSession& session = *request.sessions->audio;
    session.stopRunning();
    bool running = false;
    if (configureAudioSession(session, request.device)) {
        session.setStreamEndHandler(onOwnersThread(request.owner, request.streamEnded));
        session.startRunning();
        running = session.isRunning();
    }
    if (QObject* owner = request.owner.data(); owner && request.done)
        runOn(owner, [done = request.done, running] { done(running); });
}
