#pragma once

#include "capture/CaptureInput.h"

#include <QAudioDevice>
#include <QThread>

#include <memory>

class AudioSourceWorker;

// A microphone read through QAudioSource in its native format. The source lives on a thread of
// its own with an event loop, so the configuration queue never needs the main thread.
class QtAudioInput : public CaptureInput {
public:
    QtAudioInput(CaptureDevice device, QAudioDevice audioDevice);
    ~QtAudioInput() override;

    std::optional<QString> start(SessionPreset preset, CaptureSink& sink) override;
    void stop() override;

private:
    QAudioDevice m_audioDevice;
    std::unique_ptr<QThread> m_thread;
    AudioSourceWorker* m_worker = nullptr; // lives on m_thread, deleted there
};
