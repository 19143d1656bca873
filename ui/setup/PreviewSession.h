#pragma once

#include "capture/CaptureBackend.h"
#include "media/PixelBuffer.h"
#include "runtime/SerialQueue.h"

#include <atomic>
#include <memory>
#include <optional>

class VideoDataOutput;

// The capture session behind one device preview. Every change of the session runs on its own
// serial queue, so the caller never waits for a camera; the newest delivered picture waits in
// place until the view takes it. Destruction stops the session and releases the device.
class PreviewSession {
public:
    static inline const char* const queueLabel = "com.ostrel.preview.config";

    explicit PreviewSession(CaptureBackend& backend);
    ~PreviewSession();

    PreviewSession(const PreviewSession&) = delete;
    PreviewSession& operator=(const PreviewSession&) = delete;

    // Swaps the session's input for the device (none: no input, so black) and makes sure the
    // session runs. Returns at once.
    void configure(std::optional<CaptureDevice> device);
    // Stops the session and drops its input, so the device can be opened elsewhere.
    void stop();

    // The newest picture and a number that changes with every new one.
    PixelBuffer newest(int* sequence) const;

    // Waits for what was handed to the queue so far.
    void drain() { m_queue.drain(); }
    bool isRunning() const;
    int inputCount() const;
    int configurationCount() const { return m_configurations; }

private:
    class NewestPicture;
    void configureOnQueue(const std::optional<CaptureDevice>& device);
    void stopOnQueue();

    CaptureBackend& m_backend;
    std::unique_ptr<CaptureSession> m_session;
    std::shared_ptr<VideoDataOutput> m_output;
    std::shared_ptr<NewestPicture> m_newest;
    std::atomic<int> m_configurations{0};
    // Last, so it is joined (running what is still queued) before the rest goes away.
    SerialQueue m_queue{queueLabel};
};
