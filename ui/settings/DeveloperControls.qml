import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The developer options: four display and logging switches, then the stabiliser tuning.
ColumnLayout {
    id: controls

    required property var settings   // SettingsStore
    required property var controller // SettingsController

    spacing: 4

    Repeater {
        model: [
            ["devShowFPS", qsTr("Kamera-FPS anzeigen")],
            ["devStabSliders", qsTr("Stabilisierungs-Regler einblenden")],
            ["devStabFrame", qsTr("Stabilisierungs-Rahmen zeigen")],
            ["devStabDiag", qsTr("Stabilisierungs-Diagnose loggen")]
        ]
        delegate: Switch {
            required property var modelData
            objectName: modelData[0] + "Switch"
            text: modelData[1]
            checked: controls.settings[modelData[0]]
            onToggled: controls.settings[modelData[0]] = checked
        }
    }
    StabilizerTuningControls {
        Layout.fillWidth: true
        Layout.topMargin: 6
        decimals: 2
        settings: controls.settings
        controller: controls.controller
    }
}
