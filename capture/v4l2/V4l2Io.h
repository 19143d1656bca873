#pragma once

#include <cstddef>
#include <memory>
#include <sys/types.h>

// The system calls the V4L2 code makes, behind one seam so tests can answer them from a
// recording. Every call returns 0 (or a count, or a descriptor) on success and a negated errno
// value on failure; errno itself is never read.
class V4l2Io {
public:
    virtual ~V4l2Io() = default;
    virtual int open(const char* path) = 0; // read-write, non-blocking, close-on-exec
    virtual void close(int fd) = 0;
    virtual int ioctl(int fd, unsigned long request, void* argument) = 0;
    virtual void* mmap(int fd, std::size_t length, off_t offset) = 0; // null on failure
    virtual void munmap(void* address, std::size_t length) = 0;
    // Waits up to `timeoutMs` for a frame: > 0 ready, 0 timed out, < 0 failed.
    virtual int poll(int fd, int timeoutMs) = 0;
};

// The real system calls.
std::shared_ptr<V4l2Io> systemV4l2Io();

// An open device node, closed when the last owner lets go.
class V4l2Fd {
public:
    V4l2Fd(std::shared_ptr<V4l2Io> io, int fd) : m_io(std::move(io)), m_fd(fd) {}
    ~V4l2Fd() {
        if (m_fd >= 0)
            m_io->close(m_fd);
    }
    V4l2Fd(const V4l2Fd&) = delete;
    V4l2Fd& operator=(const V4l2Fd&) = delete;

    int get() const { return m_fd; }
    V4l2Io& io() const { return *m_io; }
    int ioctl(unsigned long request, void* argument) const {
        return m_io->ioctl(m_fd, request, argument);
    }

private:
    std::shared_ptr<V4l2Io> m_io;
    int m_fd;
};
