#include "capture/virtual/VirtualDevices.h"

#include <QRegularExpression>

const QString VirtualDevices::camera1ID = QStringLiteral("ostrel-virtual-camera-1");
const QString VirtualDevices::camera2ID = QStringLiteral("ostrel-virtual-camera-2");
const QString VirtualDevices::microphoneID = QStringLiteral("ostrel-virtual-microphone");
const QString VirtualDevices::cameraName = QStringLiteral("OSTREL Kamera");
const QString VirtualDevices::microphoneName = QStringLiteral("OSTREL Mikrofon");

VirtualDevices::VirtualDevices(QObject* parent) : DeviceDiscovery(parent) {
    State present;
    present.present = true;
    State shaking = present;
    shaking.motion = VirtualScene::Motion::tremor;
    m_entries = {
        {{camera1ID, cameraName, DeviceType::external}, present},
        {{camera2ID, cameraName, DeviceType::external}, shaking},
        {{microphoneID, microphoneName, DeviceType::microphone}, present},
    };
}

std::vector<CaptureDevice> VirtualDevices::allDevices() const {
    std::lock_guard guard(m_lock);
    std::vector<CaptureDevice> devices;
    for (const Entry& entry : m_entries)
        if (entry.state.present)
            devices.push_back(entry.device);
    return devices;
}

template <typename F> void VirtualDevices::change(const QString& id, F&& apply) {
    std::lock_guard guard(m_lock);
    for (Entry& entry : m_entries)
        if (entry.device.uniqueID == id)
            apply(entry.state);
}

void VirtualDevices::setPresent(const QString& id, bool present) {
    std::optional<CaptureDevice> changed;
    {
        std::lock_guard guard(m_lock);
        for (Entry& entry : m_entries)
            if (entry.device.uniqueID == id && entry.state.present != present) {
                entry.state.present = present;
                changed = entry.device;
            }
    }
    if (changed)
        emit devicesChanged(present ? DeviceChange::connected : DeviceChange::disconnected,
                            *changed);
}

void VirtualDevices::unplug(const QString& id) {
    setPresent(id, false);
}

void VirtualDevices::replug(const QString& id) {
    setPresent(id, true);
}

void VirtualDevices::plugIn(const CaptureDevice& device) {
    {
        std::lock_guard guard(m_lock);
        bool known = false;
        for (const Entry& entry : m_entries)
            known = known || entry.device.uniqueID == device.uniqueID;
        if (!known)
            m_entries.push_back({device, State{}});
    }
    setPresent(device.uniqueID, true);
}

void VirtualDevices::setSilent(const QString& id, bool silent) {
    change(id, [&](State& s) { s.silent = silent; });
}

void VirtualDevices::setFrameSize(const QString& id, QSize size) {
    change(id, [&](State& s) { s.frameSize = size; });
}

void VirtualDevices::setInputError(const QString& id, QString error) {
    change(id, [&](State& s) { s.inputError = error; });
}

void VirtualDevices::setStartError(const QString& id, QString error) {
    change(id, [&](State& s) { s.startError = error; });
}

void VirtualDevices::setRefusesInput(const QString& id, bool refuse) {
    change(id, [&](State& s) { s.refusesInput = refuse; });
}

void VirtualDevices::setRefusesOutput(const QString& id, bool refuse) {
    change(id, [&](State& s) { s.refusesOutput = refuse; });
}

void VirtualDevices::setRefusesPreset(bool refuse) {
    std::lock_guard guard(m_lock);
    m_refusesPreset = refuse;
}

bool VirtualDevices::refusesPreset() const {
    std::lock_guard guard(m_lock);
    return m_refusesPreset;
}

std::optional<VirtualDevices::State> VirtualDevices::state(const QString& id) const {
    std::lock_guard guard(m_lock);
    for (const Entry& entry : m_entries)
        if (entry.device.uniqueID == id)
            return entry.state;
    return std::nullopt;
}

QStringList VirtualDevices::applyFaults(const QString& faults) {
    QStringList rejected;
    static const QRegularExpression sizePattern(QStringLiteral("^(.+):(\\d+)x(\\d+)$"));
    for (const QString& rawPart : faults.split(u';', Qt::SkipEmptyParts)) {
        const QString part = rawPart.trimmed();
        const QString name = part.section(u'=', 0, 0).trimmed();
        const QString value = part.section(u'=', 1).trimmed();
        if (name == u"refusePreset" && value.isEmpty()) {
            setRefusesPreset(true);
        } else if (value.isEmpty()) {
            rejected << part;
        } else if (name == u"silent") {
            setSilent(value, true);
        } else if (name == u"unplug") {
            unplug(value);
        } else if (name == u"refuseInput") {
            setRefusesInput(value, true);
        } else if (name == u"refuseOutput") {
            setRefusesOutput(value, true);
        } else if (name == u"size") {
            const auto match = sizePattern.match(value);
            if (match.hasMatch())
                setFrameSize(match.captured(1),
                             QSize(match.captured(2).toInt(), match.captured(3).toInt()));
            else
                rejected << part;
        } else if (name == u"inputError" || name == u"startError") {
            const QString id = value.section(u':', 0, 0);
            const QString text = value.section(u':', 1);
            if (text.isEmpty())
                rejected << part;
            else if (name == u"inputError")
                setInputError(id, text);
            else
                setStartError(id, text);
        } else {
            rejected << part;
        }
    }
    return rejected;
}
