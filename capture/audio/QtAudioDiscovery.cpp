#include "capture/audio/QtAudioDiscovery.h"

QtAudioDiscovery::QtAudioDiscovery(QObject* parent) : DeviceDiscovery(parent) {
    m_inputs = QMediaDevices::audioInputs();
    connect(&m_mediaDevices, &QMediaDevices::audioInputsChanged, this,
            [this] { update(QMediaDevices::audioInputs()); });
}

CaptureDevice QtAudioDiscovery::describe(const QAudioDevice& device) {
    return {QString::fromUtf8(device.id()), device.description(), DeviceType::microphone};
}

std::vector<CaptureDevice> QtAudioDiscovery::allDevices() const {
    std::lock_guard guard(m_lock);
    std::vector<CaptureDevice> devices;
    for (const QAudioDevice& device : m_inputs)
        devices.push_back(describe(device));
    return devices;
}

std::optional<QAudioDevice> QtAudioDiscovery::audioDevice(const QString& uniqueID) const {
    std::lock_guard guard(m_lock);
    for (const QAudioDevice& device : m_inputs)
        if (QString::fromUtf8(device.id()) == uniqueID)
            return device;
    return std::nullopt;
}

void QtAudioDiscovery::update(const QList<QAudioDevice>& inputs) {
    QList<QAudioDevice> before;
    {
        std::lock_guard guard(m_lock);
        before = m_inputs;
        m_inputs = inputs;
    }
    for (const QAudioDevice& device : before)
        if (!inputs.contains(device))
            emit devicesChanged(DeviceChange::disconnected, describe(device));
    for (const QAudioDevice& device : inputs)
        if (!before.contains(device))
            emit devicesChanged(DeviceChange::connected, describe(device));
}
