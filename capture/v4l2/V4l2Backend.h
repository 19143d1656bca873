#pragma once

#include "capture/CaptureBackend.h"
#include "capture/v4l2/V4l2Discovery.h"

// USB cameras through V4L2.
class V4l2Backend : public CaptureBackend {
public:
    explicit V4l2Backend(std::shared_ptr<V4l2Io> io = systemV4l2Io());

    DeviceDiscovery& discovery() override { return m_discovery; }
    std::unique_ptr<CaptureSession> makeSession() override;
    DeviceInputResult makeDeviceInput(const CaptureDevice& device) override;
    std::unique_ptr<CameraControls> cameraControls(const CaptureDevice& device) override;

    V4l2Discovery& v4l2Discovery() { return m_discovery; }

private:
    std::shared_ptr<V4l2Io> m_io;
    V4l2Discovery m_discovery;
};
