import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// The stabiliser's developer overlay: its switch, the live correction and the four tuning
// sliders, all writing the persisted settings.
Rectangle {
    id: overlay

    required property var settings // SettingsStore
    property point liveOffset: Qt.point(0, 0)
    property var viewState: null   // MainViewState, for the correction text

    implicitWidth: 300
    implicitHeight: column.implicitHeight + 24
    radius: 10
    color: Qt.rgba(0, 0, 0, 0.62)

    SettingsController {
        id: controller
        settings: overlay.settings
    }

    ColumnLayout {
        id: column
        anchors.fill: parent
        anchors.margins: 12
        spacing: 6

        RowLayout {
            Layout.fillWidth: true
            Text {
                text: qsTr("STABILISIERUNG")
                font.family: Theme.monoFamily
                font.bold: true
                font.pixelSize: 10
                font.letterSpacing: 1
                color: Theme.paper
                Layout.fillWidth: true
            }
            Switch {
                objectName: "stabilizerSwitch"
                focusPolicy: Qt.NoFocus
                checked: overlay.settings.stabilizeMacro
                onToggled: overlay.settings.stabilizeMacro = checked
            }
        }
        Text {
            objectName: "correctionText"
            text: overlay.viewState ? overlay.viewState.correctionText(overlay.liveOffset) : ""
            font.family: Theme.monoFamily
            font.pixelSize: 11
            color: Theme.paper
        }
        StabilizerTuningControls {
            Layout.fillWidth: true
            settings: overlay.settings
            controller: controller
            resetText: qsTr("Auf Standard zurücksetzen")
            labelColor: Theme.paper
            valueColor: Qt.rgba(1, 1, 1, 0.7)
        }
    }
}
