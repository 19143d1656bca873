#include "runtime/FileCopy.h"

#include <cerrno>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

} // namespace

std::error_code writeAllAt(int fd, const std::uint8_t* data, std::size_t size, off_t offset) {
    while (size > 0) {
        const ssize_t n = ::pwrite(fd, data, size, offset);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return lastError();
        data += n;
        size -= std::size_t(n);
        offset += n;
    }
    return {};
}

std::error_code copyFileContents(int from, int to) {
    struct stat info {};
    if (::fstat(from, &info) != 0)
        return lastError();
    loff_t in = 0, out = 0;
    while (in < info.st_size) {
        const ssize_t n = ::copy_file_range(from, &in, to, &out, std::size_t(info.st_size - in), 0);
        if (n > 0)
            continue;
        if (n == 0)
            return std::make_error_code(std::errc::io_error); // the file got shorter
        if (errno == EINTR)
            continue;
        if (errno != EXDEV && errno != ENOSYS && errno != EINVAL && errno != EOPNOTSUPP)
            return lastError();
        // Between file systems the kernel will not copy by itself here.
        std::vector<std::uint8_t> buffer(1 << 20);
        while (in < info.st_size) {
            const ssize_t r = ::pread(from, buffer.data(), buffer.size(), in);
            if (r < 0 && errno == EINTR)
                continue;
            if (r <= 0)
                return r < 0 ? lastError() : std::make_error_code(std::errc::io_error);
            if (const std::error_code error = writeAllAt(to, buffer.data(), std::size_t(r), in))
                return error;
            in += r;
        }
    }
    if (::fdatasync(to) != 0 && errno != EINVAL)
        return lastError();
    return {};
}
