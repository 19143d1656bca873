#pragma once

#include "capture/CameraControls.h"
#include "capture/CaptureInput.h"
#include "capture/CaptureSession.h"
#include "capture/DeviceDiscovery.h"

#include <memory>

// One source of capture devices: its discovery, its sessions and its device inputs.
class CaptureBackend {
public:
    virtual ~CaptureBackend() = default;

    virtual DeviceDiscovery& discovery() = 0;
    virtual std::unique_ptr<CaptureSession> makeSession() = 0;
    // Opens the device; fails with a localised reason (device gone, busy, not permitted).
    virtual DeviceInputResult makeDeviceInput(const CaptureDevice& device) = 0;
    // The picture controls of a connected camera, usable beside its running stream; none for a
    // device that is gone or offers none.
    virtual std::unique_ptr<CameraControls> cameraControls(const CaptureDevice&) { return nullptr; }
};
