#pragma once

#include "capture/CaptureInput.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

class VirtualDevices;

// Shared by both virtual inputs: a paced thread that runs one step per period until stopped.
class PacedStream {
public:
    ~PacedStream() { stop(); }
    // `step` gets the step number; returning false ends the stream.
    void start(std::chrono::nanoseconds period, std::function<bool(std::int64_t)> step);
    void stop();

private:
    std::mutex m_lock;
    std::condition_variable m_wake;
    bool m_stopping = false;
    std::thread m_thread;
};

// A virtual camera: 30 frames per second of its scene at the preset's size (or the size a
// fault asks for), following the faults of its device while it streams.
class VirtualCameraInput : public CaptureInput {
public:
    VirtualCameraInput(CaptureDevice device, std::shared_ptr<VirtualDevices> devices);
    ~VirtualCameraInput() override { stop(); }

    std::optional<QString> start(SessionPreset preset, CaptureSink& sink) override;
    void stop() override { m_stream.stop(); }

private:
    std::shared_ptr<VirtualDevices> m_devices;
    PacedStream m_stream;
};

// A virtual microphone: a 440 Hz tone, 48 kHz mono 32-bit float, in buffers of 1024 samples.
class VirtualMicrophoneInput : public CaptureInput {
public:
    static constexpr int sampleRate = 48000;
    static constexpr int samplesPerBuffer = 1024;
    static constexpr double toneHz = 440.0;
    static constexpr float amplitude = 0.25f;

    VirtualMicrophoneInput(CaptureDevice device, std::shared_ptr<VirtualDevices> devices);
    ~VirtualMicrophoneInput() override { stop(); }

    std::optional<QString> start(SessionPreset preset, CaptureSink& sink) override;
    void stop() override { m_stream.stop(); }

private:
    std::shared_ptr<VirtualDevices> m_devices;
    PacedStream m_stream;
};
