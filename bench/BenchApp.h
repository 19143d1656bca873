#pragma once

#include "app/AppShell.h"
#include "app/SceneGraphChoice.h"
#include "bench/BenchWait.h"
#include "capture/virtual/VirtualBackend.h"
#include "capture/virtual/VirtualDevices.h"
#include "control/CameraManager.h"
#include "settings/SettingsStore.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>

// A home folder of the run's own, so no user's settings or recordings are touched: made before
// the application, which reads HOME and XDG_CONFIG_HOME.
struct BenchHome {
    QTemporaryDir dir;

    BenchHome() {
        qputenv("HOME", dir.path().toUtf8());
        qputenv("XDG_CONFIG_HOME", (dir.path() + QStringLiteral("/.config")).toUtf8());
    }
    QString path() const { return dir.path(); }
};

// The app on the virtual pair with settings as after the first-run setup, recording into
// `folder`; with `recording`, also the microphone and the stabiliser, as a recording in
// practice has them.
class BenchApp {
public:
    BenchApp(const BenchHome& home, const QString& folder, bool recording)
        : m_settings(home.dir.filePath(QStringLiteral("ostrel.ini"))) {
        m_settings.setValue(Setting::didCompleteOnboarding, true);
        m_settings.setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
        m_settings.setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
        if (recording) {
            m_settings.setValue(Setting::micDeviceUID, VirtualDevices::microphoneID);
            m_settings.setValue(Setting::stabilizeMacro, true);
        }
        m_settings.setValue(Setting::recordingFolderPath, folder.toUtf8());
        chooseSceneGraph(); // as the app does
        m_shell = std::make_unique<AppShell>(m_settings, m_backend);
        m_engine = std::make_unique<QQmlApplicationEngine>();
    }

    AppShell& shell() { return *m_shell; }
    CameraManager& camera() { return m_shell->camera(); }
    VirtualBackend& backend() { return m_backend; }

    // The main window at 1920 × 1080; null (said on stdout) when it does not load.
    QQuickWindow* loadWindow() {
        if (m_shell->load(*m_engine)) {
            std::printf("main window did not load\n");
            return nullptr;
        }
        auto* window = qobject_cast<QQuickWindow*>(m_engine->rootObjects().first());
        window->resize(1920, 1080);
        return window;
    }

private:
    SettingsStore m_settings;
    VirtualBackend m_backend;
    std::unique_ptr<AppShell> m_shell;
    std::unique_ptr<QQmlApplicationEngine> m_engine; // goes first, then the shell
};

// Waits until both virtual cameras are live and the first frames and the stabiliser's plans
// have settled; false (said on stdout) when they do not go live.
inline bool waitUntilSettled(CameraManager& cam) {
    if (!waitFor([&] { return cam.status() == CameraStatus::live; }, 30000)) {
        std::printf("cameras did not go live\n");
        return false;
    }
    waitFor([] { return false; }, 3000);
    return true;
}
