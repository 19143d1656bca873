#pragma once

#include "capture/CaptureBackend.h"
#include "capture/audio/QtAudioDiscovery.h"

// Microphones through Qt Multimedia. Made on the main thread.
class QtAudioBackend : public CaptureBackend {
public:
    DeviceDiscovery& discovery() override { return m_discovery; }
    std::unique_ptr<CaptureSession> makeSession() override;
    DeviceInputResult makeDeviceInput(const CaptureDevice& device) override;

private:
    QtAudioDiscovery m_discovery;
};
