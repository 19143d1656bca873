#pragma once

#include "capture/CaptureDevice.h"
#include "capture/SampleBuffer.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

// How a camera session chooses its format. `high` is the largest 16:9 picture up to
// 1920 x 1080 at 30 frames per second; `deviceDefault` keeps what the device is set to.
enum class SessionPreset { deviceDefault, high };

// Why a stream ended by itself (a stop by its session is not an end).
enum class StreamEnd {
    ended,     // the device ended the stream (driver or transfer error)
    unplugged, // the device is gone
    stalled,   // no picture for `streamStallTimeout` after pictures had come
};

// A camera that delivered pictures and then sends none for this long has stalled.
inline constexpr std::chrono::milliseconds streamStallTimeout{2000};

// Where a running input puts what it captures. Called on the input's own thread.
class CaptureSink {
public:
    virtual ~CaptureSink() = default;
    // False while no output could take a frame now; the input may skip the work of a frame.
    virtual bool wantsVideo() const = 0;
    virtual void pushVideo(VideoSample sample) = 0;
    virtual void pushAudio(AudioBuffer buffer) = 0;
    // The stream ended by itself mid-run; nothing more will be pushed.
    virtual void streamEnded(StreamEnd reason) = 0;
};

// The device end of a session, made by a backend for one device.
class CaptureInput {
public:
    explicit CaptureInput(CaptureDevice device) : m_device(std::move(device)) {}
    virtual ~CaptureInput() = default;

    const CaptureDevice& device() const { return m_device; }

    // Starts streaming into `sink` and returns once data flows, or with the reason it cannot.
    virtual std::optional<QString> start(SessionPreset preset, CaptureSink& sink) = 0;
    // Stops streaming; when it returns, the sink is no longer called.
    virtual void stop() = 0;

private:
    const CaptureDevice m_device;
};

// A device input, or the localised reason it could not be made.
struct DeviceInputResult {
    std::shared_ptr<CaptureInput> input;
    QString error;
};
