#pragma once

#include "control/CameraControlKeeper.h"

#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <map>
#include <memory>
#include <mutex>

class SerialQueue;

// The picture controls of one camera role (Wide or Macro) for the settings window: what the
// assigned camera offers, with German labels, and its current values. Every change goes to the
// camera at once and is kept for the camera; what the camera refuses comes back as its own
// value. The device is reached on a queue of its own, so the window never waits for a camera.
class CameraControlsController : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject* keeper READ keeper WRITE setKeeper NOTIFY keeperChanged)
    Q_PROPERTY(int role READ role WRITE setRole NOTIFY roleChanged)
    Q_PROPERTY(QString deviceID READ deviceID WRITE setDeviceID NOTIFY deviceIDChanged)
    // One row per control the camera offers: {key, label, kind ("toggle", "range", "choice"),
    // minimum, maximum, step, keyStep, defaultValue, choices: [{value, label}]}.
    Q_PROPERTY(QVariantList controls READ controls NOTIFY controlsChanged)
    // Control key -> the camera's value, and -> whether it is inactive (automatic mode on).
    Q_PROPERTY(QVariantMap values READ values NOTIFY valuesChanged)
    Q_PROPERTY(QVariantMap inactive READ inactive NOTIFY valuesChanged)

public:
    explicit CameraControlsController(QObject* parent = nullptr);
    ~CameraControlsController() override;

    QObject* keeper() const { return m_keeper; }
    void setKeeper(QObject* keeper);
    int role() const { return m_role; }
    void setRole(int role);
    QString deviceID() const { return m_deviceID; }
    void setDeviceID(const QString& id);
    QVariantList controls() const { return m_controls; }
    QVariantMap values() const { return m_values; }
    QVariantMap inactive() const { return m_inactive; }

    // German label of a control ("Belichtung").
    static QString label(CameraControlId id);

    Q_INVOKABLE void refresh();
    Q_INVOKABLE void setValue(const QString& key, int value);
    Q_INVOKABLE void resetToDefaults();

signals:
    void keeperChanged();
    void roleChanged();
    void deviceIDChanged();
    void controlsChanged();
    void valuesChanged();

private:
    // Runs `work` on the queue with the keeper and device of now, then shows the camera's state.
    void onQueue(std::function<void(CameraControlKeeper&, const CaptureDevice&)> work);
    void show(const std::vector<CameraControl>& controls);

    QPointer<CameraControlKeeper> m_keeper;
    int m_role = 0;
    QString m_deviceID;
    QVariantList m_controls;
    QVariantMap m_values;
    QVariantMap m_inactive;
    std::mutex m_pendingLock;
    std::map<CameraControlId, int> m_pending; // the newest value of each change not yet made
    // Last: joined first, so no queued work outlives the rest.
    std::unique_ptr<SerialQueue> m_queue;
};
