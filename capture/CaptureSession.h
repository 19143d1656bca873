#pragma once

#include "capture/CaptureInput.h"
#include "capture/CaptureOutput.h"

#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

// One capture pipeline: inputs feed every output of their media type while the session runs.
// Configuration and start/stop run on one (configuration) queue; frames flow on the inputs'
// threads and reach the outputs' delivery queues.
class CaptureSession {
public:
    CaptureSession();
    virtual ~CaptureSession();

    CaptureSession(const CaptureSession&) = delete;
    CaptureSession& operator=(const CaptureSession&) = delete;

    virtual void beginConfiguration() {}
    virtual void commitConfiguration() {}

    std::vector<std::shared_ptr<CaptureInput>> inputs() const;
    std::vector<std::shared_ptr<CaptureOutput>> outputs() const;

    virtual bool canSetSessionPreset(SessionPreset) const { return true; }
    void setSessionPreset(SessionPreset preset) { m_preset = preset; }
    SessionPreset sessionPreset() const { return m_preset; }

    virtual bool canAddInput(const std::shared_ptr<CaptureInput>& input) const;
    void addInput(std::shared_ptr<CaptureInput> input);
    // Removing the input of a running session stops it.
    void removeInput(const std::shared_ptr<CaptureInput>& input);

    virtual bool canAddOutput(const std::shared_ptr<CaptureOutput>& output) const;
    void addOutput(std::shared_ptr<CaptureOutput> output);
    void removeOutput(const std::shared_ptr<CaptureOutput>& output);

    // Blocks until every input streams or one has failed; `isRunning` tells which.
    void startRunning();
    void stopRunning();
    // False again once an input's device is lost mid-stream.
    bool isRunning() const { return m_running && !m_streamLost; }
    // Why the last start failed, for diagnostics.
    std::optional<QString> lastStartError() const;

    // Called on the input's thread, once per run, when a running stream ends by itself.
    using StreamEndHandler = std::function<void(StreamEnd)>;
    void setStreamEndHandler(StreamEndHandler handler);

private:
    class OutputDispatcher;
    void stopInputs();

    mutable std::mutex m_lock; // guards the lists, read by the inputs' threads
    std::vector<std::shared_ptr<CaptureInput>> m_inputs;
    std::vector<std::shared_ptr<CaptureOutput>> m_outputs;
    std::vector<std::shared_ptr<CaptureInput>> m_started;
    std::optional<QString> m_lastStartError;
    StreamEndHandler m_streamEndHandler;
    SessionPreset m_preset = SessionPreset::deviceDefault;
    std::atomic<bool> m_running{false};
    std::atomic<bool> m_streamLost{false};
    std::unique_ptr<OutputDispatcher> m_dispatcher;
};
