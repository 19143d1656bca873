#pragma once

#include "recording/ffmpeg/FfmpegPtr.h"

#include <QString>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace ffmpeg {

// The file a recording is muxed into, as an AVIO context whose writes go to the disk on a
// thread of their own ("ostrel.disk"). The muxer only copies its bytes into memory, so a drive
// that stalls for a while (a frozen file system, a slow network folder) holds up neither the
// encoder nor the camera frames: up to `maxBacklogBytes` of encoded data wait until the drive
// answers again. Finished fragments are pushed to the disk at most once a second, so a power
// loss costs at most the newest ones.
class FileOutput {
public:
    using Clock = std::chrono::steady_clock;

    // Creates (or truncates) the file; an FFmpeg error code when that fails.
    static std::variant<std::unique_ptr<FileOutput>, int> create(const QString& path,
                                                                 std::int64_t maxBacklogBytes);
    // Closes the file once everything handed over is written, however long the drive takes.
    ~FileOutput();

    FileOutput(const FileOutput&) = delete;
    FileOutput& operator=(const FileOutput&) = delete;

    AVIOContext* io() const { return m_io.get(); }

    // Waits until everything written so far is in the file; 0 or the first error. After it
    // the file can be patched through `fd()`, from the same thread as the writes.
    int drain();
    int fd() const;

    // Flushes, writes what waits, syncs and closes; 0 or the first error seen on this file.
    int close();
    // Stops waiting for a drive that does not answer: a write, drain or close that has waited
    // a second for it returns AVERROR_EXIT (one that progresses is still waited for), so the
    // muxer's thread can end. What was handed over is still written by the disk thread, which
    // closes the file once the drive answers. Any thread.
    void abandon();

    // Continues the file at `path` (a new, empty file): what was written so far is copied
    // there first, in order with the writes, and the old file is closed. `done` runs on the
    // disk thread with the error text on failure; the old file is kept on then.
    void relocate(const QString& path, std::function<void(std::optional<QString>)> done);

    // How long the oldest byte not yet on the disk has been waiting: zero while the drive
    // keeps up.
    std::chrono::milliseconds waitingFor() const;
    std::int64_t backlogBytes() const;

    // Test hooks: every later write fails with EIO, like a drive that was pulled; the disk
    // takes nothing while held, like a frozen file system.
    void injectWriteFault();
    void holdDisk(bool held);

private:
    struct Disk;
    explicit FileOutput(std::shared_ptr<Disk> disk);
    static int writePacket(void* opaque, std::uint8_t* data, int size);
    static std::int64_t seek(void* opaque, std::int64_t offset, int whence);

    std::shared_ptr<Disk> m_disk; // shared with the disk thread
    IOContextPtr m_io;
    std::int64_t m_position = 0; // the muxer's position in the file
    std::int64_t m_size = 0;
    bool m_closed = false;
};

} // namespace ffmpeg
