import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// The settings: five tabs, every control writing straight to the settings or the device store.
// The tab starts at "Allgemein" each time the view is built.
//
// For the application shell (usually through SettingsWindow):
//   SettingsView {
//       devices: deviceStore; recordings: recordingsStore; settings: settingsStore
//       onSetupRequested: ...       // "didCompleteOnboarding" is already false: stop capture,
//                                   // show the setup
//       onDiagnosticsRequested: ... // open the window "ostrel-diagnostics"
//   }
Pane {
    id: view

    required property var devices    // DeviceStore
    required property var recordings // RecordingsStore
    required property var settings   // SettingsStore
    property var cameraControls: null // CameraControlKeeper
    property alias selection: tabs.currentIndex
    signal setupRequested()
    signal diagnosticsRequested()

    implicitWidth: 560
    implicitHeight: 480
    padding: 0
    palette.highlight: Theme.accent
    palette.window: Theme.background
    palette.windowText: Theme.text
    palette.base: Theme.surface
    palette.text: Theme.text
    palette.button: Theme.surface
    palette.buttonText: Theme.text
    palette.placeholderText: Theme.secondaryText
    background: Rectangle { color: Theme.background }

    SettingsController {
        id: logic
        objectName: "settingsController"
        devices: view.devices
        recordings: view.recordings
        settings: view.settings
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        TabBar {
            id: tabs
            objectName: "settingsTabs"
            Layout.fillWidth: true
            currentIndex: 0
            background: Rectangle { color: Theme.surface }
            Repeater {
                model: [
                    ["gearshape", qsTr("Allgemein")],
                    ["record.circle", qsTr("Aufnahme")],
                    ["camera", qsTr("Kameras")],
                    ["mic", qsTr("Ton")],
                    ["questionmark.circle", qsTr("Hilfe & Info")]
                ]
                delegate: TabButton {
                    id: tabButton
                    required property var modelData
                    required property int index
                    objectName: "tab" + index
                    text: modelData[1]
                    contentItem: Column {
                        spacing: 3
                        SymbolIcon {
                            anchors.horizontalCenter: parent.horizontalCenter
                            name: tabButton.modelData[0]
                            size: 20
                            color: tabButton.checked ? Theme.accent : Theme.secondaryText
                        }
                        Label {
                            anchors.horizontalCenter: parent.horizontalCenter
                            text: tabButton.text
                            font.pixelSize: 11
                            color: tabButton.checked ? Theme.accent : Theme.text
                        }
                    }
                }
            }
        }

        StackLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            currentIndex: tabs.currentIndex

            GeneralSettings {
                objectName: "generalSettings"
                settings: view.settings
                controller: logic
            }
            RecordingSettings {
                objectName: "recordingSettings"
                settings: view.settings
                recordings: view.recordings
                controller: logic
            }
            CameraSettings {
                objectName: "cameraSettings"
                settings: view.settings
                devices: view.devices
                controller: logic
                cameraControls: view.cameraControls
                onSetupRequested: view.setupRequested()
            }
            AudioSettings {
                objectName: "audioSettings"
                devices: view.devices
            }
            HelpSettings {
                objectName: "helpSettings"
                onDiagnosticsRequested: view.diagnosticsRequested()
            }
        }
    }
}
