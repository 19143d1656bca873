#include "capture/CaptureOutput.h"

#include "runtime/SerialQueue.h"

void CaptureOutput::setSampleBufferDelegate(std::weak_ptr<SampleBufferDelegate> delegate,
                                            SerialQueue* queue) {
    std::lock_guard guard(m_lock);
    m_target = {std::move(delegate), queue};
}

CaptureOutput::Target CaptureOutput::target() const {
    std::lock_guard guard(m_lock);
    return m_target;
}

void VideoDataOutput::deliver(VideoSample sample) {
    const Target to = target();
    if (!to.queue || to.delegate.expired()) {
        ++m_dropped;
        return;
    }
    if (m_busy.exchange(true) && m_discardLate) {
        ++m_dropped;
        return;
    }
    auto self = std::static_pointer_cast<VideoDataOutput>(shared_from_this());
    to.queue->async([self, to, sample = std::move(sample)] {
        PixelBuffer image = sample.render ? sample.render() : PixelBuffer();
        if (image) {
            if (auto delegate = to.delegate.lock()) {
                ++self->m_delivered;
                delegate->captureOutput(*self, SampleBuffer{sample.pts, image, {}});
            }
        } else {
            ++self->m_dropped;
        }
        self->m_busy = false;
    });
}

void AudioDataOutput::deliver(AudioBuffer buffer) {
    const Target to = target();
    if (!to.queue || !buffer.bytes)
        return;
    auto self = shared_from_this();
    to.queue->async([self, to, buffer = std::move(buffer)] {
        if (auto delegate = to.delegate.lock())
            delegate->captureOutput(*self, SampleBuffer{buffer.pts, {}, buffer});
    });
}
