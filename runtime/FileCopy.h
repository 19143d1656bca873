#pragma once

#include <cstddef>
#include <cstdint>
#include <system_error>

#include <sys/types.h>

// Writes all of `data` into `fd` at `offset` (interrupted and partial writes continue); the
// file's position is not used. The error on failure.
std::error_code writeAllAt(int fd, const std::uint8_t* data, std::size_t size, off_t offset);

// Copies the whole content of the open file `from` into the open file `to` at the same offsets
// (in the kernel where the file systems allow it, else through a buffer) and pushes it to the
// disk. Neither file's position is used or moved. The error on failure.
std::error_code copyFileContents(int from, int to);
