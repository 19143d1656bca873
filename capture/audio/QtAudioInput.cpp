#include "capture/audio/QtAudioInput.h"

#include "capture/AudioClock.h"
#include "media/AudioBuffer.h"

#include <QAudioSource>
#include <QIODevice>

#include <chrono>
#include <optional>

namespace {

std::optional<AudioFormat> toAudioFormat(const QAudioFormat& format) {
    switch (format.sampleFormat()) {
    case QAudioFormat::Int16:
        return AudioFormat{false, 16, format.channelCount(), format.sampleRate()};
    case QAudioFormat::Int32:
        return AudioFormat{false, 32, format.channelCount(), format.sampleRate()};
    case QAudioFormat::Float:
        return AudioFormat{true, 32, format.channelCount(), format.sampleRate()};
    default:
        return std::nullopt;
    }
}

} // namespace

// Owns the QAudioSource on the audio thread and pushes what it reads into the sink.
class AudioSourceWorker : public QObject {
public:
    std::optional<QString> open(const QAudioDevice& device, CaptureSink* sink) {
        QAudioFormat format = device.preferredFormat();
        if (!toAudioFormat(format)) {
            format.setSampleFormat(QAudioFormat::Int16);
            if (!device.isFormatSupported(format))
                return QStringLiteral("Format wird nicht unterstützt");
        }
        m_format = *toAudioFormat(format);
        m_clock.emplace(m_format.sampleRate);
        m_sink = sink;
        m_source = std::make_unique<QAudioSource>(device, format);
        m_io = m_source->start();
        if (!m_io || m_source->error() != QAudio::NoError) {
            m_source.reset();
            return QStringLiteral("Mikrofon konnte nicht geöffnet werden");
        }
        connect(m_io, &QIODevice::readyRead, this, [this] { read(); });
        connect(m_source.get(), &QAudioSource::stateChanged, this, [this](QAudio::State state) {
            if (state == QAudio::StoppedState && m_source && m_source->error() != QAudio::NoError &&
                m_sink) {
                m_sink->streamEnded(StreamEnd::ended);
                m_sink = nullptr;
            }
        });
        return std::nullopt;
    }

    void close() {
        m_sink = nullptr;
        if (m_source)
            m_source->stop();
        m_source.reset();
        m_io = nullptr;
    }

private:
    void read() {
        if (!m_io || !m_sink)
            return;
        const QByteArray data = m_io->readAll();
        const int perFrame = m_format.bytesPerFrame();
        if (data.isEmpty() || perFrame <= 0)
            return;
        AudioBuffer buffer;
        buffer.format = m_format;
        // Placed by the samples the device delivered, not by when this thread got to them.
        buffer.pts = m_clock->place(data.size() / perFrame, captureClockNow());
        buffer.bytes = std::make_shared<std::vector<std::uint8_t>>(data.begin(), data.end());
        m_sink->pushAudio(std::move(buffer));
    }

    AudioFormat m_format;
    std::optional<AudioClock> m_clock;
    CaptureSink* m_sink = nullptr;
    std::unique_ptr<QAudioSource> m_source;
    QIODevice* m_io = nullptr;
};

QtAudioInput::QtAudioInput(CaptureDevice device, QAudioDevice audioDevice)
    : CaptureInput(std::move(device)), m_audioDevice(std::move(audioDevice)) {
}

QtAudioInput::~QtAudioInput() {
    stop();
}

std::optional<QString> QtAudioInput::start(SessionPreset, CaptureSink& sink) {
    stop();
    m_thread = std::make_unique<QThread>();
    m_thread->setObjectName(QStringLiteral("com.ostrel.audio.source"));
    m_worker = new AudioSourceWorker;
    m_worker->moveToThread(m_thread.get());
    QObject::connect(m_thread.get(), &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread->start();
    std::optional<QString> error;
    QMetaObject::invokeMethod(
        m_worker, [&] { error = m_worker->open(m_audioDevice, &sink); },
        Qt::BlockingQueuedConnection);
    if (error)
        stop();
    return error;
}

void QtAudioInput::stop() {
    if (!m_thread)
        return;
    QMetaObject::invokeMethod(
        m_worker, [worker = m_worker] { worker->close(); }, Qt::BlockingQueuedConnection);
    m_thread->quit();
    m_thread->wait();
    m_thread.reset();
    m_worker = nullptr;
}
