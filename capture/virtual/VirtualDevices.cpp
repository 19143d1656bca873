#include "capture/virtual/VirtualDevices.h"

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

const QString VirtualDevices::camera1ID = QStringLiteral("ostrel-virtual-camera-1");
const QString VirtualDevices::camera2ID = QStringLiteral("ostrel-virtual-camera-2");
const QString VirtualDevices::microphoneID = QStringLiteral("ostrel-virtual-microphone");
const QString VirtualDevices::cameraName = QStringLiteral("OSTREL Kamera");
const QString VirtualDevices::microphoneName = QStringLiteral("OSTREL Mikrofon");

VirtualDevices::VirtualDevices(QObject* parent) : DeviceDiscovery(parent) {
    m_faultClock.setInterval(50);
    connect(&m_faultClock, &QTimer::timeout, this, &VirtualDevices::applyDueFaults);
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

void VirtualDevices::stall(const QString& id) {
    change(id, [](State& s) { s.stalled = true; });
}

void VirtualDevices::unstall(const QString& id) {
    change(id, [](State& s) { s.stalled = false; });
}

void VirtualDevices::endStream(const QString& id) {
    change(id, [](State& s) { s.endRequested = true; });
}

void VirtualDevices::clearEndRequest(const QString& id) {
    change(id, [](State& s) { s.endRequested = false; });
}

void VirtualDevices::setNoBandwidth(const QString& id, bool none) {
    change(id, [&](State& s) { s.noBandwidth = none; });
}

void VirtualDevices::refuseControl(const QString& id, const QString& control) {
    change(id, [&](State& s) { s.refusedControls << control; });
}

void VirtualDevices::setControlValue(const QString& id, CameraControlId control, int value) {
    change(id, [&](State& s) { s.controls[std::size_t(control)] = value; });
}

void VirtualDevices::setFramesPerSecond(const QString& id, int fps) {
    change(id, [&](State& s) { s.framesPerSecond = std::max(0, fps); });
}

namespace {

// "5s", "1.5s", "300ms"; none when it is not a delay.
std::optional<std::chrono::milliseconds> parseDelay(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral("^(\\d+(?:\\.\\d+)?)(ms|s)$"));
    const auto match = pattern.match(text.trimmed());
    if (!match.hasMatch())
        return std::nullopt;
    const double amount = match.captured(1).toDouble();
    const double ms = match.captured(2) == u"s" ? amount * 1000 : amount;
    return std::chrono::milliseconds(std::llround(ms));
}

} // namespace

bool VirtualDevices::applyFault(const QString& name, const QString& value) {
    static const QRegularExpression sizePattern(QStringLiteral("^(.+):(\\d+)x(\\d+)$"));
    static const QRegularExpression fpsPattern(QStringLiteral("^(.+):(\\d+)$"));
    if (name == u"silent") {
        setSilent(value, true);
    } else if (name == u"unplug") {
        unplug(value);
    } else if (name == u"replug") {
        replug(value);
    } else if (name == u"stall") {
        stall(value);
    } else if (name == u"unstall") {
        unstall(value);
    } else if (name == u"end") {
        endStream(value);
    } else if (name == u"enospc") {
        setNoBandwidth(value, true);
    } else if (name == u"refuseInput") {
        setRefusesInput(value, true);
    } else if (name == u"refuseOutput") {
        setRefusesOutput(value, true);
    } else if (name == u"size") {
        const auto match = sizePattern.match(value);
        if (!match.hasMatch())
            return false;
        setFrameSize(match.captured(1),
                     QSize(match.captured(2).toInt(), match.captured(3).toInt()));
    } else if (name == u"refuseControl") {
        const QString control = value.section(u':', -1);
        if (!cameraControlFromKey(control))
            return false;
        refuseControl(value.section(u':', 0, -2), control);
    } else if (name == u"fps") {
        const auto match = fpsPattern.match(value);
        if (!match.hasMatch() || match.captured(2).toInt() < 1 || match.captured(2).toInt() > 120)
            return false;
        setFramesPerSecond(match.captured(1), match.captured(2).toInt());
    } else if (name == u"inputError" || name == u"startError") {
        const QString id = value.section(u':', 0, 0);
        const QString text = value.section(u':', 1);
        if (text.isEmpty())
            return false;
        if (name == u"inputError")
            setInputError(id, text);
        else
            setStartError(id, text);
    } else {
        return false;
    }
    return true;
}

QStringList VirtualDevices::applyFaults(const QString& faults) {
    static const QStringList delayable{QStringLiteral("silent"),  QStringLiteral("unplug"),
                                       QStringLiteral("replug"),  QStringLiteral("stall"),
                                       QStringLiteral("unstall"), QStringLiteral("end"),
                                       QStringLiteral("enospc")};
    QStringList rejected;
    for (const QString& rawPart : faults.split(u';', Qt::SkipEmptyParts)) {
        const QString part = rawPart.trimmed();
        const QString name = part.section(u'=', 0, 0).trimmed();
        QString value = part.section(u'=', 1).trimmed();
        if (name == u"refusePreset" && value.isEmpty()) {
            setRefusesPreset(true);
            continue;
        }
        std::optional<std::chrono::milliseconds> delay;
        if (const qsizetype at = value.lastIndexOf(u'@'); at >= 0) {
            delay = parseDelay(value.mid(at + 1));
            value = value.left(at).trimmed();
            if (!delay || !delayable.contains(name)) {
                rejected << part;
                continue;
            }
        }
        if (value.isEmpty()) {
            rejected << part;
        } else if (delay) {
            std::lock_guard guard(m_lock);
            m_delayed.push_back({value, name, value, *delay});
            // Started on the devices' own thread, where the timer lives.
            QMetaObject::invokeMethod(
                this, [this] { m_faultClock.start(); }, Qt::QueuedConnection);
        } else if (!applyFault(name, value)) {
            rejected << part;
        }
    }
    return rejected;
}

QStringList VirtualDevices::applyStreams(const QString& streams) {
    QStringList problems;
    for (const QString& rawPart : streams.split(u';', Qt::SkipEmptyParts)) {
        const QString part = rawPart.trimmed();
        const QString id = part.section(u'=', 0, 0).trimmed();
        const QString path = part.section(u'=', 1).trimmed();
        bool camera = false;
        {
            std::lock_guard guard(m_lock);
            for (const Entry& entry : m_entries)
                camera = camera || (entry.device.uniqueID == id &&
                                    entry.device.mediaType() == MediaType::video);
        }
        if (!camera || path.isEmpty()) {
            problems << QStringLiteral("%1: keine virtuelle Kamera mit Datei").arg(part);
            continue;
        }
        CameraStreamFile file = readCameraStream(path);
        if (!file.buffers) {
            problems << QStringLiteral("%1: %2").arg(id, file.error);
            continue;
        }
        change(id, [&](State& s) {
            s.stream = std::move(file.buffers);
            s.streamName = QFileInfo(path).fileName();
        });
    }
    return problems;
}

void VirtualDevices::streamTick(const QString& id) {
    {
        std::lock_guard guard(m_lock);
        if (m_delayed.empty())
            return;
        const bool known = std::any_of(m_streamingSince.begin(), m_streamingSince.end(),
                                       [&](const auto& entry) { return entry.first == id; });
        if (!known)
            m_streamingSince.emplace_back(id, std::chrono::steady_clock::now());
    }
    applyDueFaults();
}

void VirtualDevices::applyDueFaults() {
    const auto now = std::chrono::steady_clock::now();
    std::vector<Delayed> due;
    {
        std::lock_guard guard(m_lock);
        for (auto it = m_delayed.begin(); it != m_delayed.end();) {
            const auto since =
                std::find_if(m_streamingSince.begin(), m_streamingSince.end(),
                             [&](const auto& entry) { return entry.first == it->id; });
            if (since != m_streamingSince.end() && now - since->second >= it->delay) {
                due.push_back(*it);
                it = m_delayed.erase(it);
            } else {
                ++it;
            }
        }
    }
    for (const Delayed& fault : due)
        applyFault(fault.name, fault.value);
}
