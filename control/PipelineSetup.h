#pragma once

#include "capture/CaptureBackend.h"

#include <QPointer>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

class SerialQueue;

// The three pipelines of the camera manager, made once and reconfigured in place.
struct CaptureSessions {
    std::unique_ptr<CaptureSession> wide;
    std::unique_ptr<CaptureSession> macro;
    std::unique_ptr<CaptureSession> audio;

    static CaptureSessions make(CaptureBackend& backend);
};

// One start of the pipelines, as the camera manager schedules it on its configuration queue.
struct StartRequest {
    QPointer<QObject> owner; // the manager, held weakly; the continuations run on its thread
    CaptureSessions* sessions = nullptr;
    CaptureDevice wide;
    CaptureDevice macro;
    bool microphoneRequested = false;
    std::optional<CaptureDevice> microphone;
    // Runs on the configuration queue just before the sessions start (empties the frame store,
    // marks the stabiliser for a reset).
    std::function<void()> prepareStart;
    std::function<void()> configurationFailed;
    std::function<void(bool videoRunning, bool audioRunning)> started;
    // Runs on the owner's thread when camera `index`'s stream of this start ends by itself.
    std::function<void(int index, StreamEnd reason)> streamEnded;
    // Runs on the owner's thread when the microphone's stream of this start ends by itself.
    std::function<void(StreamEnd reason)> microphoneEnded;
};

// One camera's session started again in place while the other camera and the microphone go
// on (a stream that ended or stalled, a camera plugged back in during a recording).
struct CameraRestart {
    QPointer<QObject> owner; // the manager, held weakly; the continuations run on its thread
    CaptureSessions* sessions = nullptr;
    int index = 0; // 0 Wide, 1 Macro
    CaptureDevice device;
    // Runs on the configuration queue just before the session starts.
    std::function<void()> prepareStart;
    std::function<void(bool running)> done;
    // Runs on the owner's thread when the restarted stream ends by itself.
    std::function<void(StreamEnd reason)> streamEnded;
};

// The microphone's session started again in place while the cameras go on (its stream ended,
// or it was plugged back in).
struct MicrophoneRestart {
    QPointer<QObject> owner; // the manager, held weakly; the continuations run on its thread
    CaptureSessions* sessions = nullptr;
    CaptureDevice device;
    std::function<void(bool running)> done;
    // Runs on the owner's thread when the restarted stream ends by itself.
    std::function<void(StreamEnd reason)> streamEnded;
};

// Builds and starts the capture pipelines. Every operation runs on the configuration queue.
class PipelineSetup {
public:
    // Frames of camera i are delivered to `delegate` on `cameraQueues[i]`, microphone buffers
    // on `frameQueue`. The queues must outlive the sessions' running.
    PipelineSetup(CaptureBackend& backend, std::weak_ptr<SampleBufferDelegate> delegate,
                  std::array<SerialQueue*, 2> cameraQueues, SerialQueue* frameQueue);

    bool configureVideoSession(CaptureSession& session, const CaptureDevice& device, int index);
    bool configureAudioSession(CaptureSession& session, const CaptureDevice& device);
    void configureAndStart(const StartRequest& request);
    // Closes the camera's old stream for real (device and buffers freed), then opens it anew.
    void restartCamera(const CameraRestart& request);
    // Every session, also one whose stream was lost: its device is still held until stopped.
    static void stopSessions(CaptureSessions& sessions);
    static void stopCamera(CaptureSessions& sessions, int index);
    // Opens the microphone anew, its old stream closed first.
    void restartMicrophone(const MicrophoneRestart& request);
    static void stopMicrophone(CaptureSessions& sessions);

    // Any thread. Why the last configuration or start failed (the first camera's reason).
    std::optional<QString> lastFailure() const;

    // The pause between starting the Wide and the Macro session.
    std::chrono::milliseconds macroStartPause{200};
    // Runs on the configuration queue after camera `index` started streaming (its format set),
    // at every start and restart.
    std::function<void(int index, const CaptureDevice& device)> cameraStarted;

private:
    static void removeInputsAndOutputs(CaptureSession& session);
    static CaptureSession& cameraSession(CaptureSessions& sessions, int index);
    void noteFailure(const QString& reason);

    CaptureBackend& m_backend;
    std::weak_ptr<SampleBufferDelegate> m_delegate;
    std::array<SerialQueue*, 2> m_cameraQueues;
    SerialQueue* m_frameQueue;
    mutable std::mutex m_failureLock;
    std::optional<QString> m_lastFailure;
};
