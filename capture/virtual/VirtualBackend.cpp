#include "capture/virtual/VirtualBackend.h"

#include "capture/virtual/VirtualInputs.h"

VirtualCaptureSession::VirtualCaptureSession(std::shared_ptr<VirtualDevices> devices)
    : m_devices(std::move(devices)) {
}

void VirtualCaptureSession::beginConfiguration() {
    ++m_begins;
    if (m_open.exchange(true))
        m_unbalanced = true;
}

void VirtualCaptureSession::commitConfiguration() {
    ++m_commits;
    if (!m_open.exchange(false))
        m_unbalanced = true;
}

bool VirtualCaptureSession::canSetSessionPreset(SessionPreset preset) const {
    return !m_devices->refusesPreset() && CaptureSession::canSetSessionPreset(preset);
}

bool VirtualCaptureSession::canAddInput(const std::shared_ptr<CaptureInput>& input) const {
    if (!CaptureSession::canAddInput(input))
        return false;
    const auto state = m_devices->state(input->device().uniqueID);
    return !(state && state->refusesInput);
}

bool VirtualCaptureSession::canAddOutput(const std::shared_ptr<CaptureOutput>& output) const {
    if (!CaptureSession::canAddOutput(output))
        return false;
    for (const auto& input : inputs())
        if (const auto state = m_devices->state(input->device().uniqueID);
            state && state->refusesOutput)
            return false;
    return true;
}

VirtualBackend::VirtualBackend() : m_devices(std::make_shared<VirtualDevices>()) {
}

std::unique_ptr<CaptureSession> VirtualBackend::makeSession() {
    return std::make_unique<VirtualCaptureSession>(m_devices);
}

DeviceInputResult VirtualBackend::makeDeviceInput(const CaptureDevice& device) {
    const auto state = m_devices->state(device.uniqueID);
    if (!state || !state->present)
        return {nullptr, QStringLiteral("Gerät nicht gefunden")};
    if (!state->inputError.isEmpty())
        return {nullptr, state->inputError};
    if (device.mediaType() == MediaType::audio)
        return {std::make_shared<VirtualMicrophoneInput>(device, m_devices), {}};
    return {std::make_shared<VirtualCameraInput>(device, m_devices), {}};
}

std::unique_ptr<CameraControls> VirtualBackend::cameraControls(const CaptureDevice& device) {
    const auto state = m_devices->state(device.uniqueID);
    if (!state || !state->present || device.mediaType() != MediaType::video)
        return nullptr;
    return std::make_unique<VirtualCameraControls>(m_devices, device.uniqueID);
}
