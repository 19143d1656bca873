#include "recording/ffmpeg/FileOutput.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace ffmpeg {

namespace {
constexpr int ioBufferSize = 256 * 1024;
constexpr auto syncInterval = std::chrono::seconds(1);
} // namespace

std::variant<std::unique_ptr<FileOutput>, int> FileOutput::create(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return AVERROR(errno);
    std::unique_ptr<FileOutput> output(new FileOutput(fd));
    if (!output->m_io)
        return AVERROR(ENOMEM);
    return output;
}

FileOutput::FileOutput(int fd) : m_fd(fd) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(ioBufferSize));
    if (!buffer)
        return;
    m_io.reset(avio_alloc_context(buffer, ioBufferSize, 1, this, nullptr, &FileOutput::writePacket,
                                  &FileOutput::seek));
    if (!m_io) {
        av_free(buffer);
        return;
    }
    m_syncer = std::thread([this] { syncLoop(); });
}

// Fragments arrive as they are completed; pushing them to the disk now and then bounds what a
// power loss can take.
void FileOutput::syncLoop() {
    pthread_setname_np(pthread_self(), "ostrel.filesync");
    std::unique_lock lock(m_syncMutex);
    for (;;) {
        m_syncWake.wait(lock, [this] { return m_unsynced || m_stopSyncing; });
        if (m_stopSyncing)
            return;
        m_unsynced = false;
        lock.unlock();
        ::fdatasync(m_fd);
        lock.lock();
        // At most one sync a second; a stop ends the wait at once.
        m_syncWake.wait_for(lock, syncInterval, [this] { return m_stopSyncing; });
    }
}

void FileOutput::stopSyncing() {
    if (!m_syncer.joinable())
        return;
    {
        std::lock_guard lock(m_syncMutex);
        m_stopSyncing = true;
    }
    m_syncWake.notify_all();
    m_syncer.join();
}

FileOutput::~FileOutput() {
    close();
}

int FileOutput::close() {
    stopSyncing();
    if (m_fd < 0)
        return 0;
    int result = 0;
    if (m_io) {
        avio_flush(m_io.get());
        result = m_io->error;
    }
    if (!m_faultInjected && ::fdatasync(m_fd) != 0 && result == 0 && errno != EINVAL)
        result = AVERROR(errno);
    if (::close(m_fd) != 0 && result == 0)
        result = AVERROR(errno);
    m_fd = -1;
    m_io.reset();
    return result;
}

int FileOutput::writePacket(void* opaque, std::uint8_t* data, int size) {
    auto* self = static_cast<FileOutput*>(opaque);
    if (self->m_faultInjected)
        return AVERROR(EIO);
    int written = 0;
    while (written < size) {
        const ssize_t n = ::write(self->m_fd, data + written, std::size_t(size - written));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return AVERROR(errno);
        }
        written += int(n);
    }
    {
        std::lock_guard lock(self->m_syncMutex);
        self->m_unsynced = true;
    }
    self->m_syncWake.notify_one();
    return written;
}

std::int64_t FileOutput::seek(void* opaque, std::int64_t offset, int whence) {
    auto* self = static_cast<FileOutput*>(opaque);
    if (whence & AVSEEK_SIZE) {
        const off_t here = ::lseek(self->m_fd, 0, SEEK_CUR);
        const off_t end = ::lseek(self->m_fd, 0, SEEK_END);
        ::lseek(self->m_fd, here, SEEK_SET);
        return end < 0 ? AVERROR(errno) : end;
    }
    const off_t position = ::lseek(self->m_fd, offset, whence & ~AVSEEK_FORCE);
    return position < 0 ? AVERROR(errno) : position;
}

} // namespace ffmpeg
