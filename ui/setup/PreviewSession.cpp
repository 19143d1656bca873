#include "ui/setup/PreviewSession.h"

#include "capture/CaptureOutput.h"

#include <mutex>

class PreviewSession::NewestPicture : public SampleBufferDelegate {
public:
    void captureOutput(CaptureOutput&, const SampleBuffer& buffer) override {
        if (!buffer.image)
            return;
        std::lock_guard guard(m_lock);
        m_image = buffer.image;
        ++m_sequence;
    }
    // Nothing to show until the next picture (another device, or none).
    void clear() {
        std::lock_guard guard(m_lock);
        m_image = {};
        ++m_sequence;
    }
    PixelBuffer newest(int* sequence) const {
        std::lock_guard guard(m_lock);
        if (sequence)
            *sequence = m_sequence;
        return m_image;
    }

private:
    mutable std::mutex m_lock;
    PixelBuffer m_image;
    int m_sequence = 0;
};

PreviewSession::PreviewSession(CaptureBackend& backend)
    : m_backend(backend), m_session(backend.makeSession()),
      m_output(std::make_shared<VideoDataOutput>()), m_newest(std::make_shared<NewestPicture>()) {
    m_output->setAlwaysDiscardsLateVideoFrames(true);
    m_output->setVideoSettings(pixelFormatBGRA);
    // Pictures are delivered on the same queue: a preview changes its session rarely.
    m_output->setSampleBufferDelegate(m_newest, &m_queue);
}

PreviewSession::~PreviewSession() {
    stop();
    m_queue.drain();
}

void PreviewSession::configure(std::optional<CaptureDevice> device) {
    m_queue.async([this, device = std::move(device)] { configureOnQueue(device); });
}

void PreviewSession::stop() {
    m_queue.async([this] { stopOnQueue(); });
}

void PreviewSession::configureOnQueue(const std::optional<CaptureDevice>& device) {
    ++m_configurations;
    CaptureSession& session = *m_session;
    session.beginConfiguration();
    for (const auto& input : session.inputs())
        session.removeInput(input);
    m_newest->clear();
    if (device) {
        // A device that cannot be opened leaves the preview black; nothing is reported.
        const DeviceInputResult made = m_backend.makeDeviceInput(*device);
        if (made.input && session.canAddInput(made.input))
            session.addInput(made.input);
    }
    if (session.outputs().empty() && session.canAddOutput(m_output))
        session.addOutput(m_output);
    session.commitConfiguration();
    if (!session.isRunning())
        session.startRunning();
}

void PreviewSession::stopOnQueue() {
    CaptureSession& session = *m_session;
    if (session.isRunning())
        session.stopRunning();
    session.beginConfiguration();
    for (const auto& input : session.inputs())
        session.removeInput(input);
    session.commitConfiguration();
    m_newest->clear();
}

PixelBuffer PreviewSession::newest(int* sequence) const {
    return m_newest->newest(sequence);
}

bool PreviewSession::isRunning() const {
    return m_session->isRunning();
}

int PreviewSession::inputCount() const {
    return int(m_session->inputs().size());
}
