#pragma once

#include "media/PixelBuffer.h"

#include <opencv2/core.hpp>

#include <vector>

// How much a picture region shakes over a sequence of rendered outputs, measured from their
// pixels alone: each picture is registered against the one before it with OpenCV's phase
// correlation (independent of the stabiliser's own correlator), the shifts are added up to
// the path the content takes on screen, and what the path does faster than a running mean of
// nine frames (about three tremor periods at 30 fps) is the tremor left in the picture.
namespace synthetic {

struct AxisFigures {
    double x = 0;
    double y = 0;
};

class PictureMotion {
public:
    // `region` of `picture` (BGRA); `scale` is output pixels per camera-frame pixel, so that
    // pictures drawn at different zooms are compared in the same units (frame pixels).
    void add(const PixelBuffer& picture, const cv::Rect& region, double scale);

    // RMS distance per axis of the content's path from its running mean, in frame pixels.
    AxisFigures residualTremor() const;
    // RMS per axis of the frame-to-frame motion, in frame pixels.
    AxisFigures jitter() const;
    // The content's path on screen (x right, y down), frame pixels, one point per picture.
    const std::vector<cv::Point2d>& path() const { return m_path; }

private:
    cv::Mat m_previous;
    cv::Mat m_window;
    std::vector<cv::Point2d> m_path;
};

} // namespace synthetic
