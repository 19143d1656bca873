#include "capture/v4l2/CameraStreamSaver.h"

#include "capture/CameraErrorTexts.h"
#include "capture/v4l2/DeviceHolder.h"
#include "capture/v4l2/V4l2Discovery.h"
#include "capture/v4l2/V4l2Errors.h"
#include "capture/v4l2/V4l2Input.h"

#include <QCoreApplication>
#include <QFile>

#include <linux/videodev2.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <mutex>

namespace {

struct CameraStreamSaver {
    Q_DECLARE_TR_FUNCTIONS(CameraStreamSaver)
};

// Wants no pictures (the buffers go through the tap) and notes how the stream ended.
class EndWatch : public CaptureSink {
public:
    bool wantsVideo() const override { return false; }
    void pushVideo(VideoSample) override {}
    void pushAudio(AudioBuffer) override {}
    void streamEnded(StreamEnd reason) override {
        {
            std::lock_guard guard(m_lock);
            m_end = reason;
        }
        m_wake.notify_all();
    }
    std::optional<StreamEnd> waitUntil(std::chrono::steady_clock::time_point deadline) {
        std::unique_lock lock(m_lock);
        m_wake.wait_until(lock, deadline, [this] { return m_end.has_value(); });
        return m_end;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_wake;
    std::optional<StreamEnd> m_end;
};

// The device's reason in the user's language where there is a translation.
QString deviceReason(const QString& german) {
    return CameraErrorTexts::alertFor(german).value_or(german);
}

} // namespace

SavedCameraStream saveCameraStream(const std::shared_ptr<V4l2Io>& io, const std::string& devnode,
                                   const QString& path, std::chrono::milliseconds duration) {
    SavedCameraStream saved;
    const QString device = QString::fromStdString(devnode);
    const int fd = io->open(devnode.c_str());
    if (fd < 0) {
        saved.error =
            fd == -ENOENT
                ? CameraStreamSaver::tr("%1 gibt es nicht").arg(device)
                : CameraStreamSaver::tr("%1 lässt sich nicht öffnen: %2")
                      .arg(device, deviceReason(fd == -EBUSY ? CameraErrorTexts::busy(deviceHolder(
                                                                   devnode, ::getpid()))
                                                             : v4l2ErrorText(fd)));
        return saved;
    }
    auto handle = std::make_shared<V4l2Fd>(io, fd);
    UdevVideoNode node;
    node.devnode = devnode;
    const auto camera = probeVideoNode(*io, node);
    if (!camera) {
        saved.error = CameraStreamSaver::tr("%1 ist keine Kamera").arg(device);
        return saved;
    }
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        saved.error = CameraStreamSaver::tr("%1 lässt sich nicht schreiben: %2")
                          .arg(path, file.errorString());
        return saved;
    }
    // Written on the stream's thread; read here only once the stream has stopped.
    bool writeFailed = false;
    V4l2Input input(*camera, devnode, std::move(handle));
    input.setBufferTap([&](const std::uint8_t* data, std::size_t size) {
        if (writeFailed)
            return;
        writeFailed = file.write(reinterpret_cast<const char*>(data), qint64(size)) != qint64(size);
        saved.buffers += writeFailed ? 0 : 1;
        saved.bytes += writeFailed ? 0 : qint64(size);
    });
    EndWatch watch;
    if (const auto failure = input.start(SessionPreset::high, watch)) {
        file.remove();
        saved.error =
            CameraStreamSaver::tr("%1 streamt nicht: %2").arg(device, deviceReason(*failure));
        return saved;
    }
    if (input.format()->pixelFormat != V4L2_PIX_FMT_MJPEG) {
        input.stop();
        file.remove();
        saved.error = CameraStreamSaver::tr("%1 liefert kein MJPEG").arg(device);
        return saved;
    }
    const auto end = watch.waitUntil(std::chrono::steady_clock::now() + duration);
    input.stop();
    if (writeFailed || !file.flush()) {
        saved.error = CameraStreamSaver::tr("%1 lässt sich nicht schreiben: %2")
                          .arg(path, file.errorString());
    } else if (end) {
        saved.error = *end == StreamEnd::unplugged
                          ? CameraStreamSaver::tr("%1 wurde getrennt").arg(device)
                          : CameraStreamSaver::tr("Bildstrom von %1 abgebrochen").arg(device);
    } else if (saved.buffers == 0) {
        saved.error = CameraStreamSaver::tr("%1 hat keine Bilder geliefert").arg(device);
    }
    return saved;
}
