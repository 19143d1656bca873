import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Settings tab "Kameras": Wide/Macro assignment with each camera's picture controls,
// stabilisation, running the setup again and
// the developer options. The device lists are re-read whenever the tab is shown.
SettingsTab {
    id: tab

    required property var settings   // SettingsStore
    required property var devices    // DeviceStore
    required property var controller // SettingsController
    property var cameraControls: null // CameraControlKeeper; none: no picture controls
    property bool showDeveloper: false
    signal setupRequested()

    onVisibleChanged: if (visible) tab.devices.refresh()
    Component.onCompleted: if (visible) tab.devices.refresh()

    SettingsSection {
        title: qsTr("Zuordnung")
        GridLayout {
            columns: 2
            columnSpacing: 12
            rowSpacing: 8
            Layout.fillWidth: true
            Label { text: qsTr("Wide (Übersicht)"); color: Theme.text }
            DevicePicker {
                objectName: "widePicker"
                Layout.fillWidth: true
                devices: tab.devices.videoDevices
                selectedID: tab.devices.wideUID
                onChosen: id => tab.devices.wideUID = id
            }
            CameraControlsPanel {
                objectName: "wideControls"
                Layout.columnSpan: 2
                Layout.fillWidth: true
                keeper: tab.cameraControls
                role: 0
                deviceID: tab.devices.wideUID
            }
            Label { text: qsTr("Macro (Nahaufnahme)"); color: Theme.text }
            DevicePicker {
                objectName: "macroPicker"
                Layout.fillWidth: true
                devices: tab.devices.videoDevices
                selectedID: tab.devices.macroUID
                onChosen: id => tab.devices.macroUID = id
            }
            CameraControlsPanel {
                objectName: "macroControls"
                Layout.columnSpan: 2
                Layout.fillWidth: true
                keeper: tab.cameraControls
                role: 1
                deviceID: tab.devices.macroUID
            }
        }
        Button {
            objectName: "swapButton"
            text: qsTr("Wide ↔ Macro tauschen")
            onClicked: tab.devices.swapWideMacro()
        }
        RowLayout {
            objectName: "sameCameraWarning"
            visible: tab.controller.sameCamera
            spacing: 6
            SymbolIcon { name: "exclamationmark.triangle"; size: 14; color: Theme.warning }
            Label {
                text: qsTr("Wide und Macro sind dieselbe Kamera.")
                font.pixelSize: 12
                color: Theme.warning
            }
        }
    }

    SettingsSection {
        title: qsTr("Bild")
        Switch {
            objectName: "stabilizeSwitch"
            text: qsTr("Bildstabilisierung (Makro)")
            checked: tab.settings.stabilizeMacro
            onToggled: tab.settings.stabilizeMacro = checked
        }
        FootnoteText {
            objectName: "stabilizeNote"
            visible: tab.settings.stabilizeMacro
            Layout.fillWidth: true
            text: qsTr("Reduziert das Zittern der Makro-Kamera (leichter Bildausschnitt).")
        }
    }

    SettingsSection {
        footer: qsTr("Startet die Ersteinrichtung (Ordner, Kameras, Mikrofon) erneut.")
        Button {
            objectName: "rerunSetupButton"
            text: qsTr("Einrichtung erneut durchführen")
            onClicked: {
                tab.settings.didCompleteOnboarding = false
                tab.setupRequested()
            }
        }
    }

    SettingsSection {
        footer: qsTr("Diagnose-Anzeigen und Feinjustierung der Bildstabilisierung.")
        ToolButton {
            objectName: "developerDisclosure"
            text: (tab.showDeveloper ? "▾  " : "▸  ") + qsTr("Entwickler-Optionen")
            onClicked: tab.showDeveloper = !tab.showDeveloper
        }
        DeveloperControls {
            objectName: "developerControls"
            visible: tab.showDeveloper
            Layout.fillWidth: true
            settings: tab.settings
            controller: tab.controller
        }
    }
}
