#include "settings/CameraControlStore.h"

#include "settings/SettingsStore.h"

#include <QSettings>
#include <QUrl>

namespace {

constexpr char firstUseKey[] = "_firstUseDone";

} // namespace

CameraControlStore::CameraControlStore(const SettingsStore& settings)
    : m_settings(settings.openSameFile()) {
}

CameraControlStore::~CameraControlStore() = default;

QString CameraControlStore::group(const QString& uniqueID) const {
    // Ids hold '/' and ':' (USB port paths); one group per camera all the same.
    return QStringLiteral("cameraControls/") +
           QString::fromLatin1(QUrl::toPercentEncoding(uniqueID));
}

std::map<QString, int> CameraControlStore::values(const QString& uniqueID) const {
    std::lock_guard guard(m_lock);
    std::map<QString, int> values;
    m_settings->beginGroup(group(uniqueID));
    for (const QString& key : m_settings->childKeys()) {
        bool ok = false;
        const int value = m_settings->value(key).toInt(&ok);
        if (ok && key != QLatin1String(firstUseKey))
            values[key] = value;
    }
    m_settings->endGroup();
    return values;
}

void CameraControlStore::setValue(const QString& uniqueID, const QString& control, int value) {
    std::lock_guard guard(m_lock);
    m_settings->setValue(group(uniqueID) + u'/' + control, value);
    m_settings->sync();
}

void CameraControlStore::clearValues(const QString& uniqueID) {
    std::lock_guard guard(m_lock);
    m_settings->beginGroup(group(uniqueID));
    for (const QString& key : m_settings->childKeys())
        if (key != QLatin1String(firstUseKey))
            m_settings->remove(key);
    m_settings->endGroup();
    m_settings->sync();
}

bool CameraControlStore::firstUseDone(const QString& uniqueID) const {
    std::lock_guard guard(m_lock);
    return m_settings->value(group(uniqueID) + u'/' + QLatin1String(firstUseKey)).toBool();
}

void CameraControlStore::markFirstUseDone(const QString& uniqueID) {
    std::lock_guard guard(m_lock);
    m_settings->setValue(group(uniqueID) + u'/' + QLatin1String(firstUseKey), true);
    m_settings->sync();
}
