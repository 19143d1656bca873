#pragma once

#include "capture/CachedDiscovery.h"
#include "capture/CaptureBackend.h"

#include <memory>
#include <vector>

// One discovery over several: the devices of all of them, and each one's change notices.
class CombinedDiscovery : public DeviceDiscovery {
    Q_OBJECT

public:
    explicit CombinedDiscovery(std::vector<DeviceDiscovery*> parts, QObject* parent = nullptr);
    std::vector<CaptureDevice> allDevices() const override;

private:
    std::vector<DeviceDiscovery*> m_parts;
};

// Cameras from one backend and microphones from another, behind one backend. Their listing is
// made on a worker thread and kept.
class SplitBackend : public CaptureBackend {
public:
    SplitBackend(std::unique_ptr<CaptureBackend> cameras,
                 std::unique_ptr<CaptureBackend> microphones);

    DeviceDiscovery& discovery() override { return m_listing; }
    CachedDiscovery& listing() { return m_listing; }
    std::unique_ptr<CaptureSession> makeSession() override;
    DeviceInputResult makeDeviceInput(const CaptureDevice& device) override;
    std::unique_ptr<CameraControls> cameraControls(const CaptureDevice& device) override;

private:
    std::unique_ptr<CaptureBackend> m_cameras;
    std::unique_ptr<CaptureBackend> m_microphones;
    CombinedDiscovery m_discovery;
    CachedDiscovery m_listing;
};

// Whether OSTREL_VIRTUAL_DEVICES=1 asks for the virtual devices.
bool virtualDevicesRequested();

// The backend of this run: only the virtual devices when they are asked for (with the faults
// of OSTREL_VIRTUAL_FAULTS and the streams on file of OSTREL_VIRTUAL_STREAMS), else V4L2 cameras
// and Qt Multimedia microphones. Main thread.
std::unique_ptr<CaptureBackend> makeCaptureBackend();
