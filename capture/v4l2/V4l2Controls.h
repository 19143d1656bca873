#pragma once

#include "capture/CameraControls.h"
#include "capture/v4l2/V4l2Io.h"

#include <memory>

// The picture controls of a V4L2 camera (QUERYCTRL, QUERYMENU, G_CTRL, S_CTRL) on a node of its
// own, so they work beside the running stream. The automatic exposure menu shows as a switch:
// on is the camera's automatic mode (full or aperture priority), off is manual.
class V4l2Controls : public CameraControls {
public:
    explicit V4l2Controls(std::shared_ptr<V4l2Fd> fd) : m_fd(std::move(fd)) {}

    std::vector<CameraControl> list() override;
    std::optional<QString> set(CameraControlId id, int value) override;

private:
    std::optional<CameraControl> query(CameraControlId id);
    // The menu value that means "automatic exposure" on this camera.
    std::optional<int> automaticExposureValue();

    std::shared_ptr<V4l2Fd> m_fd;
};

// The V4L2 control id behind each control.
unsigned v4l2ControlId(CameraControlId id);
