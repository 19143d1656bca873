#pragma once

#include "devices/DeviceInfo.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QVariant>

#include <atomic>
#include <optional>

class DeviceDiscovery;
class SettingsStore;

// The cameras and microphones that are present, with names the user can tell apart, and the
// persisted assignment of Wide, Macro and microphone. Main thread only, except `devicesChanged`.
class DeviceStore : public QObject {
    Q_OBJECT
    // For QML: lists of {id, name, displayName}.
    Q_PROPERTY(QVariantList videoDevices READ videoDeviceList NOTIFY videoDevicesChanged)
    Q_PROPERTY(QVariantList audioDevices READ audioDeviceList NOTIFY audioDevicesChanged)
    Q_PROPERTY(QString wideUID READ wideUID WRITE setWideUID NOTIFY wideUIDChanged)
    Q_PROPERTY(QString macroUID READ macroUID WRITE setMacroUID NOTIFY macroUIDChanged)
    Q_PROPERTY(QString micUID READ micUID WRITE setMicUID NOTIFY micUIDChanged)
    Q_PROPERTY(bool assignmentComplete READ isAssignmentComplete NOTIFY assignmentCompleteChanged)

public:
    // Reads the assignment, fills both lists and follows the discovery's change notifications.
    DeviceStore(DeviceDiscovery& discovery, SettingsStore& settings, QObject* parent = nullptr);

    const QList<DeviceInfo>& videoDevices() const { return m_videoDevices; }
    const QList<DeviceInfo>& audioDevices() const { return m_audioDevices; }
    QString wideUID() const { return m_wideUID; }
    QString macroUID() const { return m_macroUID; }
    QString micUID() const { return m_micUID; }

    void setWideUID(const QString& id);
    void setMacroUID(const QString& id);
    void setMicUID(const QString& id);

    // Shows the discovery's kept listing and asks it for a new one (which follows by itself).
    Q_INVOKABLE void refresh();
    // Any thread: schedules an update from the kept listing on the main thread. Several
    // notifications in a row (a burst of hot-plug events) lead to one update.
    void devicesChanged();

    Q_INVOKABLE void swapWideMacro();
    bool isAssignmentComplete() const;

    std::optional<QString> videoDisplayName(const QString& id) const;
    std::optional<QString> audioDisplayName(const QString& id) const;
    // For QML: the display name, or an empty text when no present device has that id.
    Q_INVOKABLE QString videoDisplayNameOf(const QString& id) const;
    Q_INVOKABLE QString audioDisplayNameOf(const QString& id) const;

    int refreshCount() const { return m_refreshCount; }

private:
    void update();

public:
signals:
    void videoDevicesChanged();
    void audioDevicesChanged();
    void wideUIDChanged();
    void macroUIDChanged();
    void micUIDChanged();
    void assignmentCompleteChanged();

private:
    QVariantList videoDeviceList() const { return toVariantList(m_videoDevices); }
    QVariantList audioDeviceList() const { return toVariantList(m_audioDevices); }
    static QVariantList toVariantList(const QList<DeviceInfo>& devices);
    void assign(QString& field, const QString& id, int setting, void (DeviceStore::*changed)());
    void notifyAssignmentComplete();

    DeviceDiscovery& m_discovery;
    SettingsStore& m_settings;
    QList<DeviceInfo> m_videoDevices;
    QList<DeviceInfo> m_audioDevices;
    QString m_wideUID;
    QString m_macroUID;
    QString m_micUID;
    bool m_lastComplete = false;
    int m_refreshCount = 0;
    std::atomic<bool> m_refreshPending{false};
};
