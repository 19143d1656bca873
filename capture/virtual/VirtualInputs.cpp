#include "capture/virtual/VirtualInputs.h"

#include "capture/CameraErrorTexts.h"
#include "capture/v4l2/FrameDecoder.h"
#include "capture/virtual/VirtualDevices.h"
#include "capture/virtual/VirtualScene.h"

#include <linux/videodev2.h>

#include <cmath>
#include <numbers>

namespace {

QSize presetSize(SessionPreset preset) {
    return preset == SessionPreset::high ? QSize(1920, 1080) : QSize(1280, 720);
}

// A virtual camera's pictures: its scene at the preset's size (or a fault's), or the buffers of
// its stream on file, in a loop, through the decoder that V4L2 buffers go through.
class FrameSource {
public:
    FrameSource(const QString& id, SessionPreset preset, const VirtualDevices::State& state)
        : m_preset(preset), m_pool(std::make_shared<PixelBufferPool>(0, 0)), m_file(state.stream) {
        const QSize size = presetSize(preset);
        if (m_file)
            m_decoder =
                std::make_shared<FrameDecoder>(V4L2_PIX_FMT_MJPEG, size.width(), size.height(),
                                               QStringLiteral("%1 (%2)").arg(id, state.streamName));
        else
            VirtualScene::prepare();
    }

    // Step `n`'s picture, made when the frame is delivered.
    std::function<PixelBuffer()> frame(const VirtualDevices::State& state, std::int64_t n) {
        if (m_file) {
            return [file = m_file, decoder = m_decoder, index = std::size_t(n) % m_file->size()] {
                const std::vector<std::uint8_t>& buffer = (*file)[index];
                return decoder->decode(buffer.data(), buffer.size());
            };
        }
        const QSize size = state.frameSize.isEmpty() ? presetSize(m_preset) : state.frameSize;
        if (m_pool->width() != size.width() || m_pool->height() != size.height())
            m_pool = std::make_shared<PixelBufferPool>(size.width(), size.height());
        return [pool = m_pool, motion = state.motion, n,
                adjustment = pictureAdjustment(state.controls)] {
            PixelBuffer frame = pool->acquire();
            VirtualScene::render(motion, n, frame);
            if (adjustment)
                adjustment->apply(frame);
            return frame;
        };
    }

private:
    SessionPreset m_preset;
    std::shared_ptr<PixelBufferPool> m_pool;
    std::shared_ptr<const CameraBuffers> m_file;
    std::shared_ptr<FrameDecoder> m_decoder;
};

} // namespace

void PacedStream::start(std::chrono::nanoseconds period, std::function<bool(std::int64_t)> step) {
    stop();
    m_stopping = false;
    m_thread = std::thread([this, period, step = std::move(step)] {
        const auto begin = std::chrono::steady_clock::now();
        for (std::int64_t n = 0;; ++n) {
            {
                std::unique_lock lock(m_lock);
                if (m_wake.wait_until(lock, begin + n * period, [this] { return m_stopping; }))
                    return;
            }
            if (!step(n))
                return;
        }
    });
}

void PacedStream::stop() {
    if (!m_thread.joinable())
        return;
    {
        std::lock_guard guard(m_lock);
        m_stopping = true;
    }
    m_wake.notify_all();
    m_thread.join();
}

VirtualCameraInput::VirtualCameraInput(CaptureDevice device,
                                       std::shared_ptr<VirtualDevices> devices)
    : CaptureInput(std::move(device)), m_devices(std::move(devices)) {
}

std::optional<QString> VirtualCameraInput::start(SessionPreset preset, CaptureSink& sink) {
    const auto initial = m_devices->state(device().uniqueID);
    if (!initial || !initial->present)
        return QStringLiteral("Gerät getrennt");
    if (!initial->startError.isEmpty())
        return initial->startError;
    if (initial->noBandwidth)
        return CameraErrorTexts::usbBandwidth();

    const QString id = device().uniqueID;
    FrameSource source(id, preset, *initial);
    using Clock = std::chrono::steady_clock;
    std::optional<Clock::time_point> lastFrame;
    const int fps =
        initial->framesPerSecond > 0 ? initial->framesPerSecond : VirtualScene::framesPerSecond;
    m_stream.start(std::chrono::nanoseconds(1'000'000'000 / fps),
                   [this, id, &sink, source, lastFrame](std::int64_t n) mutable {
                       m_devices->streamTick(id);
                       const auto state = m_devices->state(id);
                       if (!state || !state->present) {
                           sink.streamEnded(StreamEnd::unplugged);
                           return false;
                       }
                       if (state->endRequested) {
                           m_devices->clearEndRequest(id);
                           sink.streamEnded(StreamEnd::ended);
                           return false;
                       }
                       if (state->stalled) {
                           // Like a hung USB camera: quiet, then reported as stalled.
                           if (lastFrame && Clock::now() - *lastFrame >= streamStallTimeout) {
                               sink.streamEnded(StreamEnd::stalled);
                               return false;
                           }
                           return true;
                       }
                       if (state->silent || !sink.wantsVideo())
                           return true;
                       lastFrame = Clock::now();
                       sink.pushVideo({captureClockNow(), source.frame(*state, n)});
                       return true;
                   });
    return std::nullopt;
}

VirtualMicrophoneInput::VirtualMicrophoneInput(CaptureDevice device,
                                               std::shared_ptr<VirtualDevices> devices)
    : CaptureInput(std::move(device)), m_devices(std::move(devices)) {
}

std::optional<QString> VirtualMicrophoneInput::start(SessionPreset, CaptureSink& sink) {
    const auto initial = m_devices->state(device().uniqueID);
    if (!initial || !initial->present)
        return QStringLiteral("Gerät getrennt");
    if (!initial->startError.isEmpty())
        return initial->startError;

    const QString id = device().uniqueID;
    const MediaTime period = samplesDuration(samplesPerBuffer, sampleRate);
    const MediaTime begin = captureClockNow();
    m_stream.start(period, [this, id, &sink, begin](std::int64_t n) {
        m_devices->streamTick(id);
        const auto state = m_devices->state(id);
        if (!state || !state->present) {
            sink.streamEnded(StreamEnd::unplugged);
            return false;
        }
        if (state->endRequested) {
            m_devices->clearEndRequest(id);
            sink.streamEnded(StreamEnd::ended);
            return false;
        }
        if (state->silent)
            return true;
        auto bytes = std::make_shared<std::vector<std::uint8_t>>(samplesPerBuffer * sizeof(float));
        auto* samples = reinterpret_cast<float*>(bytes->data());
        const std::int64_t first = n * samplesPerBuffer;
        for (int i = 0; i < samplesPerBuffer; ++i) {
            const double t = double(first + i) / sampleRate;
            samples[i] = amplitude * float(std::sin(2 * std::numbers::pi * toneHz * t));
        }
        AudioBuffer buffer;
        buffer.format = AudioFormat{true, 32, 1, sampleRate};
        buffer.pts = begin + samplesDuration(first, sampleRate);
        buffer.bytes = std::move(bytes);
        sink.pushAudio(std::move(buffer));
        return true;
    });
    return std::nullopt;
}
