#include "control/CameraControlKeeper.h"

#include "diagnostics/OstrelLog.h"

#include <QStringList>

#include <algorithm>

namespace {

const CameraControl* find(const std::vector<CameraControl>& controls, CameraControlId id) {
    const auto it = std::find_if(controls.begin(), controls.end(),
                                 [id](const CameraControl& c) { return c.id == id; });
    return it == controls.end() ? nullptr : &*it;
}

} // namespace

QString cameraRoleName(int role) {
    return role == 0 ? QStringLiteral("Wide") : QStringLiteral("Macro");
}

CameraControlKeeper::CameraControlKeeper(CaptureBackend& backend, const SettingsStore& settings,
                                         PowerLineFrequency regionDefault, QObject* parent)
    : QObject(parent), m_backend(backend), m_store(settings), m_regionDefault(regionDefault) {
}

void CameraControlKeeper::applyAtStart(int role, const CaptureDevice& device) {
    const auto camera = m_backend.cameraControls(device);
    if (!camera)
        return;
    const std::vector<CameraControl> offered = camera->list();
    const QString id = device.uniqueID;
    if (!m_store.firstUseDone(id)) {
        if (find(offered, CameraControlId::powerLineFrequency)) {
            const QString key = cameraControlKey(CameraControlId::powerLineFrequency);
            if (!m_store.values(id).contains(key))
                m_store.setValue(id, key, int(m_regionDefault));
            logFromAnyThread(LogLevel::info,
                             QStringLiteral("Kamera %1: Netzfrequenz der Region: %2 Hz")
                                 .arg(cameraRoleName(role))
                                 .arg(m_regionDefault == PowerLineFrequency::hz60 ? 60 : 50));
        }
        m_store.markFirstUseDone(id);
    }

    const std::map<QString, int> stored = m_store.values(id);
    std::map<CameraControlId, int> effective; // the value each control has after this
    for (const CameraControl& control : offered)
        effective[control.id] = control.value;
    QStringList applied;
    for (const CameraControl& control : offered) {
        const auto wanted = stored.find(cameraControlKey(control.id));
        if (wanted == stored.end())
            continue;
        // A manual value waits while its automatic mode stays on.
        if (const auto automatic = automaticSwitchOf(control.id);
            automatic && effective.contains(*automatic) && effective[*automatic] == 1)
            continue;
        if (control.value != wanted->second) {
            if (const auto error = camera->set(control.id, wanted->second)) {
                warnOnce(role, control.id, *error);
                continue;
            }
        }
        effective[control.id] = wanted->second;
        applied << QStringLiteral("%1=%2").arg(cameraControlKey(control.id)).arg(wanted->second);
    }
    if (!applied.isEmpty())
        logFromAnyThread(LogLevel::info, QStringLiteral("Kamera %1: Bildregler gesetzt (%2)")
                                             .arg(cameraRoleName(role), applied.join(u", ")));
}

std::vector<CameraControl> CameraControlKeeper::controls(const CaptureDevice& device) {
    const auto camera = m_backend.cameraControls(device);
    return camera ? camera->list() : std::vector<CameraControl>{};
}

std::optional<QString> CameraControlKeeper::set(int role, const CaptureDevice& device,
                                                CameraControlId id, int value) {
    const auto camera = m_backend.cameraControls(device);
    std::optional<QString> error =
        camera ? camera->set(id, value) : std::optional<QString>(QStringLiteral("Gerät getrennt"));
    if (error) {
        warnOnce(role, id, *error);
        return error;
    }
    m_store.setValue(device.uniqueID, cameraControlKey(id), value);
    return std::nullopt;
}

void CameraControlKeeper::resetToDefaults(int role, const CaptureDevice& device) {
    m_store.clearValues(device.uniqueID);
    const auto camera = m_backend.cameraControls(device);
    if (!camera)
        return;
    const std::vector<CameraControl> offered = camera->list();
    for (const CameraControl& control : offered) {
        // A manual value is left alone when its automatic mode comes back on.
        if (const auto automatic = automaticSwitchOf(control.id))
            if (const CameraControl* other = find(offered, *automatic);
                other && other->defaultValue == 1)
                continue;
        if (control.value != control.defaultValue)
            if (const auto error = camera->set(control.id, control.defaultValue))
                warnOnce(role, control.id, *error);
    }
    logFromAnyThread(LogLevel::info,
                     QStringLiteral("Kamera %1: Bildregler auf Kamerawerte zurückgesetzt")
                         .arg(cameraRoleName(role)));
}

void CameraControlKeeper::warnOnce(int role, CameraControlId id, const QString& reason) {
    {
        std::lock_guard guard(m_lock);
        if (!m_warned.insert({role, id}).second)
            return;
    }
    logFromAnyThread(LogLevel::warn, QStringLiteral("Kamera %1: Regler „%2“ nicht gesetzt: %3")
                                         .arg(cameraRoleName(role), cameraControlKey(id), reason));
}
