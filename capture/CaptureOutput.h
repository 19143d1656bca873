#pragma once

#include "capture/SampleBuffer.h"

#include <atomic>
#include <memory>
#include <mutex>

class CaptureOutput;
class SerialQueue;

// Receives every delivered sample on the output's delivery queue.
class SampleBufferDelegate {
public:
    virtual ~SampleBufferDelegate() = default;
    virtual void captureOutput(CaptureOutput& output, const SampleBuffer& buffer) = 0;
};

// The data end of a session. The delegate is held weakly; the delivery queue must outlive the
// output's use by a running session.
class CaptureOutput : public std::enable_shared_from_this<CaptureOutput> {
public:
    virtual ~CaptureOutput() = default;
    virtual bool isVideo() const = 0;

    void setSampleBufferDelegate(std::weak_ptr<SampleBufferDelegate> delegate, SerialQueue* queue);

protected:
    struct Target {
        std::weak_ptr<SampleBufferDelegate> delegate;
        SerialQueue* queue = nullptr;
    };
    Target target() const;

private:
    mutable std::mutex m_lock;
    Target m_target;
};

// Delivers camera frames as BGRA pictures.
class VideoDataOutput : public CaptureOutput {
public:
    bool isVideo() const override { return true; }

    // With discarding on, a frame that arrives while the previous one is still being handled
    // on the delivery queue is dropped, so a slow consumer lowers the rate instead of queueing.
    void setAlwaysDiscardsLateVideoFrames(bool discard) { m_discardLate = discard; }
    bool alwaysDiscardsLateVideoFrames() const { return m_discardLate; }
    void setVideoSettings(unsigned pixelFormat) { m_pixelFormat = pixelFormat; }
    unsigned pixelFormat() const { return m_pixelFormat; }

    // Called by the session on the input's thread.
    bool isReadyForFrame() const { return !(m_discardLate && m_busy); }
    void deliver(VideoSample sample);

    long deliveredCount() const { return m_delivered; }
    long droppedCount() const { return m_dropped; }

private:
    std::atomic<bool> m_discardLate{false};
    std::atomic<unsigned> m_pixelFormat{pixelFormatBGRA};
    std::atomic<bool> m_busy{false};
    std::atomic<long> m_delivered{0};
    std::atomic<long> m_dropped{0};
};

// A video output that knows which camera (0 Wide, 1 Macro) it belongs to.
class CameraOutput : public VideoDataOutput {
public:
    explicit CameraOutput(int index = 0) : index(index) {}
    const int index;
};

// Delivers microphone buffers in the device's own format; nothing is discarded.
class AudioDataOutput : public CaptureOutput {
public:
    bool isVideo() const override { return false; }
    void deliver(AudioBuffer buffer);
};
