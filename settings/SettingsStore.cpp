#include "settings/SettingsStore.h"

#include <QMetaProperty>
#include <QSettings>

#include <mutex>

namespace {

// The recording folder's key of earlier versions, named after the sandbox bookmark it held.
constexpr char legacyFolderKey[] = "recordingFolderBookmark";

} // namespace

SettingsStore::SettingsStore(QObject* parent)
    : QObject(parent),
      m_settings(std::make_unique<QSettings>(QStringLiteral("ostrel"), QStringLiteral("ostrel"))) {
    moveLegacyKeys();
    loadAll();
}

SettingsStore::SettingsStore(const QString& iniPath, QObject* parent)
    : QObject(parent), m_settings(std::make_unique<QSettings>(iniPath, QSettings::IniFormat)) {
    moveLegacyKeys();
    loadAll();
}

SettingsStore::~SettingsStore() = default;

void SettingsStore::moveLegacyKeys() {
    // Read once: the value moves to the new key (unless that one is already set) and the old
    // key is deleted, so a later change of folder is never undone by a stale copy.
    const QString legacy = QLatin1String(legacyFolderKey);
    if (!m_settings->contains(legacy))
        return;
    const QString key = QLatin1String(settingSpec(Setting::recordingFolderPath).key);
    if (!m_settings->contains(key))
        m_settings->setValue(key, m_settings->value(legacy));
    m_settings->remove(legacy);
}

void SettingsStore::loadAll() {
    std::unique_lock lock(m_lock);
    for (int i = 0; i < settingCount; ++i) {
        const SettingSpec& spec = settingSpec(Setting(i));
        const QVariant stored = m_settings->value(QLatin1String(spec.key));
        m_values[size_t(i)] = coerceSettingValue(spec.type, stored).value_or(QVariant());
    }
}

QVariant SettingsStore::value(Setting setting) const {
    {
        std::shared_lock lock(m_lock);
        const QVariant& stored = m_values[size_t(setting)];
        if (stored.isValid())
            return stored;
    }
    return settingSpec(setting).defaultValue;
}

bool SettingsStore::contains(Setting setting) const {
    std::shared_lock lock(m_lock);
    return m_values[size_t(setting)].isValid();
}

bool SettingsStore::setValue(Setting setting, const QVariant& newValue) {
    const SettingSpec& spec = settingSpec(setting);
    QVariant typed = newValue;
    // QML hands numbers over as doubles and texts as strings; convert them to the key's type.
    if (spec.type == SettingType::boolean && newValue.typeId() != QMetaType::Bool)
        return false;
    if (spec.type == SettingType::integer && newValue.canConvert<int>() &&
        newValue.typeId() != QMetaType::QString)
        typed = QVariant(newValue.toInt());
    if (spec.type == SettingType::bytes && newValue.typeId() == QMetaType::QString)
        return false;
    const auto coerced = coerceSettingValue(spec.type, typed);
    if (!coerced)
        return false;

    bool changed = false;
    {
        std::unique_lock lock(m_lock);
        QVariant& slot = m_values[size_t(setting)];
        changed = !slot.isValid() || slot != *coerced;
        slot = *coerced;
    }
    m_settings->setValue(QLatin1String(spec.key), *coerced);
    if (changed)
        notify(setting);
    return true;
}

void SettingsStore::remove(Setting setting) {
    bool wasPresent = false;
    {
        std::unique_lock lock(m_lock);
        wasPresent = m_values[size_t(setting)].isValid();
        m_values[size_t(setting)] = QVariant();
    }
    m_settings->remove(QLatin1String(settingSpec(setting).key));
    if (wasPresent)
        notify(setting);
}

void SettingsStore::sync() {
    m_settings->sync();
}

std::unique_ptr<QSettings> SettingsStore::openSameFile() const {
    return std::make_unique<QSettings>(m_settings->fileName(), m_settings->format());
}

void SettingsStore::notify(Setting setting) {
    // Every key is a property of the same name; its NOTIFY signal tells QML bindings.
    const QMetaObject* meta = metaObject();
    const int index = meta->indexOfProperty(settingSpec(setting).key);
    if (index >= 0)
        meta->property(index).notifySignal().invoke(this);
    emit settingChanged(setting);
}
