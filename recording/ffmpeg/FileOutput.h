#pragma once

#include "recording/ffmpeg/FfmpegPtr.h"

#include <QString>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <variant>

namespace ffmpeg {

// The file a recording is muxed into, as an AVIO context over a plain file descriptor. Owning
// the descriptor lets the writer push finished fragments to the disk (so a power loss costs at
// most the newest ones), patch the header in place at the end, and fail writes on request.
// The pushing runs on a thread of its own: on a slow drive `fdatasync` blocks for a long
// moment, and the thread that writes also feeds the encoder.
class FileOutput {
public:
    // Creates (or truncates) the file; an FFmpeg error code when that fails.
    static std::variant<std::unique_ptr<FileOutput>, int> create(const QString& path);
    ~FileOutput();

    FileOutput(const FileOutput&) = delete;
    FileOutput& operator=(const FileOutput&) = delete;

    AVIOContext* io() const { return m_io.get(); }
    int fd() const { return m_fd; }

    // Flushes what is buffered, syncs and closes; 0 or the first error seen on this file.
    int close();

    // Test hook: every later write fails with EIO, like a drive that was pulled.
    void injectWriteFault() { m_faultInjected = true; }

private:
    explicit FileOutput(int fd);
    static int writePacket(void* opaque, std::uint8_t* data, int size);
    static std::int64_t seek(void* opaque, std::int64_t offset, int whence);
    void syncLoop();
    void stopSyncing();

    int m_fd = -1;
    IOContextPtr m_io;
    std::atomic<bool> m_faultInjected{false};
    std::mutex m_syncMutex;
    std::condition_variable m_syncWake;
    bool m_unsynced = false;
    bool m_stopSyncing = false;
    std::thread m_syncer;
};

} // namespace ffmpeg
