#include "recording/ffmpeg/FileOutput.h"

#include "runtime/FileCopy.h"

#include <QFile>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ffmpeg {

namespace {

constexpr int ioBufferSize = 256 * 1024;
constexpr auto syncInterval = std::chrono::seconds(1);

} // namespace

struct FileOutput::Disk {
    struct Chunk {
        std::int64_t offset = 0;
        std::vector<std::uint8_t> bytes;
        Clock::time_point queued;
        QString relocateTo; // set: not a write but a move of the file
        std::function<void(std::optional<QString>)> relocated;
    };

    Disk(int file, std::int64_t backlogBound) : maxBacklog(backlogBound), fd(file) {}

    void run();
    void relocate(Chunk& chunk);
    bool hasWork() const { return !held && !queue.empty(); }
    // How long the oldest write (or sync) not yet done has been waiting.
    Clock::duration waiting() const {
        std::optional<Clock::time_point> oldest = busyWith;
        if (!oldest && !queue.empty())
            oldest = queue.front().queued;
        return oldest ? Clock::now() - *oldest : Clock::duration::zero();
    }
    // Abandoned, and the drive is not answering: waiting for it is given up. A drive that
    // answers is still waited for.
    bool givenUp() const { return abandoned && waiting() >= std::chrono::seconds(1); }
    // Waits until `done`, or until waiting for the drive has been given up; whether `done`.
    template <typename Done> bool waitFor(std::unique_lock<std::mutex>& lock, Done done) {
        while (!done()) {
            if (givenUp())
                return false;
            moved.wait_for(lock, std::chrono::milliseconds(100));
        }
        return true;
    }
    bool mayClose() const { return closing && queue.empty(); }

    const std::int64_t maxBacklog;
    std::atomic<bool> faulted{false};

    mutable std::mutex mutex;
    std::condition_variable work;  // to the disk thread
    std::condition_variable moved; // to the writers: room, drained, closed or failed
    int fd;
    std::deque<Chunk> queue;
    std::int64_t backlog = 0;
    std::optional<Clock::time_point> busyWith; // queued time of the chunk being written
    int error = 0;
    bool held = false;
    bool abandoned = false;
    bool closing = false;
    bool closed = false;
    bool unsynced = false;
    Clock::time_point lastSync = Clock::now();
    std::thread thread;
};

void FileOutput::Disk::run() {
    pthread_setname_np(pthread_self(), "ostrel.disk");
    std::unique_lock lock(mutex);
    for (;;) {
        if (hasWork()) {
            Chunk chunk = std::move(queue.front());
            queue.pop_front();
            busyWith = chunk.queued;
            const bool skip = error != 0;
            lock.unlock();
            int result = 0;
            if (!chunk.relocateTo.isEmpty())
                relocate(chunk);
            else if (!skip)
                result = AVERROR(
                    writeAllAt(fd, chunk.bytes.data(), chunk.bytes.size(), off_t(chunk.offset))
                        .value());
            lock.lock();
            busyWith.reset();
            backlog -= std::int64_t(chunk.bytes.size());
            if (result < 0 && error == 0)
                error = result;
            unsynced = true;
            moved.notify_all();
            continue;
        }
        if (mayClose()) {
            busyWith = Clock::now();
            lock.unlock();
            int result = ::fdatasync(fd) != 0 && errno != EINVAL ? AVERROR(errno) : 0;
            if (::close(fd) != 0 && result == 0)
                result = AVERROR(errno);
            lock.lock();
            if (result < 0 && error == 0)
                error = result;
            busyWith.reset();
            closed = true;
            moved.notify_all();
            return;
        }
        if (unsynced && !closing) {
            const Clock::time_point due = lastSync + syncInterval;
            if (Clock::now() < due) {
                work.wait_until(lock, due, [this] { return hasWork() || mayClose(); });
                continue;
            }
            unsynced = false;
            busyWith = Clock::now();
            lock.unlock();
            ::fdatasync(fd);
            lock.lock();
            busyWith.reset();
            lastSync = Clock::now();
            continue;
        }
        work.wait(lock, [this] { return hasWork() || mayClose(); });
    }
}

void FileOutput::Disk::relocate(Chunk& chunk) {
    const QByteArray name = QFile::encodeName(chunk.relocateTo);
    const int target = ::open(name.constData(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    int result = target < 0 ? AVERROR(errno) : AVERROR(copyFileContents(fd, target).value());
    if (result < 0) {
        if (target >= 0)
            ::close(target);
        if (chunk.relocated)
            chunk.relocated(errorText(result));
        return;
    }
    int old = -1;
    {
        std::lock_guard lock(mutex);
        old = fd;
        fd = target;
    }
    ::close(old);
    if (chunk.relocated)
        chunk.relocated(std::nullopt);
}

std::variant<std::unique_ptr<FileOutput>, int> FileOutput::create(const QString& path,
                                                                  std::int64_t maxBacklogBytes) {
    const QByteArray name = QFile::encodeName(path);
    const int fd = ::open(name.constData(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (fd < 0)
        return AVERROR(errno);
    auto disk = std::make_shared<Disk>(fd, maxBacklogBytes);
    std::unique_ptr<FileOutput> output(new FileOutput(disk));
    if (!output->m_io) {
        ::close(fd);
        return AVERROR(ENOMEM);
    }
    disk->thread = std::thread([disk] { disk->run(); });
    return output;
}

FileOutput::FileOutput(std::shared_ptr<Disk> disk) : m_disk(std::move(disk)) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(ioBufferSize));
    if (!buffer)
        return;
    m_io.reset(avio_alloc_context(buffer, ioBufferSize, 1, this, nullptr, &FileOutput::writePacket,
                                  &FileOutput::seek));
    if (!m_io)
        av_free(buffer);
}

// Waits for the disk thread even when the drive was given up on: only then has everything
// handed over reached the file. The writer is destroyed when the recording is over or the app
// goes away with its windows already closed, so nobody waits in sight; a process can only
// end once the drive answers anyway.
FileOutput::~FileOutput() {
    if (!m_io)
        return;
    close();
    if (m_disk->thread.joinable())
        m_disk->thread.join();
}

int FileOutput::fd() const {
    std::lock_guard lock(m_disk->mutex);
    return m_disk->fd;
}

int FileOutput::drain() {
    avio_flush(m_io.get());
    std::unique_lock lock(m_disk->mutex);
    const bool drained = m_disk->waitFor(
        lock, [this] { return (m_disk->queue.empty() && !m_disk->busyWith) || m_disk->error; });
    if (m_disk->error)
        return m_disk->error;
    return drained ? m_io->error : AVERROR_EXIT;
}

int FileOutput::close() {
    if (m_closed || !m_io)
        return 0;
    m_closed = true;
    avio_flush(m_io.get());
    const int flushed = m_io->error;
    std::unique_lock lock(m_disk->mutex);
    m_disk->closing = true;
    m_disk->work.notify_one();
    if (!m_disk->waitFor(lock, [this] { return m_disk->closed; }))
        return AVERROR_EXIT;
    return flushed < 0 ? flushed : m_disk->error;
}

void FileOutput::abandon() {
    std::lock_guard lock(m_disk->mutex);
    m_disk->abandoned = true;
    m_disk->moved.notify_all();
}

// Any thread: writes are placed by offset, so bytes still in the muxer's buffer simply land in
// the new file.
void FileOutput::relocate(const QString& path, std::function<void(std::optional<QString>)> done) {
    {
        std::lock_guard lock(m_disk->mutex);
        Disk::Chunk chunk;
        chunk.queued = Clock::now();
        chunk.relocateTo = path;
        chunk.relocated = std::move(done);
        m_disk->queue.push_back(std::move(chunk));
    }
    m_disk->work.notify_one();
}

std::chrono::milliseconds FileOutput::waitingFor() const {
    std::lock_guard lock(m_disk->mutex);
    return std::chrono::duration_cast<std::chrono::milliseconds>(m_disk->waiting());
}

std::int64_t FileOutput::backlogBytes() const {
    std::lock_guard lock(m_disk->mutex);
    return m_disk->backlog;
}

void FileOutput::injectWriteFault() {
    m_disk->faulted = true;
}

void FileOutput::holdDisk(bool held) {
    {
        std::lock_guard lock(m_disk->mutex);
        m_disk->held = held;
    }
    m_disk->work.notify_one();
}

int FileOutput::writePacket(void* opaque, std::uint8_t* data, int size) {
    auto* self = static_cast<FileOutput*>(opaque);
    Disk& disk = *self->m_disk;
    if (disk.faulted)
        return AVERROR(EIO);
    {
        std::unique_lock lock(disk.mutex);
        // A full backlog holds the muxer (and so the encoder) until the drive catches up.
        const bool room = disk.waitFor(lock, [&] {
            return disk.error || disk.backlog == 0 || disk.backlog + size <= disk.maxBacklog;
        });
        if (disk.error)
            return disk.error;
        if (!room)
            return AVERROR_EXIT;
        Disk::Chunk chunk;
        chunk.offset = self->m_position;
        chunk.bytes.assign(data, data + size);
        chunk.queued = Clock::now();
        disk.queue.push_back(std::move(chunk));
        disk.backlog += size;
    }
    disk.work.notify_one();
    self->m_position += size;
    self->m_size = std::max(self->m_size, self->m_position);
    return size;
}

std::int64_t FileOutput::seek(void* opaque, std::int64_t offset, int whence) {
    auto* self = static_cast<FileOutput*>(opaque);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return self->m_size;
    case SEEK_SET:
        break;
    case SEEK_CUR:
        offset += self->m_position;
        break;
    case SEEK_END:
        offset += self->m_size;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if (offset < 0)
        return AVERROR(EINVAL);
    self->m_position = offset;
    return offset;
}

} // namespace ffmpeg
