#pragma once

#include "devices/DeviceStore.h"
#include "settings/SettingsStore.h"
#include "storage/RecordingsStore.h"

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

// One row of the stabiliser tuning: its label, the setting it writes, range and step. The
// default is the setting's own.
struct StabilizerTuningRow {
    const char* label; // German, translated by the controller
    Setting setting;
    double from;
    double to;
    double step;
    int decimals; // how the value is shown beside its slider
};
const std::array<StabilizerTuningRow, 4>& stabilizerTuningRows();

// What the settings window shows beyond plain bindings to the stores: the appearance as the
// shell applies it, the same-camera warning, the folder row, the tuning rows and their reset.
// Every write goes straight to the settings or the device store.
class SettingsController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(DeviceStore* devices READ devices WRITE setDevices NOTIFY storesChanged)
    Q_PROPERTY(RecordingsStore* recordings READ recordings WRITE setRecordings NOTIFY storesChanged)
    Q_PROPERTY(SettingsStore* settings READ settings WRITE setSettings NOTIFY storesChanged)
    Q_PROPERTY(int appearance READ appearance WRITE setAppearance NOTIFY appearanceChanged)
    Q_PROPERTY(QStringList appearanceLabels READ appearanceLabels CONSTANT)
    Q_PROPERTY(bool sameCamera READ sameCamera NOTIFY assignmentChanged)
    Q_PROPERTY(bool folderSet READ folderSet NOTIFY folderChanged)
    Q_PROPERTY(QVariantList tuningRows READ tuningRows CONSTANT)

public:
    explicit SettingsController(QObject* parent = nullptr);

    DeviceStore* devices() const { return m_devices; }
    void setDevices(DeviceStore* devices);
    RecordingsStore* recordings() const { return m_recordings; }
    void setRecordings(RecordingsStore* recordings);
    SettingsStore* settings() const { return m_settings; }
    void setSettings(SettingsStore* settings);

    // 0 system, 1 light, 2 dark; a stored value the shell does not know shows as system.
    int appearance() const;
    void setAppearance(int mode);
    QStringList appearanceLabels() const;
    bool sameCamera() const;
    bool folderSet() const;
    // {label, key, from, to, step, defaultValue} per tuning row.
    QVariantList tuningRows() const;

    // Writes the four stabiliser defaults.
    Q_INVOKABLE void resetStabilizer();

signals:
    void storesChanged();
    void appearanceChanged();
    void assignmentChanged();
    void folderChanged();

private:
    QPointer<DeviceStore> m_devices;
    QPointer<RecordingsStore> m_recordings;
    QPointer<SettingsStore> m_settings;
};
