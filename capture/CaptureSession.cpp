#include "capture/CaptureSession.h"

#include <algorithm>

// Routes what the inputs capture to the session's current outputs.
class CaptureSession::OutputDispatcher : public CaptureSink {
public:
    explicit OutputDispatcher(CaptureSession& session) : m_session(session) {}

    bool wantsVideo() const override {
        for (const auto& output : m_session.outputs())
            if (auto video = std::dynamic_pointer_cast<VideoDataOutput>(output))
                if (video->isReadyForFrame())
                    return true;
        return false;
    }
    void pushVideo(VideoSample sample) override {
        for (const auto& output : m_session.outputs())
            if (auto video = std::dynamic_pointer_cast<VideoDataOutput>(output))
                video->deliver(sample);
    }
    void pushAudio(AudioBuffer buffer) override {
        for (const auto& output : m_session.outputs())
            if (auto audio = std::dynamic_pointer_cast<AudioDataOutput>(output))
                audio->deliver(buffer);
    }
    void streamEnded(StreamEnd reason) override {
        if (m_session.m_streamLost.exchange(true))
            return;
        StreamEndHandler handler;
        {
            std::lock_guard guard(m_session.m_lock);
            handler = m_session.m_streamEndHandler;
        }
        if (handler && m_session.m_running)
            handler(reason);
    }

private:
    CaptureSession& m_session;
};

CaptureSession::CaptureSession() : m_dispatcher(std::make_unique<OutputDispatcher>(*this)) {
}

CaptureSession::~CaptureSession() {
    stopInputs();
}

std::vector<std::shared_ptr<CaptureInput>> CaptureSession::inputs() const {
    std::lock_guard guard(m_lock);
    return m_inputs;
}

std::vector<std::shared_ptr<CaptureOutput>> CaptureSession::outputs() const {
    std::lock_guard guard(m_lock);
    return m_outputs;
}

bool CaptureSession::canAddInput(const std::shared_ptr<CaptureInput>& input) const {
    std::lock_guard guard(m_lock);
    return input && std::find(m_inputs.begin(), m_inputs.end(), input) == m_inputs.end();
}

void CaptureSession::addInput(std::shared_ptr<CaptureInput> input) {
    if (!canAddInput(input))
        return;
    std::lock_guard guard(m_lock);
    m_inputs.push_back(std::move(input));
}

void CaptureSession::removeInput(const std::shared_ptr<CaptureInput>& input) {
    bool wasStarted = false;
    {
        std::lock_guard guard(m_lock);
        wasStarted = std::find(m_started.begin(), m_started.end(), input) != m_started.end();
    }
    if (wasStarted)
        stopRunning();
    std::lock_guard guard(m_lock);
    std::erase(m_inputs, input);
}

bool CaptureSession::canAddOutput(const std::shared_ptr<CaptureOutput>& output) const {
    std::lock_guard guard(m_lock);
    return output && std::find(m_outputs.begin(), m_outputs.end(), output) == m_outputs.end();
}

void CaptureSession::addOutput(std::shared_ptr<CaptureOutput> output) {
    if (!canAddOutput(output))
        return;
    std::lock_guard guard(m_lock);
    m_outputs.push_back(std::move(output));
}

void CaptureSession::removeOutput(const std::shared_ptr<CaptureOutput>& output) {
    std::lock_guard guard(m_lock);
    std::erase(m_outputs, output);
}

void CaptureSession::startRunning() {
    if (isRunning())
        return;
    stopInputs();
    m_streamLost = false;
    const auto toStart = inputs();
    std::optional<QString> failure;
    if (toStart.empty())
        failure = QStringLiteral("kein Eingang");
    for (const auto& input : toStart) {
        failure = input->start(m_preset, *m_dispatcher);
        if (failure)
            break;
        std::lock_guard guard(m_lock);
        m_started.push_back(input);
    }
    {
        std::lock_guard guard(m_lock);
        m_lastStartError = failure;
    }
    if (failure) {
        stopInputs();
        return;
    }
    m_running = true;
}

void CaptureSession::stopRunning() {
    stopInputs();
}

void CaptureSession::stopInputs() {
    m_running = false;
    std::vector<std::shared_ptr<CaptureInput>> started;
    {
        std::lock_guard guard(m_lock);
        started.swap(m_started);
    }
    for (const auto& input : started)
        input->stop();
}

std::optional<QString> CaptureSession::lastStartError() const {
    std::lock_guard guard(m_lock);
    return m_lastStartError;
}

void CaptureSession::setStreamEndHandler(StreamEndHandler handler) {
    std::lock_guard guard(m_lock);
    m_streamEndHandler = std::move(handler);
}
