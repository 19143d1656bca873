#include "CameraControlsController.h"

#include "runtime/MainThread.h"
#include "runtime/SerialQueue.h"

#include <algorithm>

namespace {

QString kindName(CameraControlKind kind) {
    switch (kind) {
    case CameraControlKind::toggle:
        return QStringLiteral("toggle");
    case CameraControlKind::choice:
        return QStringLiteral("choice");
    case CameraControlKind::range:
        break;
    }
    return QStringLiteral("range");
}

QString powerLineLabel(int value) {
    switch (PowerLineFrequency(value)) {
    case PowerLineFrequency::off:
        return CameraControlsController::tr("Aus");
    case PowerLineFrequency::hz50:
        return CameraControlsController::tr("50 Hz");
    case PowerLineFrequency::hz60:
        return CameraControlsController::tr("60 Hz");
    case PowerLineFrequency::automatic:
        return CameraControlsController::tr("Automatisch");
    }
    return QString::number(value);
}

} // namespace

CameraControlsController::CameraControlsController(QObject* parent)
    : QObject(parent), m_queue(std::make_unique<SerialQueue>("com.ostrel.camera.controls")) {
}

CameraControlsController::~CameraControlsController() {
    m_queue.reset();
}

QString CameraControlsController::label(CameraControlId id) {
    switch (id) {
    case CameraControlId::powerLineFrequency:
        return tr("Netzfrequenz");
    case CameraControlId::exposureAuto:
        return tr("Automatische Belichtung");
    case CameraControlId::exposure:
        return tr("Belichtung");
    case CameraControlId::whiteBalanceAuto:
        return tr("Automatischer Weißabgleich");
    case CameraControlId::whiteBalanceTemperature:
        return tr("Farbtemperatur");
    case CameraControlId::focusAuto:
        return tr("Autofokus");
    case CameraControlId::focus:
        return tr("Fokus");
    case CameraControlId::brightness:
        return tr("Helligkeit");
    case CameraControlId::contrast:
        return tr("Kontrast");
    case CameraControlId::saturation:
        return tr("Sättigung");
    case CameraControlId::sharpness:
        return tr("Schärfe");
    }
    return cameraControlKey(id);
}

void CameraControlsController::setKeeper(QObject* keeper) {
    auto* typed = qobject_cast<CameraControlKeeper*>(keeper);
    if (typed == m_keeper)
        return;
    m_keeper = typed;
    emit keeperChanged();
    refresh();
}

void CameraControlsController::setRole(int role) {
    if (role == m_role)
        return;
    m_role = role;
    emit roleChanged();
}

void CameraControlsController::setDeviceID(const QString& id) {
    if (id == m_deviceID)
        return;
    m_deviceID = id;
    emit deviceIDChanged();
    refresh();
}

void CameraControlsController::onQueue(
    std::function<void(CameraControlKeeper&, const CaptureDevice&)> work) {
    if (!m_keeper || m_deviceID.isEmpty()) {
        show({});
        return;
    }
    CameraControlKeeper* keeper = m_keeper.data(); // lives as long as the application
    CaptureDevice device{m_deviceID, QString(), DeviceType::external};
    m_queue->async([this, keeper, device, work = std::move(work)] {
        if (work)
            work(*keeper, device);
        std::vector<CameraControl> now = keeper->controls(device);
        runOn(this, [this, id = device.uniqueID, now = std::move(now)] {
            if (id == m_deviceID)
                show(now);
        });
    });
}

void CameraControlsController::refresh() {
    onQueue({});
}

void CameraControlsController::setValue(const QString& key, int value) {
    const auto id = cameraControlFromKey(key);
    if (!id)
        return;
    {
        // While a drag outruns the camera, only its newest value is sent.
        std::lock_guard guard(m_pendingLock);
        const bool queued = m_pending.contains(*id);
        m_pending[*id] = value;
        if (queued)
            return;
    }
    onQueue(
        [this, id = *id, role = m_role](CameraControlKeeper& keeper, const CaptureDevice& device) {
            int newest = 0;
            {
                std::lock_guard guard(m_pendingLock);
                newest = m_pending[id];
                m_pending.erase(id);
            }
            keeper.set(role, device, id, newest);
        });
}

void CameraControlsController::resetToDefaults() {
    onQueue([role = m_role](CameraControlKeeper& keeper, const CaptureDevice& device) {
        keeper.resetToDefaults(role, device);
    });
}

void CameraControlsController::show(const std::vector<CameraControl>& controls) {
    QVariantList rows;
    QVariantMap values;
    QVariantMap inactive;
    for (const CameraControl& control : controls) {
        const QString key = cameraControlKey(control.id);
        QVariantList choices;
        for (int choice : control.choices)
            choices << QVariantMap{{QStringLiteral("value"), choice},
                                   {QStringLiteral("label"), powerLineLabel(choice)}};
        // Arrow keys move a slider by about a fiftieth of its range, in the camera's steps.
        const int span = control.maximum - control.minimum;
        const int keyStep = std::max(control.step, span / 50 / control.step * control.step);
        rows << QVariantMap{{QStringLiteral("key"), key},
                            {QStringLiteral("label"), label(control.id)},
                            {QStringLiteral("kind"), kindName(control.kind)},
                            {QStringLiteral("minimum"), control.minimum},
                            {QStringLiteral("maximum"), control.maximum},
                            {QStringLiteral("step"), control.step},
                            {QStringLiteral("keyStep"), keyStep},
                            {QStringLiteral("defaultValue"), control.defaultValue},
                            {QStringLiteral("choices"), choices}};
        values[key] = control.value;
        inactive[key] = control.inactive;
    }
    if (rows != m_controls) {
        m_controls = rows;
        emit controlsChanged();
    }
    m_values = values;
    m_inactive = inactive;
    // Also when nothing changed: a refused value brings the slider back to the camera's.
    emit valuesChanged();
}
