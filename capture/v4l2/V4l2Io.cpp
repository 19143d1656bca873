#include "capture/v4l2/V4l2Io.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

class SystemV4l2Io : public V4l2Io {
public:
    int open(const char* path) override {
        const int fd = ::open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC);
        return fd >= 0 ? fd : -errno;
    }
    void close(int fd) override { ::close(fd); }
    int ioctl(int fd, unsigned long request, void* argument) override {
        int result;
        do {
            result = ::ioctl(fd, request, argument);
        } while (result == -1 && errno == EINTR);
        return result == -1 ? -errno : result;
    }
    void* mmap(int fd, std::size_t length, off_t offset) override {
        void* address = ::mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, offset);
        return address == MAP_FAILED ? nullptr : address;
    }
    void munmap(void* address, std::size_t length) override { ::munmap(address, length); }
    int poll(int fd, int timeoutMs) override {
        pollfd entry{fd, POLLIN, 0};
        const int result = ::poll(&entry, 1, timeoutMs);
        if (result < 0)
            return errno == EINTR ? 0 : -errno;
        if (result > 0 && (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) &&
            !(entry.revents & POLLIN))
            return -ENODEV;
        return result;
    }
};

} // namespace

std::shared_ptr<V4l2Io> systemV4l2Io() {
    static const auto io = std::make_shared<SystemV4l2Io>();
    return io;
}
