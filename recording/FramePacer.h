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
    double cameraRate() const { return m_rate; }
    // One camera frame: whether the recording takes it.
    bool keep(MediaTime pts);

private:
    // Frames over the time they span, in windows of about two seconds: frames that come in
    // bursts (a late delivery thread, a USB hiccup) count as many as came.
    static constexpr double window = 2.0;
    // A longer pause is a stalled or restarted camera, not its rate.
    static constexpr double longestGap = 0.5;
    int m_limit = 0;
    double m_credit = 0;
    double m_rate = 0;
    std::optional<MediaTime> m_windowStart;
    std::optional<MediaTime> m_last;
    int m_windowFrames = 0; // after the first
    bool m_firstWindow = true;
};
