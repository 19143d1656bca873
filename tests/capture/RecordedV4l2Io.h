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
    // Controls by id: what QUERYCTRL answers, the menu items QUERYMENU knows, the value, and
    // the errno S_CTRL fails with (0: it takes the value).
    struct Control {
        v4l2_queryctrl info{};
        std::vector<std::uint32_t> menu;
        std::int32_t value = 0;
        int refuse = 0;
    };
    std::map<std::uint32_t, Control> controls;
    std::vector<std::pair<std::uint32_t, std::int32_t>> written; // S_CTRL calls that took
};

// The controls of a UVC webcam (Logitech C920, from v4l2-ctl -L) with automatic exposure,
// white balance and focus on, so their manual values are inactive.
inline std::map<std::uint32_t, RecordedCamera::Control> uvcControls() {
    const auto control = [](std::uint32_t id, std::uint32_t type, int minimum, int maximum,
                            int step, int value, std::uint32_t flags = 0) {
        RecordedCamera::Control c;
        c.info.id = id;
        c.info.type = type;
        c.info.minimum = minimum;
        c.info.maximum = maximum;
        c.info.step = step;
        c.info.default_value = value;
        c.info.flags = flags;
        c.value = value;
        return std::pair{id, c};
    };
    std::map<std::uint32_t, RecordedCamera::Control> controls{
        control(V4L2_CID_BRIGHTNESS, V4L2_CTRL_TYPE_INTEGER, 0, 255, 1, 128),
        control(V4L2_CID_CONTRAST, V4L2_CTRL_TYPE_INTEGER, 0, 255, 1, 128),
        control(V4L2_CID_SATURATION, V4L2_CTRL_TYPE_INTEGER, 0, 255, 1, 128),
        control(V4L2_CID_AUTO_WHITE_BALANCE, V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 1),
        control(V4L2_CID_GAIN, V4L2_CTRL_TYPE_INTEGER, 0, 255, 1, 0),
        control(V4L2_CID_POWER_LINE_FREQUENCY, V4L2_CTRL_TYPE_MENU, 0, 2, 1, 2),
        control(V4L2_CID_WHITE_BALANCE_TEMPERATURE, V4L2_CTRL_TYPE_INTEGER, 2000, 6500, 1, 4000,
                V4L2_CTRL_FLAG_INACTIVE),
        control(V4L2_CID_SHARPNESS, V4L2_CTRL_TYPE_INTEGER, 0, 255, 1, 128),
        control(V4L2_CID_EXPOSURE_AUTO, V4L2_CTRL_TYPE_MENU, 0, 3, 1, 3),
        control(V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_CTRL_TYPE_INTEGER, 3, 2047, 1, 250,
                V4L2_CTRL_FLAG_INACTIVE),
        control(V4L2_CID_FOCUS_ABSOLUTE, V4L2_CTRL_TYPE_INTEGER, 0, 250, 5, 0,
                V4L2_CTRL_FLAG_INACTIVE),
        control(V4L2_CID_FOCUS_AUTO, V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 1),
    };
    controls[V4L2_CID_POWER_LINE_FREQUENCY].menu = {0, 1, 2};
    controls[V4L2_CID_EXPOSURE_AUTO].menu = {V4L2_EXPOSURE_MANUAL, V4L2_EXPOSURE_APERTURE_PRIORITY};
    return controls;
}

// The format list of a UVC webcam (Logitech C920, from v4l2-ctl --list-formats-ext): MJPEG
// and YUYV in the same sizes, raw ones from 800 x 600 up slower, raw only beyond 1080p, and an
// H.264 format the decoder does not handle.
inline RecordedCamera uvcWebcam() {
    const std::vector<double> full{30, 24, 20, 15, 10, 7.5, 5};
    // Width, height, and how many of the fastest rates raw pictures of that size lack.
    const int sizes[][3] = {{640, 480, 0},  {160, 90, 0},   {160, 120, 0},  {176, 144, 0},
                            {320, 180, 0},  {320, 240, 0},  {352, 288, 0},  {432, 240, 0},
                            {640, 360, 0},  {800, 448, 0},  {800, 600, 1},  {864, 480, 1},
                            {960, 720, 3},  {1024, 576, 3}, {1280, 720, 4}, {1600, 896, 5},
                            {1920, 1080, 6}};
    RecordedCamera::Format yuyv{V4L2_PIX_FMT_YUYV, {}};
    RecordedCamera::Format mjpeg{V4L2_PIX_FMT_MJPEG, {}};
    for (const auto& [width, height, slower] : sizes) {
        yuyv.sizes.push_back({width, height, {full.begin() + slower, full.end()}});
        mjpeg.sizes.push_back({width, height, full});
    }
    yuyv.sizes.push_back({2304, 1296, {2}});
    yuyv.sizes.push_back({2304, 1536, {2}});
    RecordedCamera camera;
    camera.formats = {yuyv, {V4L2_PIX_FMT_H264, {{1920, 1080, full}}}, mjpeg};
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
        case VIDIOC_QUERYCTRL: {
            auto* info = static_cast<v4l2_queryctrl*>(argument);
            const auto it = c.controls.find(info->id);
            if (it == c.controls.end())
                return -EINVAL;
            *info = it->second.info;
            return 0;
        }
        case VIDIOC_QUERYMENU: {
            auto* item = static_cast<v4l2_querymenu*>(argument);
            const auto it = c.controls.find(item->id);
            if (it == c.controls.end())
                return -EINVAL;
            const auto& menu = it->second.menu;
            return std::find(menu.begin(), menu.end(), item->index) != menu.end() ? 0 : -EINVAL;
        }
        case VIDIOC_G_CTRL: {
            auto* control = static_cast<v4l2_control*>(argument);
            const auto it = c.controls.find(control->id);
            if (it == c.controls.end())
                return -EINVAL;
            control->value = it->second.value;
            return 0;
        }
        case VIDIOC_S_CTRL: {
            auto* control = static_cast<v4l2_control*>(argument);
            const auto it = c.controls.find(control->id);
            if (it == c.controls.end())
                return -EINVAL;
            if (it->second.refuse)
                return -it->second.refuse;
            it->second.value = control->value;
            c.written.emplace_back(control->id, control->value);
            return 0;
        }
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
