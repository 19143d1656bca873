#pragma once

#include "capture/v4l2/V4l2Io.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// A camera as its driver answered, replayed through the ioctl seam.
struct RecordedCamera {
    struct Size {
        int width;
        int height;
        std::vector<double> rates;
    };
    struct Format {
        std::uint32_t fourcc;
        std::vector<Size> sizes;
    };

    std::string card = "HD Pro Webcam C920";
    std::uint32_t deviceCaps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    std::vector<Format> formats;
    v4l2_pix_format current{};
    std::deque<std::vector<std::uint8_t>> frames; // what DQBUF hands out, in order
    // The kernel's capture stamp of each frame (timestamp and flags of the buffer); frames
    // beyond the list get none.
    struct Stamp {
        std::int64_t microseconds = 0;
        std::uint32_t flags = 0;
    };
    std::deque<Stamp> stamps;
    int errorAfterFrames = 0;             // errno of DQBUF once they are used up
    std::map<unsigned long, int> failing; // ioctl request -> errno
    int openError = 0;
    // STREAMON fails with ENOSPC (no USB bandwidth) for pictures larger than this; 0: never.
    long maxStreamPixels = 0;
};

// The format list of a UVC webcam (Logitech C920, from v4l2-ctl --list-formats-ext),
// MJPEG and YUYV with their rates, plus an H.264 format the decoder does not handle.
inline RecordedCamera uvcWebcam() {
    RecordedCamera camera;
    const std::vector<double> full{30, 24, 20, 15, 10, 7.5, 5};
    camera.formats = {
        {V4L2_PIX_FMT_YUYV,
         {{640, 480, full},
          {160, 90, full},
          {160, 120, full},
          {176, 144, full},
          {320, 180, full},
          {320, 240, full},
          {352, 288, full},
          {432, 240, full},
          {640, 360, full},
          {800, 448, full},
          {800, 600, {24, 20, 15, 10, 7.5, 5}},
          {864, 480, {24, 20, 15, 10, 7.5, 5}},
          {960, 720, {15, 10, 7.5, 5}},
          {1024, 576, {15, 10, 7.5, 5}},
          {1280, 720, {10, 7.5, 5}},
          {1600, 896, {7.5, 5}},
          {1920, 1080, {5}},
          {2304, 1296, {2}},
          {2304, 1536, {2}}}},
        {V4L2_PIX_FMT_H264, {{1920, 1080, full}}},
        {V4L2_PIX_FMT_MJPEG,
         {{640, 480, full},
          {160, 90, full},
          {160, 120, full},
          {176, 144, full},
          {320, 180, full},
          {320, 240, full},
          {352, 288, full},
          {432, 240, full},
          {640, 360, full},
          {800, 448, full},
          {800, 600, full},
          {864, 480, full},
          {960, 720, full},
          {1024, 576, full},
          {1280, 720, full},
          {1600, 896, full},
          {1920, 1080, full}}},
    };
    camera.current.pixelformat = V4L2_PIX_FMT_YUYV;
    camera.current.width = 640;
    camera.current.height = 480;
    return camera;
}

class RecordedV4l2Io : public V4l2Io {
public:
    std::map<std::string, RecordedCamera> cameras; // by device node

    int open(const char* path) override {
        std::lock_guard guard(m_lock);
        const auto it = cameras.find(path);
        if (it == cameras.end())
            return -ENOENT;
        if (it->second.openError)
            return -it->second.openError;
        const int fd = m_nextFd++;
        m_open[fd] = path;
        ++opened;
        return fd;
    }
    void close(int fd) override {
        std::lock_guard guard(m_lock);
        if (m_open.erase(fd))
            ++closed;
    }
    void* mmap(int, std::size_t length, off_t offset) override {
        std::lock_guard guard(m_lock);
        auto& memory = m_memory[offset];
        memory.assign(length, 0);
        ++mapped;
        return memory.data();
    }
    void munmap(void*, std::size_t) override {
        std::lock_guard guard(m_lock);
        ++unmapped;
    }
    int poll(int fd, int) override {
        {
            std::lock_guard guard(m_lock);
            RecordedCamera& c = camera(fd);
            if (!c.frames.empty() || c.errorAfterFrames)
                return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return 0;
    }

    int ioctl(int fd, unsigned long request, void* argument) override {
        std::lock_guard guard(m_lock);
        requests.push_back(request);
        RecordedCamera& c = camera(fd);
        if (const auto failure = c.failing.find(request); failure != c.failing.end())
            return -failure->second;
        switch (request) {
        case VIDIOC_QUERYCAP: {
            auto* cap = static_cast<v4l2_capability*>(argument);
            *cap = {};
            std::memcpy(cap->card, c.card.data(), std::min(c.card.size(), sizeof cap->card - 1));
            cap->capabilities = c.deviceCaps | V4L2_CAP_DEVICE_CAPS | V4L2_CAP_META_CAPTURE;
            cap->device_caps = c.deviceCaps;
            return 0;
        }
        case VIDIOC_ENUM_FMT: {
            auto* description = static_cast<v4l2_fmtdesc*>(argument);
            if (description->index >= c.formats.size())
                return -EINVAL;
            description->pixelformat = c.formats[description->index].fourcc;
            return 0;
        }
        case VIDIOC_ENUM_FRAMESIZES: {
            auto* size = static_cast<v4l2_frmsizeenum*>(argument);
            const auto* format = find(c, size->pixel_format);
            if (!format || size->index >= format->sizes.size())
                return -EINVAL;
            size->type = V4L2_FRMSIZE_TYPE_DISCRETE;
            size->discrete.width = std::uint32_t(format->sizes[size->index].width);
            size->discrete.height = std::uint32_t(format->sizes[size->index].height);
            return 0;
        }
        case VIDIOC_ENUM_FRAMEINTERVALS: {
            auto* interval = static_cast<v4l2_frmivalenum*>(argument);
            const auto* format = find(c, interval->pixel_format);
            if (!format)
                return -EINVAL;
            for (const auto& size : format->sizes)
                if (size.width == int(interval->width) && size.height == int(interval->height)) {
                    if (interval->index >= size.rates.size())
                        return -EINVAL;
                    const double fps = size.rates[interval->index];
                    interval->type = V4L2_FRMIVAL_TYPE_DISCRETE;
                    const bool whole = fps == double(int(fps));
                    interval->discrete = {whole ? 1u : 2u, std::uint32_t(whole ? fps : fps * 2)};
                    return 0;
                }
            return -EINVAL;
        }
        case VIDIOC_G_FMT:
            static_cast<v4l2_format*>(argument)->fmt.pix = c.current;
            return 0;
        case VIDIOC_S_FMT: {
            auto& pix = static_cast<v4l2_format*>(argument)->fmt.pix;
            c.current = pix;
            pix.sizeimage = pix.width * pix.height * 2;
            return 0;
        }
        case VIDIOC_S_PARM:
            return 0;
        case VIDIOC_REQBUFS:
            bufferCount = static_cast<v4l2_requestbuffers*>(argument)->count;
            return 0;
        case VIDIOC_QUERYBUF: {
            auto* buffer = static_cast<v4l2_buffer*>(argument);
            buffer->length = c.current.width * c.current.height * 2;
            buffer->m.offset = buffer->index * 0x1000000u;
            return 0;
        }
        case VIDIOC_QBUF:
            m_queued.push_back(static_cast<v4l2_buffer*>(argument)->index);
            return 0;
        case VIDIOC_DQBUF: {
            auto* buffer = static_cast<v4l2_buffer*>(argument);
            if (c.frames.empty())
                return c.errorAfterFrames ? -c.errorAfterFrames : -EAGAIN;
            if (m_queued.empty())
                return -EAGAIN;
            buffer->index = m_queued.front();
            m_queued.pop_front();
            auto& memory = m_memory[off_t(buffer->index) * 0x1000000];
            const auto& frame = c.frames.front();
            std::memcpy(memory.data(), frame.data(), std::min(frame.size(), memory.size()));
            buffer->bytesused = std::uint32_t(frame.size());
            c.frames.pop_front();
            buffer->flags = 0;
            buffer->timestamp = {};
            if (!c.stamps.empty()) {
                const RecordedCamera::Stamp stamp = c.stamps.front();
                c.stamps.pop_front();
                buffer->flags = stamp.flags;
                buffer->timestamp.tv_sec = time_t(stamp.microseconds / 1000000);
                buffer->timestamp.tv_usec = suseconds_t(stamp.microseconds % 1000000);
            }
            return 0;
        }
        case VIDIOC_STREAMON:
            if (c.maxStreamPixels && long(c.current.width) * c.current.height > c.maxStreamPixels)
                return -ENOSPC;
            return 0;
        case VIDIOC_STREAMOFF:
            return 0;
        default:
            return -ENOTTY;
        }
    }

    int count(unsigned long request) {
        std::lock_guard guard(m_lock);
        return int(std::count(requests.begin(), requests.end(), request));
    }
    void push(const std::string& node, std::vector<std::uint8_t> frame) {
        std::lock_guard guard(m_lock);
        cameras[node].frames.push_back(std::move(frame));
    }
    void push(const std::string& node, std::vector<std::uint8_t> frame,
              RecordedCamera::Stamp stamp) {
        std::lock_guard guard(m_lock);
        cameras[node].stamps.push_back(stamp);
        cameras[node].frames.push_back(std::move(frame));
    }
    void failAfterFrames(const std::string& node, int error) {
        std::lock_guard guard(m_lock);
        cameras[node].errorAfterFrames = error;
    }

    int opened = 0;
    int closed = 0;
    int mapped = 0;
    int unmapped = 0;
    std::uint32_t bufferCount = 0;
    std::vector<unsigned long> requests;

private:
    RecordedCamera& camera(int fd) { return cameras[m_open[fd]]; }
    static const RecordedCamera::Format* find(const RecordedCamera& c, std::uint32_t fourcc) {
        for (const auto& format : c.formats)
            if (format.fourcc == fourcc)
                return &format;
        return nullptr;
    }

    std::mutex m_lock;
    int m_nextFd = 100;
    std::map<int, std::string> m_open;
    std::map<off_t, std::vector<std::uint8_t>> m_memory;
    std::deque<std::uint32_t> m_queued;
};
