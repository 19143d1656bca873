#pragma once

#include "capture/CaptureBackend.h"
#include "capture/virtual/VirtualDevices.h"

#include <atomic>
#include <memory>

// A session of the virtual backend: follows the refusal faults and counts its configuration
// blocks, so tests can check that each one is closed exactly once.
class VirtualCaptureSession : public CaptureSession {
public:
    explicit VirtualCaptureSession(std::shared_ptr<VirtualDevices> devices);

    void beginConfiguration() override;
    void commitConfiguration() override;
    bool canSetSessionPreset(SessionPreset preset) const override;
    bool canAddInput(const std::shared_ptr<CaptureInput>& input) const override;
    bool canAddOutput(const std::shared_ptr<CaptureOutput>& output) const override;

    int beginCount() const { return m_begins; }
    int commitCount() const { return m_commits; }
    // Set when a block was opened inside an open block or closed without being opened.
    bool unbalanced() const { return m_unbalanced; }

private:
    std::shared_ptr<VirtualDevices> m_devices;
    std::atomic<int> m_begins{0};
    std::atomic<int> m_commits{0};
    std::atomic<bool> m_open{false};
    std::atomic<bool> m_unbalanced{false};
};

// The virtual cameras and microphone (switched on by OSTREL_VIRTUAL_DEVICES=1).
class VirtualBackend : public CaptureBackend {
public:
    VirtualBackend();

    DeviceDiscovery& discovery() override { return *m_devices; }
    std::unique_ptr<CaptureSession> makeSession() override;
    DeviceInputResult makeDeviceInput(const CaptureDevice& device) override;
    std::unique_ptr<CameraControls> cameraControls(const CaptureDevice& device) override;

    // The control surface for faults.
    VirtualDevices& devices() { return *m_devices; }

private:
    std::shared_ptr<VirtualDevices> m_devices;
};
