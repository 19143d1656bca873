#include "capture/audio/QtAudioBackend.h"

#include "capture/audio/QtAudioInput.h"

std::unique_ptr<CaptureSession> QtAudioBackend::makeSession() {
    return std::make_unique<CaptureSession>();
}

DeviceInputResult QtAudioBackend::makeDeviceInput(const CaptureDevice& device) {
    const auto audioDevice = m_discovery.audioDevice(device.uniqueID);
    if (!audioDevice || audioDevice->isNull())
        return {nullptr, QStringLiteral("Gerät nicht gefunden")};
    return {std::make_shared<QtAudioInput>(device, *audioDevice), {}};
}
