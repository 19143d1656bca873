#include "capture/BackendSelection.h"

#include "capture/audio/QtAudioBackend.h"
#include "capture/v4l2/V4l2Backend.h"
#include "capture/virtual/VirtualBackend.h"
#include "diagnostics/OstrelLog.h"

CombinedDiscovery::CombinedDiscovery(std::vector<DeviceDiscovery*> parts, QObject* parent)
    : DeviceDiscovery(parent), m_parts(std::move(parts)) {
    for (DeviceDiscovery* part : m_parts)
        connect(part, &DeviceDiscovery::devicesChanged, this, &DeviceDiscovery::devicesChanged,
                Qt::DirectConnection);
}

std::vector<CaptureDevice> CombinedDiscovery::allDevices() const {
    std::vector<CaptureDevice> devices;
    for (const DeviceDiscovery* part : m_parts) {
        const auto more = part->allDevices();
        devices.insert(devices.end(), more.begin(), more.end());
    }
    return devices;
}

SplitBackend::SplitBackend(std::unique_ptr<CaptureBackend> cameras,
                           std::unique_ptr<CaptureBackend> microphones)
    : m_cameras(std::move(cameras)), m_microphones(std::move(microphones)),
      m_discovery({&m_cameras->discovery(), &m_microphones->discovery()}), m_listing(m_discovery) {
}

std::unique_ptr<CaptureSession> SplitBackend::makeSession() {
    return std::make_unique<CaptureSession>();
}

DeviceInputResult SplitBackend::makeDeviceInput(const CaptureDevice& device) {
    return device.mediaType() == MediaType::audio ? m_microphones->makeDeviceInput(device)
                                                  : m_cameras->makeDeviceInput(device);
}

std::unique_ptr<CameraControls> SplitBackend::cameraControls(const CaptureDevice& device) {
    return m_cameras->cameraControls(device);
}

bool virtualDevicesRequested() {
    return qgetenv("OSTREL_VIRTUAL_DEVICES") == "1";
}

std::unique_ptr<CaptureBackend> makeCaptureBackend() {
    if (virtualDevicesRequested()) {
        auto backend = std::make_unique<VirtualBackend>();
        const QString faults = qEnvironmentVariable("OSTREL_VIRTUAL_FAULTS");
        const QStringList rejected = backend->devices().applyFaults(faults);
        if (!rejected.isEmpty())
            logOnMainThread(LogLevel::warn, QStringLiteral("OSTREL_VIRTUAL_FAULTS: unbekannt: ") +
                                                rejected.join(QStringLiteral("; ")));
        const QString streams = qEnvironmentVariable("OSTREL_VIRTUAL_STREAMS");
        for (const QString& problem : backend->devices().applyStreams(streams))
            logOnMainThread(LogLevel::warn, QStringLiteral("OSTREL_VIRTUAL_STREAMS: ") + problem);
        return backend;
    }
    auto cameras = std::make_unique<V4l2Backend>();
    V4l2Discovery* v4l2 = &cameras->v4l2Discovery();
    auto backend =
        std::make_unique<SplitBackend>(std::move(cameras), std::make_unique<QtAudioBackend>());
    // Its first listing opens every video node: off the GUI thread too.
    backend->listing().runOnWorker([v4l2] {
        if (const auto failure = v4l2->startMonitoring())
            logFromAnyThread(
                LogLevel::error,
                QStringLiteral("Geräteüberwachung (udev) nicht gestartet: ") + *failure +
                    QStringLiteral(" — an- und abgesteckte Kameras werden nicht bemerkt"));
    });
    return backend;
}
