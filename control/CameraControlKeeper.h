#pragma once

#include "capture/CaptureBackend.h"
#include "settings/CameraControlStore.h"

#include <QObject>

#include <mutex>
#include <set>

class SettingsStore;

// Keeps each camera's picture controls as the user set them: stores every change under the
// camera's unique id and applies the stored values whenever the camera starts. On a camera's
// first use it sets the power-line frequency of the user's region; nothing else is changed
// until the user does. A refused control is reported once per control and role. Safe from any
// thread; its calls may wait on the device, so keep them off the main thread.
class CameraControlKeeper : public QObject {
    Q_OBJECT

public:
    CameraControlKeeper(CaptureBackend& backend, const SettingsStore& settings,
                        PowerLineFrequency regionDefault, QObject* parent = nullptr);

    // After camera `role` (0 Wide, 1 Macro) started streaming, its format set.
    void applyAtStart(int role, const CaptureDevice& device);
    // The camera's controls now; empty when it is gone or offers none.
    std::vector<CameraControl> controls(const CaptureDevice& device);
    // Sets the control and stores the value; the camera's reason when it refuses.
    std::optional<QString> set(int role, const CaptureDevice& device, CameraControlId id,
                               int value);
    // Every control back to the camera's own default; the stored values are forgotten.
    void resetToDefaults(int role, const CaptureDevice& device);

    PowerLineFrequency regionDefault() const { return m_regionDefault; }

private:
    void warnOnce(int role, CameraControlId id, const QString& reason);

    CaptureBackend& m_backend;
    CameraControlStore m_store;
    const PowerLineFrequency m_regionDefault;
    std::mutex m_lock;
    std::set<std::pair<int, CameraControlId>> m_warned;
};

// "Wide" or "Macro", as every camera message names it.
QString cameraRoleName(int role);
