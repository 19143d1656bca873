#pragma once

#include "capture/CaptureOutput.h"
#include "diagnostics/OstrelLog.h"
#include "runtime/SerialQueue.h"
#include "support/EventLoop.h"
#include "support/LogProbe.h"

#include <QSize>
#include <QStringList>

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

// Collects what camera outputs deliver, and counts frames that arrived on another queue than
// the one given for their camera.
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
        }
    }
    int frameCount(int i) {
        std::lock_guard guard(lock);
        return frames[i];
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
    int wrongQueue = 0;
    SerialQueue* expectedQueues[2] = {nullptr, nullptr};
};
