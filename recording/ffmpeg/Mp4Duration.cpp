#include "recording/ffmpeg/Mp4Duration.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/mathematics.h>
}

#include <cerrno>
#include <cstring>
#include <optional>
#include <unistd.h>
#include <vector>

namespace ffmpeg {

namespace {

std::uint32_t read32(const std::uint8_t* p) {
    return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}
void write32(std::uint8_t* p, std::uint32_t v) {
    p[0] = std::uint8_t(v >> 24);
    p[1] = std::uint8_t(v >> 16);
    p[2] = std::uint8_t(v >> 8);
    p[3] = std::uint8_t(v);
}
void write64(std::uint8_t* p, std::uint64_t v) {
    write32(p, std::uint32_t(v >> 32));
    write32(p + 4, std::uint32_t(v));
}

struct Box {
    std::size_t offset; // of the header, within the buffer searched
    std::size_t size;
    char type[5];
};

// The boxes directly inside [begin, end) of `data` (32-bit sizes only: the header is small).
std::vector<Box> children(const std::vector<std::uint8_t>& data, std::size_t begin,
                          std::size_t end) {
    std::vector<Box> boxes;
    while (begin + 8 <= end) {
        const std::size_t size = read32(&data[begin]);
        if (size < 8 || begin + size > end)
            break;
        Box box{begin, size, {}};
        std::memcpy(box.type, &data[begin + 4], 4);
        boxes.push_back(box);
        begin += size;
    }
    return boxes;
}

std::optional<Box> find(const std::vector<Box>& boxes, const char* type) {
    for (const Box& box : boxes)
        if (std::memcmp(box.type, type, 4) == 0)
            return box;
    return std::nullopt;
}

bool readAt(int fd, std::uint8_t* data, std::size_t size, off_t offset) {
    return ::pread(fd, data, size, offset) == ssize_t(size);
}

} // namespace

int writeFragmentedDuration(int fd, std::int64_t duration, AVRational timeBase) {
    // The movie box follows the file-type box at the start of the file.
    std::uint8_t header[8];
    if (!readAt(fd, header, 8, 0))
        return AVERROR(EIO);
    const off_t moovOffset = read32(header);
    if (!readAt(fd, header, 8, moovOffset))
        return AVERROR(EIO);
    const std::size_t moovSize = read32(header);
    if (std::memcmp(header + 4, "moov", 4) != 0 || moovSize < 8 || moovSize > (1 << 20))
        return 0;
    std::vector<std::uint8_t> moov(moovSize);
    if (!readAt(fd, moov.data(), moovSize, moovOffset))
        return AVERROR(EIO);

    const std::vector<Box> boxes = children(moov, 8, moovSize);
    const auto mvhd = find(boxes, "mvhd");
    if (!mvhd || mvhd->size < 32)
        return 0;
    std::uint8_t* mvhdBody = &moov[mvhd->offset + 8];
    const bool mvhdLong = mvhdBody[0] == 1;
    const std::uint32_t timescale = read32(mvhdBody + (mvhdLong ? 20 : 12));
    if (timescale == 0)
        return 0;
    const std::int64_t total =
        av_rescale_q_rnd(duration, timeBase, AVRational{1, int(timescale)}, AV_ROUND_UP);
    if (mvhdLong)
        write64(mvhdBody + 24, std::uint64_t(total));
    else if (total <= 0xffffffffLL)
        write32(mvhdBody + 16, std::uint32_t(total));

    // mehd (version 1: 20 bytes) goes first into mvex; the udta after mvex gives up the room
    // and what is left of it becomes a free box.
    constexpr std::size_t mehdSize = 20;
    std::size_t index = 0;
    while (index < boxes.size() && std::memcmp(boxes[index].type, "mvex", 4) != 0)
        ++index;
    if (index + 1 < boxes.size() && std::memcmp(boxes[index + 1].type, "udta", 4) == 0 &&
        !find(children(moov, boxes[index].offset + 8, boxes[index].offset + boxes[index].size),
              "mehd")) {
        const Box mvex = boxes[index];
        const Box udta = boxes[index + 1];
        const std::size_t spare = udta.size - mehdSize;
        if (udta.size == mehdSize || (udta.size > mehdSize && spare >= 8)) {
            std::vector<std::uint8_t> region;
            region.resize(mvex.size + udta.size);
            write32(&region[0], std::uint32_t(mvex.size + mehdSize));
            std::memcpy(&region[4], "mvex", 4);
            std::uint8_t* mehd = &region[8];
            write32(mehd, mehdSize);
            std::memcpy(mehd + 4, "mehd", 4);
            write32(mehd + 8, 0x01000000); // version 1, no flags
            write64(mehd + 12, std::uint64_t(total));
            std::memcpy(&region[8 + mehdSize], &moov[mvex.offset + 8], mvex.size - 8);
            if (spare > 0) {
                std::uint8_t* free = &region[mvex.size + mehdSize];
                write32(free, std::uint32_t(spare));
                std::memcpy(free + 4, "free", 4);
                std::memset(free + 8, 0, spare - 8);
            }
            std::memcpy(&moov[mvex.offset], region.data(), region.size());
        }
    }
    if (::pwrite(fd, moov.data(), moovSize, moovOffset) != ssize_t(moovSize))
        return AVERROR(errno ? errno : EIO);
    return 0;
}

} // namespace ffmpeg
