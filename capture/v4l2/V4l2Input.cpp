#include "capture/v4l2/V4l2Input.h"

#include "capture/CameraErrorTexts.h"
#include "capture/v4l2/DeviceHolder.h"
#include "capture/v4l2/FrameDecoder.h"
#include "capture/v4l2/V4l2Errors.h"
#include "capture/v4l2/V4l2FrameTime.h"
#include "diagnostics/OstrelLog.h"

#include <linux/videodev2.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>

namespace {

QString formatText(const V4l2StreamFormat& format) {
    const QString name =
        format.pixelFormat == V4L2_PIX_FMT_MJPEG ? QStringLiteral("MJPEG") : QStringLiteral("YUYV");
    return QStringLiteral("%1×%2 %3").arg(format.width).arg(format.height).arg(name);
}

std::optional<V4l2StreamFormat> currentFormat(const V4l2Fd& fd) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (fd.ioctl(VIDIOC_G_FMT, &format) < 0)
        return std::nullopt;
    return V4l2StreamFormat{format.fmt.pix.pixelformat, int(format.fmt.pix.width),
                            int(format.fmt.pix.height), 0};
}

} // namespace

V4l2Input::V4l2Input(CaptureDevice device, std::string path, std::shared_ptr<V4l2Fd> fd)
    : CaptureInput(std::move(device)), m_path(std::move(path)), m_fd(std::move(fd)) {
}

V4l2Input::~V4l2Input() {
    stop();
}

std::optional<QString> V4l2Input::fail(int error) {
    releaseBuffers();
    const QString reason = std::abs(error) == EBUSY
                               ? CameraErrorTexts::busy(deviceHolder(m_path, ::getpid()))
                               : v4l2ErrorText(error);
    logFromAnyThread(LogLevel::warn, QStringLiteral("Kamera-Stream nicht gestartet (%1): %2")
                                         .arg(device().localizedName, reason));
    return reason;
}

std::optional<QString> V4l2Input::start(SessionPreset preset, CaptureSink& sink) {
    stop();
    const std::vector<V4l2FormatOption> options = listFormats(*m_fd);
    const auto chosen = chooseFormat(options, preset, currentFormat(*m_fd));
    if (!chosen)
        return fail(EINVAL);
    int error = startStream(*chosen);
    if (error == -ENOSPC) {
        // Two cameras on one USB 2 hub: a smaller mode may still fit beside the other one.
        const std::vector<V4l2StreamFormat> smaller = bandwidthFallbacks(options, *chosen);
        V4l2StreamFormat tried = *chosen;
        for (std::size_t i = 0; i < smaller.size() && i < maxBandwidthFallbacks; ++i) {
            releaseBuffers();
            logFromAnyThread(
                LogLevel::warn,
                QStringLiteral("USB-Bandbreite reicht nicht für %1 (%2) — versuche %3")
                    .arg(formatText(tried), device().localizedName, formatText(smaller[i])));
            tried = smaller[i];
            error = startStream(tried);
            if (error != -ENOSPC)
                break;
        }
    }
    if (error < 0)
        return fail(error);
    m_streaming = true;
    m_stopping = false;
    m_thread = std::thread([this, &sink] { stream(sink); });
    return std::nullopt;
}

int V4l2Input::startStream(const V4l2StreamFormat& wanted) {
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.pixelformat = wanted.pixelFormat;
    format.fmt.pix.width = std::uint32_t(wanted.width);
    format.fmt.pix.height = std::uint32_t(wanted.height);
    format.fmt.pix.field = V4L2_FIELD_ANY;
    if (const int error = m_fd->ioctl(VIDIOC_S_FMT, &format); error < 0)
        return error;
    // The driver may adjust the request; the stream is what it settled on.
    m_format = V4l2StreamFormat{format.fmt.pix.pixelformat, int(format.fmt.pix.width),
                                int(format.fmt.pix.height), wanted.framesPerSecond};
    if (m_format->pixelFormat != V4L2_PIX_FMT_MJPEG && m_format->pixelFormat != V4L2_PIX_FMT_YUYV)
        return -EINVAL;
    if (m_format->framesPerSecond > 0) {
        v4l2_streamparm parameters{};
        parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        parameters.parm.capture.timeperframe = {1, std::uint32_t(m_format->framesPerSecond)};
        m_fd->ioctl(VIDIOC_S_PARM, &parameters); // a camera that ignores it keeps its own rate
    }

    v4l2_requestbuffers request{};
    request.count = bufferCount;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    if (const int error = m_fd->ioctl(VIDIOC_REQBUFS, &request); error < 0)
        return error;
    m_buffersRequested = true;
    if (request.count < 2)
        return -ENOMEM;
    m_mappings.clear();
    for (std::uint32_t i = 0; i < request.count; ++i) {
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        buffer.index = i;
        if (const int error = m_fd->ioctl(VIDIOC_QUERYBUF, &buffer); error < 0)
            return error;
        void* address = m_fd->io().mmap(m_fd->get(), buffer.length, off_t(buffer.m.offset));
        if (!address)
            return -ENOMEM;
        m_mappings.emplace_back(address, Unmap{&m_fd->io(), buffer.length});
        if (const int error = m_fd->ioctl(VIDIOC_QBUF, &buffer); error < 0)
            return error;
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    return m_fd->ioctl(VIDIOC_STREAMON, &type);
}

void V4l2Input::stream(CaptureSink& sink) {
    auto decoder = std::make_shared<FrameDecoder>(
        m_format->pixelFormat, m_format->width, m_format->height,
        QStringLiteral("%1 (%2)").arg(device().localizedName, QString::fromStdString(m_path)));
    std::optional<std::chrono::steady_clock::time_point> lastFrame;
    while (!m_stopping) {
        const int ready = m_fd->io().poll(m_fd->get(), 100);
        if (ready == 0) {
            // A camera that had sent pictures and went quiet is hung (or its hub is).
            if (lastFrame && std::chrono::steady_clock::now() - *lastFrame >= streamStallTimeout) {
                sink.streamEnded(StreamEnd::stalled);
                return;
            }
            continue;
        }
        v4l2_buffer buffer{};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        const int error = ready < 0 ? ready : m_fd->ioctl(VIDIOC_DQBUF, &buffer);
        if (error == -EAGAIN)
            continue;
        if (error < 0) {
            sink.streamEnded(error == -ENODEV || error == -ENXIO ? StreamEnd::unplugged
                                                                 : StreamEnd::ended);
            return;
        }
        lastFrame = std::chrono::steady_clock::now();
        const MediaTime pts = v4l2CaptureTime(buffer, captureClockNow());
        const bool corrupt = buffer.flags & V4L2_BUF_FLAG_ERROR;
        if (!corrupt && buffer.index < m_mappings.size()) {
            const Mapping& mapping = m_mappings[buffer.index];
            const auto* data = static_cast<const std::uint8_t*>(mapping.get());
            const std::size_t used =
                std::min<std::size_t>(buffer.bytesused, mapping.get_deleter().length);
            if (m_tap)
                m_tap(data, used);
            if (sink.wantsVideo()) {
                auto bytes = std::make_shared<std::vector<std::uint8_t>>(data, data + used);
                sink.pushVideo({pts, [decoder, bytes] {
                                    return decoder->decode(bytes->data(), bytes->size());
                                }});
            }
        }
        if (const int requeued = m_fd->ioctl(VIDIOC_QBUF, &buffer); requeued < 0) {
            sink.streamEnded(requeued == -ENODEV || requeued == -ENXIO ? StreamEnd::unplugged
                                                                       : StreamEnd::ended);
            return;
        }
    }
}

void V4l2Input::stop() {
    m_stopping = true;
    if (m_thread.joinable())
        m_thread.join();
    releaseBuffers();
}

void V4l2Input::releaseBuffers() {
    if (m_streaming) {
        int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        m_fd->ioctl(VIDIOC_STREAMOFF, &type);
        m_streaming = false;
    }
    m_mappings.clear();
    if (m_buffersRequested) {
        m_buffersRequested = false;
        v4l2_requestbuffers request{};
        request.count = 0;
        request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        request.memory = V4L2_MEMORY_MMAP;
        m_fd->ioctl(VIDIOC_REQBUFS, &request); // frees the driver's buffers for the next start
    }
}
