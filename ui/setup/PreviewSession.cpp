#include "ui/setup/PreviewSession.h"

#include "capture/CaptureOutput.h"
#include "runtime/Newest.h"

// The same hand-over as the frame store's, but of this preview's own device, which is not one
// of the running pair.
class PreviewSession::NewestPicture : public SampleBufferDelegate {
public:
    void captureOutput(CaptureOutput&, const SampleBuffer& buffer) override {
        if (buffer.image)
            newest.put(buffer.image);
    }
    Newest<PixelBuffer> newest;
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
    m_newest->newest.clear();
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
    m_newest->newest.clear();
}

PixelBuffer PreviewSession::newest(int* sequence) const {
    return m_newest->newest.get(sequence);
}

bool PreviewSession::isRunning() const {
    return m_session->isRunning();
}

int PreviewSession::inputCount() const {
    return int(m_session->inputs().size());
}
