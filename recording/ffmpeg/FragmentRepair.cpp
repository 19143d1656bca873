#include "recording/ffmpeg/FragmentRepair.h"

#include "recording/ffmpeg/Mp4Duration.h"

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/error.h>
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace ffmpeg {

namespace {

using Bytes = std::vector<std::uint8_t>;

std::uint32_t read32(const std::uint8_t* p) {
    return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}
std::uint64_t read64(const std::uint8_t* p) {
    return std::uint64_t(read32(p)) << 32 | read32(p + 4);
}

struct Box {
    std::size_t body; // offset of the payload
    std::size_t end;  // offset just past the box
    char type[4];
};

// The boxes directly inside [begin, end) of `data`; a box that does not fit ends the list.
std::vector<Box> children(const Bytes& data, std::size_t begin, std::size_t end) {
    std::vector<Box> boxes;
    while (begin + 8 <= end) {
        std::uint64_t size = read32(&data[begin]);
        std::size_t header = 8;
        if (size == 1) {
            if (begin + 16 > end)
                break;
            size = read64(&data[begin + 8]);
            header = 16;
        }
        if (size < header || size > end - begin)
            break;
        Box box{begin + header, begin + std::size_t(size), {}};
        std::memcpy(box.type, &data[begin + 4], 4);
        boxes.push_back(box);
        begin += std::size_t(size);
    }
    return boxes;
}

bool is(const Box& box, const char* type) {
    return std::memcmp(box.type, type, 4) == 0;
}

std::optional<Box> find(const std::vector<Box>& boxes, const char* type) {
    for (const Box& box : boxes)
        if (is(box, type))
            return box;
    return std::nullopt;
}

struct Track {
    std::uint32_t timescale = 0;
    std::uint32_t defaultDuration = 0; // from 'trex'
    std::uint64_t end = 0;             // end of the newest complete fragment, in timescale units
};

// Track ids with their time scales and default sample durations, from the movie header.
std::map<std::uint32_t, Track> readTracks(const Bytes& moov) {
    std::map<std::uint32_t, Track> tracks;
    const auto top = children(moov, 8, moov.size());
    for (const Box& trak : top) {
        if (!is(trak, "trak"))
            continue;
        const auto parts = children(moov, trak.body, trak.end);
        const auto tkhd = find(parts, "tkhd");
        const auto mdia = find(parts, "mdia");
        if (!tkhd || !mdia)
            continue;
        const bool longTkhd = moov[tkhd->body] == 1;
        const std::size_t idAt = tkhd->body + (longTkhd ? 20 : 12);
        const auto mdhd = find(children(moov, mdia->body, mdia->end), "mdhd");
        if (idAt + 4 > tkhd->end || !mdhd)
            continue;
        const bool longMdhd = moov[mdhd->body] == 1;
        const std::size_t scaleAt = mdhd->body + (longMdhd ? 20 : 12);
        if (scaleAt + 4 > mdhd->end)
            continue;
        tracks[read32(&moov[idAt])].timescale = read32(&moov[scaleAt]);
    }
    if (const auto mvex = find(top, "mvex"))
        for (const Box& trex : children(moov, mvex->body, mvex->end))
            if (is(trex, "trex") && trex.body + 24 <= trex.end) {
                const auto it = tracks.find(read32(&moov[trex.body + 4]));
                if (it != tracks.end())
                    it->second.defaultDuration = read32(&moov[trex.body + 12]);
            }
    return tracks;
}

// The end time of each track fragment in `moof` (whose box starts at offset 0 of the buffer).
bool readFragment(const Bytes& moof, std::map<std::uint32_t, Track>& tracks,
                  std::map<std::uint32_t, std::uint64_t>& ends) {
    for (const Box& traf : children(moof, 8, moof.size())) {
        if (!is(traf, "traf"))
            continue;
        const auto parts = children(moof, traf.body, traf.end);
        const auto tfhd = find(parts, "tfhd");
        if (!tfhd || tfhd->body + 8 > tfhd->end)
            return false;
        const std::uint32_t tfhdFlags = read32(&moof[tfhd->body]) & 0xffffff;
        const std::uint32_t id = read32(&moof[tfhd->body + 4]);
        const auto track = tracks.find(id);
        if (track == tracks.end())
            return false;
        std::size_t at = tfhd->body + 8;
        at += (tfhdFlags & 0x01) ? 8 : 0;
        at += (tfhdFlags & 0x02) ? 4 : 0;
        std::uint32_t defaultDuration = track->second.defaultDuration;
        if (tfhdFlags & 0x08) {
            if (at + 4 > tfhd->end)
                return false;
            defaultDuration = read32(&moof[at]);
        }
        std::uint64_t time = ends.count(id) ? ends[id] : track->second.end;
        if (const auto tfdt = find(parts, "tfdt"); tfdt && tfdt->body + 8 <= tfdt->end) {
            const bool longTime = moof[tfdt->body] == 1;
            if (longTime && tfdt->body + 12 > tfdt->end)
                return false;
            time = longTime ? read64(&moof[tfdt->body + 4]) : read32(&moof[tfdt->body + 4]);
        }
        for (const Box& trun : parts) {
            if (!is(trun, "trun"))
                continue;
            if (trun.body + 8 > trun.end)
                return false;
            const std::uint32_t flags = read32(&moof[trun.body]) & 0xffffff;
            const std::uint32_t count = read32(&moof[trun.body + 4]);
            std::size_t p = trun.body + 8;
            p += (flags & 0x001) ? 4 : 0;
            p += (flags & 0x004) ? 4 : 0;
            const std::size_t fields = std::size_t(!!(flags & 0x100)) + !!(flags & 0x200) +
                                       !!(flags & 0x400) + !!(flags & 0x800);
            if (p + std::size_t(count) * fields * 4 > trun.end)
                return false;
            for (std::uint32_t i = 0; i < count; ++i) {
                time += (flags & 0x100) ? read32(&moof[p]) : defaultDuration;
                p += fields * 4;
            }
        }
        ends[id] = time;
    }
    return true;
}

int readAt(int fd, Bytes& data, std::size_t size, off_t offset) {
    data.resize(size);
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::pread(fd, data.data() + done, size - done, offset + off_t(done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return n < 0 ? AVERROR(errno) : AVERROR(EIO);
        done += std::size_t(n);
    }
    return 0;
}

constexpr std::uint64_t maxHeaderBox = 16u << 20; // a movie or fragment header, not media

} // namespace

bool carriesRecordingMark(int fd) {
    struct stat info {};
    if (::fstat(fd, &info) != 0)
        return false;
    const std::uint64_t fileSize = std::uint64_t(info.st_size);
    Bytes box;
    std::uint64_t offset = 0;
    // The movie header follows 'ftyp' (and perhaps 'free') at the start.
    for (int boxes = 0; boxes < 4 && offset + 8 <= fileSize; ++boxes) {
        if (readAt(fd, box, 8, off_t(offset)) < 0)
            return false;
        const std::uint64_t size = read32(box.data());
        if (size < 8 || size > fileSize - offset)
            return false;
        if (std::memcmp(&box[4], "moov", 4) == 0) {
            if (size > maxHeaderBox || readAt(fd, box, std::size_t(size), off_t(offset)) < 0)
                return false;
            const std::string_view mark(recordingMark);
            return std::search(box.begin(), box.end(), mark.begin(), mark.end()) != box.end();
        }
        offset += size;
    }
    return false;
}

int repairFragmentedMp4(int fd, std::int64_t& durationMicroseconds) {
    struct stat info {};
    if (::fstat(fd, &info) != 0)
        return AVERROR(errno);
    const std::uint64_t fileSize = std::uint64_t(info.st_size);

    std::map<std::uint32_t, Track> tracks;
    bool haveMovie = false;
    bool anyFragment = false;
    std::optional<std::map<std::uint32_t, std::uint64_t>> pending; // a fragment without its data
    std::uint64_t goodEnd = 0;
    std::uint64_t offset = 0;
    Bytes box;
    while (offset + 8 <= fileSize) {
        if (int error = readAt(fd, box, 8, off_t(offset)); error < 0)
            return error;
        std::uint64_t size = read32(box.data());
        char type[4];
        std::memcpy(type, &box[4], 4);
        std::uint64_t header = 8;
        if (size == 1) {
            if (offset + 16 > fileSize)
                break;
            Bytes large;
            if (int error = readAt(fd, large, 8, off_t(offset + 8)); error < 0)
                return error;
            size = read64(large.data());
            header = 16;
        }
        if (size < header || size > fileSize - offset)
            break; // cut off here
        const bool isMoov = std::memcmp(type, "moov", 4) == 0;
        const bool isMoof = std::memcmp(type, "moof", 4) == 0;
        if ((isMoov || isMoof) && (size > maxHeaderBox || header != 8))
            break;
        if (isMoov) {
            if (int error = readAt(fd, box, std::size_t(size), off_t(offset)); error < 0)
                return error;
            tracks = readTracks(box);
            haveMovie = !tracks.empty();
        } else if (isMoof) {
            if (!haveMovie)
                break;
            if (int error = readAt(fd, box, std::size_t(size), off_t(offset)); error < 0)
                return error;
            std::map<std::uint32_t, std::uint64_t> ends;
            if (!readFragment(box, tracks, ends))
                break;
            pending = std::move(ends);
        } else if (std::memcmp(type, "mdat", 4) == 0 && pending) {
            for (const auto& [id, end] : *pending)
                tracks[id].end = std::max(tracks[id].end, end);
            pending.reset();
            anyFragment = true;
        }
        offset += size;
        if (!pending)
            goodEnd = offset;
    }
    if (!haveMovie || !anyFragment)
        return AVERROR_INVALIDDATA;
    if (goodEnd < fileSize && ::ftruncate(fd, off_t(goodEnd)) != 0)
        return AVERROR(errno);

    std::int64_t duration = 0;
    for (const auto& [id, track] : tracks)
        if (track.timescale > 0)
            duration = std::max(duration, av_rescale_rnd(std::int64_t(track.end), AV_TIME_BASE,
                                                         track.timescale, AV_ROUND_UP));
    if (int error = writeFragmentedDuration(fd, duration, AV_TIME_BASE_Q); error < 0)
        return error;
    if (::fsync(fd) != 0 && errno != EINVAL)
        return AVERROR(errno);
    durationMicroseconds = duration;
    return 0;
}

} // namespace ffmpeg
