#include "capture/v4l2/V4l2Formats.h"

#include "capture/v4l2/V4l2Io.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace {

constexpr std::uint32_t handled[] = {V4L2_PIX_FMT_MJPEG, V4L2_PIX_FMT_YUYV};

bool isHandled(std::uint32_t format) {
    return std::find(std::begin(handled), std::end(handled), format) != std::end(handled);
}

std::vector<double> listRates(const V4l2Fd& device, std::uint32_t format, int width, int height) {
    std::vector<double> rates;
    for (std::uint32_t i = 0; i < 64; ++i) {
        v4l2_frmivalenum interval{};
        interval.index = i;
        interval.pixel_format = format;
        interval.width = std::uint32_t(width);
        interval.height = std::uint32_t(height);
        if (device.ioctl(VIDIOC_ENUM_FRAMEINTERVALS, &interval) < 0)
            break;
        if (interval.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
            if (interval.discrete.numerator > 0)
                rates.push_back(double(interval.discrete.denominator) /
                                interval.discrete.numerator);
        } else {
            // A continuous or stepwise range: its fastest and slowest rate bound it.
            const auto& range = interval.stepwise;
            if (range.min.numerator > 0 && range.max.numerator > 0) {
                const double fastest = double(range.min.denominator) / range.min.numerator;
                const double slowest = double(range.max.denominator) / range.max.numerator;
                if (slowest <= 30.0 && fastest >= 30.0)
                    rates.push_back(30.0);
                rates.push_back(fastest);
            }
            break;
        }
    }
    return rates;
}

bool runsAt30(const V4l2FormatOption& option) {
    return option.framesPerSecond.empty() ||
           std::any_of(option.framesPerSecond.begin(), option.framesPerSecond.end(),
                       [](double fps) { return std::abs(fps - 30.0) < 0.5; });
}

bool is16by9(const V4l2FormatOption& option) {
    return option.width * 9 == option.height * 16;
}

bool fitsHigh(const V4l2FormatOption& option) {
    return option.width <= 1920 && option.height <= 1080;
}

} // namespace

std::vector<V4l2FormatOption> listFormats(const V4l2Fd& device) {
    std::vector<V4l2FormatOption> options;
    for (std::uint32_t f = 0; f < 64; ++f) {
        v4l2_fmtdesc description{};
        description.index = f;
        description.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        if (device.ioctl(VIDIOC_ENUM_FMT, &description) < 0)
            break;
        if (!isHandled(description.pixelformat))
            continue;
        for (std::uint32_t s = 0; s < 256; ++s) {
            v4l2_frmsizeenum size{};
            size.index = s;
            size.pixel_format = description.pixelformat;
            if (device.ioctl(VIDIOC_ENUM_FRAMESIZES, &size) < 0)
                break;
            if (size.type != V4L2_FRMSIZE_TYPE_DISCRETE) {
                // A size range: offer its largest size only.
                const int width = int(size.stepwise.max_width);
                const int height = int(size.stepwise.max_height);
                options.push_back({description.pixelformat, width, height,
                                   listRates(device, description.pixelformat, width, height)});
                break;
            }
            const int width = int(size.discrete.width);
            const int height = int(size.discrete.height);
            options.push_back({description.pixelformat, width, height,
                               listRates(device, description.pixelformat, width, height)});
        }
    }
    return options;
}

std::optional<V4l2StreamFormat> chooseFormat(const std::vector<V4l2FormatOption>& options,
                                             SessionPreset preset,
                                             std::optional<V4l2StreamFormat> current) {
    if (preset == SessionPreset::deviceDefault && current && isHandled(current->pixelFormat))
        return V4l2StreamFormat{current->pixelFormat, current->width, current->height, 0};

    using Rule = std::function<bool(const V4l2FormatOption&)>;
    const std::vector<Rule> rules{
        [](const auto& o) { return fitsHigh(o) && is16by9(o) && runsAt30(o); },
        [](const auto& o) { return fitsHigh(o) && runsAt30(o); },
        [](const auto& o) { return fitsHigh(o); },
    };
    for (const Rule& rule : rules) {
        for (std::uint32_t format : handled) {
            const V4l2FormatOption* best = nullptr;
            for (const V4l2FormatOption& option : options)
                if (option.pixelFormat == format && rule(option) &&
                    (!best || option.width * option.height > best->width * best->height))
                    best = &option;
            if (best)
                return V4l2StreamFormat{best->pixelFormat, best->width, best->height,
                                        runsAt30(*best) ? 30 : 0};
        }
    }
    // Only sizes beyond 1920 x 1080: the smallest of them.
    const V4l2FormatOption* smallest = nullptr;
    for (const V4l2FormatOption& option : options)
        if (isHandled(option.pixelFormat) &&
            (!smallest || option.width * option.height < smallest->width * smallest->height))
            smallest = &option;
    if (smallest)
        return V4l2StreamFormat{smallest->pixelFormat, smallest->width, smallest->height, 0};
    return std::nullopt;
}

std::vector<V4l2StreamFormat> bandwidthFallbacks(const std::vector<V4l2FormatOption>& options,
                                                 const V4l2StreamFormat& failed) {
    const long failedArea = long(failed.width) * failed.height;
    const auto area = [](const V4l2FormatOption& o) { return long(o.width) * o.height; };
    // Compressed pictures need far less of the bus than raw ones of the same size.
    const auto needsLess = [&](const V4l2FormatOption& o) {
        if (o.pixelFormat == V4L2_PIX_FMT_MJPEG && failed.pixelFormat != V4L2_PIX_FMT_MJPEG)
            return area(o) <= failedArea;
        return area(o) < failedArea;
    };
    std::vector<const V4l2FormatOption*> chosen;
    for (const V4l2FormatOption& option : options)
        if (isHandled(option.pixelFormat) && needsLess(option))
            chosen.push_back(&option);
    // MJPEG first, then the largest picture, 16:9 before other shapes of the same size.
    std::stable_sort(chosen.begin(), chosen.end(), [&](const auto* a, const auto* b) {
        const bool aJpeg = a->pixelFormat == V4L2_PIX_FMT_MJPEG;
        const bool bJpeg = b->pixelFormat == V4L2_PIX_FMT_MJPEG;
        if (aJpeg != bJpeg)
            return aJpeg;
        if (area(*a) != area(*b))
            return area(*a) > area(*b);
        return is16by9(*a) && !is16by9(*b);
    });
    std::vector<V4l2StreamFormat> fallbacks;
    for (const V4l2FormatOption* option : chosen)
        fallbacks.push_back(
            {option->pixelFormat, option->width, option->height, runsAt30(*option) ? 30 : 0});
    return fallbacks;
}
