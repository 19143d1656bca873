#pragma once

#include "capture/CaptureInput.h"
#include "capture/v4l2/V4l2Formats.h"
#include "capture/v4l2/V4l2Io.h"

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

// A USB camera streaming through V4L2 memory-mapped buffers. Frames are copied out of the
// driver's buffer at once (so it goes back to the driver) and decoded on the delivery queue.
class V4l2Input : public CaptureInput {
public:
    static constexpr int bufferCount = 4;
    // Smaller modes tried when the USB bus has no room for the chosen one.
    static constexpr std::size_t maxBandwidthFallbacks = 8;

    V4l2Input(CaptureDevice device, std::string path, std::shared_ptr<V4l2Fd> fd);
    ~V4l2Input() override;

    std::optional<QString> start(SessionPreset preset, CaptureSink& sink) override;
    void stop() override;

    // The format of the running (or last) stream.
    std::optional<V4l2StreamFormat> format() const { return m_format; }

    // Sees every buffer the driver did not mark as broken, as the camera filled it (its bytes
    // used), on the stream's thread and whether or not a frame is wanted. Set before `start`.
    using BufferTap = std::function<void(const std::uint8_t* data, std::size_t size)>;
    void setBufferTap(BufferTap tap) { m_tap = std::move(tap); }

private:
    // One driver buffer mapped into memory; unmapped when the handle goes.
    struct Unmap {
        V4l2Io* io;
        std::size_t length;
        void operator()(void* address) const { io->munmap(address, length); }
    };
    using Mapping = std::unique_ptr<void, Unmap>;
    std::optional<QString> fail(int error);
    // Sets the format, maps the buffers and starts streaming; 0 or a negated errno value.
    int startStream(const V4l2StreamFormat& format);
    void releaseBuffers();
    void stream(CaptureSink& sink);

    const std::string m_path;
    std::shared_ptr<V4l2Fd> m_fd;
    std::optional<V4l2StreamFormat> m_format;
    std::vector<Mapping> m_mappings;
    bool m_buffersRequested = false;
    bool m_streaming = false;
    std::atomic<bool> m_stopping{false};
    BufferTap m_tap;
    std::thread m_thread;
};
