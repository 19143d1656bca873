#pragma once

#include <QString>

#include <map>
#include <memory>
#include <mutex>

class QSettings;
class SettingsStore;

// The picture control values the user chose, per camera (by its unique id), beside the
// settings table in the same file, under "cameraControls/<id>/<control>". Reads and writes go
// straight to the file, so every store over the same file sees the others' writes; safe from
// any thread.
class CameraControlStore {
public:
    // Over the same file as `settings`.
    explicit CameraControlStore(const SettingsStore& settings);
    ~CameraControlStore();

    // Control name -> value, of the controls the user set on this camera.
    std::map<QString, int> values(const QString& uniqueID) const;
    void setValue(const QString& uniqueID, const QString& control, int value);
    // Forgets the user's values (the camera keeps its own); the first-use mark stays.
    void clearValues(const QString& uniqueID);

    // Whether the camera's first use (the power-line default from the region) is done.
    bool firstUseDone(const QString& uniqueID) const;
    void markFirstUseDone(const QString& uniqueID);

private:
    QString group(const QString& uniqueID) const;

    mutable std::mutex m_lock;
    std::unique_ptr<QSettings> m_settings;
};
