#pragma once

#include "app/AppShell.h"
#include "bench/BenchWait.h"
#include "capture/virtual/VirtualDevices.h"
#include "control/CameraManager.h"
#include "settings/SettingsStore.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <cstdio>

// Settings as after the first-run setup on the virtual pair, recording into `folder`; with
// `recording`, also the microphone and the stabiliser, as a recording in practice has them.
inline void onboardVirtualPair(SettingsStore& settings, const QString& folder, bool recording) {
    settings.setValue(Setting::didCompleteOnboarding, true);
    settings.setValue(Setting::wideDeviceUID, VirtualDevices::camera1ID);
    settings.setValue(Setting::macroDeviceUID, VirtualDevices::camera2ID);
    if (recording) {
        settings.setValue(Setting::micDeviceUID, VirtualDevices::microphoneID);
        settings.setValue(Setting::stabilizeMacro, true);
    }
    settings.setValue(Setting::recordingFolderPath, folder.toUtf8());
}

// The app's main window loaded into `engine` at 1920 × 1080; null (said on stdout) when it
// does not load.
inline QQuickWindow* loadMainWindow(AppShell& shell, QQmlApplicationEngine& engine) {
    if (shell.load(engine)) {
        std::printf("main window did not load\n");
        return nullptr;
    }
    auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    window->resize(1920, 1080);
    return window;
}

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
