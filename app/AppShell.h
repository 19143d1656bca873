#pragma once

#include <QObject>

#include <QString>
#include <functional>

#include <memory>
#include <optional>

class CameraControlKeeper;
class CameraManager;
class CaptureBackend;
class CaptureBackendHandle;
class DesktopColorScheme;
class DeviceStore;
class DiagnosticsActions;
class LogListModel;
class AppController;
class QQmlApplicationEngine;
class RecordingsStore;
class SettingsStore;

// The objects that live as long as the application, made in start-up order and handed to the
// windows: settings, capture backend, device inventory, recording folder, the cameras' picture
// controls, camera manager,
// the quit delegate, the diagnostics window's model and the desktop's colour scheme.
class AppShell {
public:
    // `terminate` ends the application (QCoreApplication::exit when empty).
    AppShell(SettingsStore& settings, CaptureBackend& backend,
             std::function<void()> terminate = {});
    ~AppShell();

    // Loads the main window; the error text when it could not be created.
    std::optional<QString> load(QQmlApplicationEngine& engine);

    DeviceStore& devices() { return *m_devices; }
    RecordingsStore& recordings() { return *m_recordings; }
    CameraManager& camera() { return *m_camera; }
    AppController& controller() { return *m_controller; }
    // Follows the session bus's settings portal from the start.
    DesktopColorScheme& colorScheme() { return *m_colorScheme; }

private:
    SettingsStore& m_settings;
    CaptureBackend& m_backend;
    std::unique_ptr<DeviceStore> m_devices;
    std::unique_ptr<RecordingsStore> m_recordings;
    std::unique_ptr<CaptureBackendHandle> m_backendHandle;
    std::unique_ptr<CameraControlKeeper> m_cameraControls;
    std::unique_ptr<CameraManager> m_camera;
    std::unique_ptr<AppController> m_controller;
    std::unique_ptr<LogListModel> m_logModel;
    std::unique_ptr<DiagnosticsActions> m_diagnostics;
    std::unique_ptr<DesktopColorScheme> m_colorScheme;
};
