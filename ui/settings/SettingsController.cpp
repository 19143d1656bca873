#include "ui/settings/SettingsController.h"

#include "devices/AssignmentRules.h"
#include "settings/AppearanceMode.h"

#include <QCoreApplication>

const std::array<StabilizerTuningRow, 4>& stabilizerTuningRows() {
    static const std::array<StabilizerTuningRow, 4> rows{{
        {QT_TRANSLATE_NOOP("SettingsController", "Stärke"), Setting::stabGain, 0.0, 8.0, 0.1, 1},
        {QT_TRANSLATE_NOOP("SettingsController", "Glättung"), Setting::stabSmoothing, 0.7, 0.985,
         0.005, 3},
        {QT_TRANSLATE_NOOP("SettingsController", "Crop"), Setting::stabCropZoom, 1.0, 1.35, 0.01,
         2},
        {QT_TRANSLATE_NOOP("SettingsController", "Vorhersage"), Setting::stabLead, 0.0, 1.5, 0.05,
         2},
    }};
    return rows;
}

SettingsController::SettingsController(QObject* parent) : QObject(parent) {
}

void SettingsController::setDevices(DeviceStore* devices) {
    if (devices == m_devices)
        return;
    if (m_devices)
        disconnect(m_devices, nullptr, this, nullptr);
    m_devices = devices;
    if (devices) {
        connect(devices, &DeviceStore::wideUIDChanged, this,
                &SettingsController::assignmentChanged);
        connect(devices, &DeviceStore::macroUIDChanged, this,
                &SettingsController::assignmentChanged);
    }
    emit storesChanged();
    emit assignmentChanged();
}

void SettingsController::setRecordings(RecordingsStore* recordings) {
    if (recordings == m_recordings)
        return;
    if (m_recordings)
        disconnect(m_recordings, nullptr, this, nullptr);
    m_recordings = recordings;
    if (recordings)
        connect(recordings, &RecordingsStore::folderURLChanged, this,
                &SettingsController::folderChanged);
    emit storesChanged();
    emit folderChanged();
}

void SettingsController::setSettings(SettingsStore* settings) {
    if (settings == m_settings)
        return;
    if (m_settings)
        disconnect(m_settings, nullptr, this, nullptr);
    m_settings = settings;
    if (settings)
        connect(settings, &SettingsStore::appearanceModeChanged, this,
                &SettingsController::appearanceChanged);
    emit storesChanged();
    emit appearanceChanged();
}

int SettingsController::appearance() const {
    return m_settings ? int(effectiveAppearanceMode(m_settings->appearanceMode())) : 0;
}

void SettingsController::setAppearance(int mode) {
    if (m_settings && appearanceModeFromValue(mode))
        m_settings->setAppearanceMode(mode);
}

QStringList SettingsController::appearanceLabels() const {
    QStringList labels;
    for (AppearanceMode mode : allAppearanceModes)
        labels << appearanceModeLabel(mode);
    return labels;
}

bool SettingsController::sameCamera() const {
    return m_devices && sameCameraChosen(m_devices->wideUID(), m_devices->macroUID());
}

bool SettingsController::folderSet() const {
    return m_recordings && !m_recordings->folderURL().isEmpty();
}

QVariantList SettingsController::tuningRows() const {
    QVariantList rows;
    for (const StabilizerTuningRow& row : stabilizerTuningRows())
        rows << QVariantMap{
            {QStringLiteral("label"), QCoreApplication::translate("SettingsController", row.label)},
            {QStringLiteral("key"), QString::fromLatin1(settingSpec(row.setting).key)},
            {QStringLiteral("from"), row.from},
            {QStringLiteral("to"), row.to},
            {QStringLiteral("step"), row.step},
            {QStringLiteral("decimals"), row.decimals},
            {QStringLiteral("defaultValue"), settingSpec(row.setting).defaultValue}};
    return rows;
}

void SettingsController::resetStabilizer() {
    if (!m_settings)
        return;
    for (const StabilizerTuningRow& row : stabilizerTuningRows())
        m_settings->setValue(row.setting, settingSpec(row.setting).defaultValue);
}
