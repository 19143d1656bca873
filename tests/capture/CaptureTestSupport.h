#pragma once

#include "capture/CaptureOutput.h"
#include "diagnostics/OstrelLog.h"
#include "runtime/SerialQueue.h"
#include "support/EventLoop.h"
#include "support/LogProbe.h"

#include <QSize>
#include <QStringList>

#include <atomic>
#include <mutex>
#include <ostream>
#include <utility>
#include <vector>

// Readable failure output for log lines.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(LogLevel level, std::ostream* os) {
    *os << logLevelText(level).toStdString();
}

// Collects what outputs deliver, with the queue it arrived on.
class RecordingDelegate : public SampleBufferDelegate {
public:
    void captureOutput(CaptureOutput& output, const SampleBuffer& buffer) override {
        std::lock_guard guard(lock);
        if (auto* tagged = dynamic_cast<CameraOutput*>(&output)) {
            const int i = tagged->index;
            ++frames[i];
            lastSize[i] = QSize(buffer.image.width(), buffer.image.height());
            times[i].push_back(buffer.pts);
            if (expectedQueues[i] && !expectedQueues[i]->isCurrent())
                ++wrongQueue;
        } else if (buffer.isAudio()) {
            ++audioBuffers;
            lastAudio = buffer.audio;
            if (expectedAudioQueue && !expectedAudioQueue->isCurrent())
                ++wrongQueue;
        }
    }
    int frameCount(int i) {
        std::lock_guard guard(lock);
        return frames[i];
    }
    int audioCount() {
        std::lock_guard guard(lock);
        return audioBuffers;
    }
    QSize size(int i) {
        std::lock_guard guard(lock);
        return lastSize[i];
    }
    std::vector<MediaTime> frameTimes(int i) {
        std::lock_guard guard(lock);
        return times[i];
    }

    std::mutex lock;
    int frames[2] = {0, 0};
    QSize lastSize[2];
    std::vector<MediaTime> times[2];
    int audioBuffers = 0;
    AudioBuffer lastAudio;
    int wrongQueue = 0;
    SerialQueue* expectedQueues[2] = {nullptr, nullptr};
    SerialQueue* expectedAudioQueue = nullptr;
};
