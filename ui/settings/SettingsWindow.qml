import QtQuick
import QtQuick.Window

// The settings window: one fixed-size window around SettingsView.
//
// For the application shell:
//   SettingsWindow {
//       devices: deviceStore; recordings: recordingsStore; settings: settingsStore
//       onSetupRequested: ...       // stop capture and show the setup in the main window
//       onDiagnosticsRequested: ... // open the diagnostics window
//   }
// Create it anew (or reset `view.selection` to 0) on each opening: the tab and the developer
// disclosure are not kept.
Window {
    id: window

    required property var devices    // DeviceStore
    required property var recordings // RecordingsStore
    required property var settings   // SettingsStore
    property var cameraControls: null // CameraControlKeeper
    readonly property alias view: settingsView
    signal setupRequested()
    signal diagnosticsRequested()
    signal quitRequested()

    objectName: "ostrel-settings"
    title: qsTr("Einstellungen")
    width: 560
    height: 480
    minimumWidth: 560
    maximumWidth: 560
    minimumHeight: 480
    maximumHeight: 480
    color: Theme.background

    // The menu's shortcut belongs to the main window; quitting works from here too.
    Shortcut {
        sequences: [StandardKey.Quit]
        onActivated: window.quitRequested()
    }
    // An open menu or list takes its Escape first.
    Shortcut {
        sequences: [StandardKey.Close, "Escape"]
        onActivated: window.close()
    }

    WindowPalette { target: window }

    SettingsView {
        id: settingsView
        anchors.fill: parent
        devices: window.devices
        recordings: window.recordings
        settings: window.settings
        cameraControls: window.cameraControls
        onSetupRequested: window.setupRequested()
        onDiagnosticsRequested: window.diagnosticsRequested()
    }
}
