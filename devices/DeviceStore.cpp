#include "devices/DeviceStore.h"

#include "capture/DeviceDiscovery.h"
#include "runtime/MainThread.h"
#include "settings/SettingsStore.h"

#include <QVariantMap>

DeviceStore::DeviceStore(DeviceDiscovery& discovery, SettingsStore& settings, QObject* parent)
    : QObject(parent), m_discovery(discovery), m_settings(settings),
      m_wideUID(settings.text(Setting::wideDeviceUID)),
      m_macroUID(settings.text(Setting::macroDeviceUID)),
      m_micUID(settings.text(Setting::micDeviceUID)) {
    update();
    // Direct: the handlers run on the notifying thread and only schedule the update.
    connect(
        &discovery, &DeviceDiscovery::devicesChanged, this, [this] { devicesChanged(); },
        Qt::DirectConnection);
    connect(
        &discovery, &DeviceDiscovery::listingRefreshed, this, [this] { devicesChanged(); },
        Qt::DirectConnection);
}

void DeviceStore::refresh() {
    m_discovery.refresh();
    update();
}

void DeviceStore::update() {
    m_refreshPending = false;
    ++m_refreshCount;
    const QList<DeviceInfo> video =
        makeDeviceInfos(m_discovery.devices(cameraDeviceTypes(), MediaType::video));
    const QList<DeviceInfo> audio =
        makeDeviceInfos(m_discovery.devices(microphoneDeviceTypes(), MediaType::audio));
    if (video != m_videoDevices) {
        m_videoDevices = video;
        emit videoDevicesChanged();
    }
    if (audio != m_audioDevices) {
        m_audioDevices = audio;
        emit audioDevicesChanged();
    }
    notifyAssignmentComplete();
}

void DeviceStore::devicesChanged() {
    if (m_refreshPending.exchange(true))
        return;
    runOn(this, [this] { update(); });
}

void DeviceStore::assign(QString& field, const QString& id, int setting,
                         void (DeviceStore::*changed)()) {
    const bool differs = field != id;
    field = id;
    m_settings.setValue(Setting(setting), id);
    if (differs)
        emit(this->*changed)();
    notifyAssignmentComplete();
}

void DeviceStore::setWideUID(const QString& id) {
    assign(m_wideUID, id, int(Setting::wideDeviceUID), &DeviceStore::wideUIDChanged);
}

void DeviceStore::setMacroUID(const QString& id) {
    assign(m_macroUID, id, int(Setting::macroDeviceUID), &DeviceStore::macroUIDChanged);
}

void DeviceStore::setMicUID(const QString& id) {
    assign(m_micUID, id, int(Setting::micDeviceUID), &DeviceStore::micUIDChanged);
}

void DeviceStore::swapWideMacro() {
    const QString oldWide = m_wideUID;
    const QString oldMacro = m_macroUID;
    setWideUID(oldMacro);
    setMacroUID(oldWide);
}

bool DeviceStore::isAssignmentComplete() const {
    auto present = [this](const QString& id) {
        for (const DeviceInfo& info : m_videoDevices)
            if (info.id == id)
                return true;
        return false;
    };
    return !m_wideUID.isEmpty() && !m_macroUID.isEmpty() && m_wideUID != m_macroUID &&
           present(m_wideUID) && present(m_macroUID);
}

void DeviceStore::notifyAssignmentComplete() {
    const bool complete = isAssignmentComplete();
    if (complete != m_lastComplete) {
        m_lastComplete = complete;
        emit assignmentCompleteChanged();
    }
}

namespace {

std::optional<QString> displayNameIn(const QList<DeviceInfo>& devices, const QString& id) {
    for (const DeviceInfo& info : devices)
        if (info.id == id)
            return info.displayName;
    return std::nullopt;
}

} // namespace

std::optional<QString> DeviceStore::videoDisplayName(const QString& id) const {
    return displayNameIn(m_videoDevices, id);
}

std::optional<QString> DeviceStore::audioDisplayName(const QString& id) const {
    return displayNameIn(m_audioDevices, id);
}

QString DeviceStore::videoDisplayNameOf(const QString& id) const {
    return videoDisplayName(id).value_or(QString());
}

QString DeviceStore::audioDisplayNameOf(const QString& id) const {
    return audioDisplayName(id).value_or(QString());
}

QVariantList DeviceStore::toVariantList(const QList<DeviceInfo>& devices) {
    QVariantList list;
    for (const DeviceInfo& info : devices)
        list.append(QVariantMap{{QStringLiteral("id"), info.id},
                                {QStringLiteral("name"), info.name},
                                {QStringLiteral("displayName"), info.displayName}});
    return list;
}
