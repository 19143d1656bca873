#pragma once

#include "media/MediaTime.h"

#include <optional>

// Which camera frames a paced recording keeps: of every camera frame, `limit` ÷ the camera's
// own rate, spread evenly. The camera's rate is measured from the frames' capture times, so a
// camera that delivers 15 fps (a UVC camera in dim light) is kept whole under a limit of 27.
class FramePacer {
public:
    // Frames per second to keep; 0 keeps every frame.
    void setLimit(int fps);
    int limit() const { return m_limit; }
    // The camera's rate as measured so far; 0 before two frames.
    double cameraRate() const;
    // One camera frame: whether the recording takes it.
    bool keep(MediaTime pts);

private:
    int m_limit = 0;
    double m_credit = 0;
    std::optional<MediaTime> m_last;
    double m_interval = 0; // seconds, smoothed; 0 before two frames
};
