import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The four stabiliser tuning values as sliders with their value, and a reset to the defaults.
ColumnLayout {
    id: tuning

    required property var settings   // SettingsStore
    required property var controller // SettingsController
    property string resetText: qsTr("Stabilisierung auf Standard zurücksetzen")
    property color labelColor: Theme.text
    property color valueColor: Theme.secondaryText
    // Digits after the point for every row; below zero, each row's own (the overlay's).
    property int decimals: -1

    spacing: 2

    Repeater {
        model: tuning.controller.tuningRows
        delegate: RowLayout {
            id: row
            required property var modelData
            Layout.fillWidth: true
            spacing: 10
            Label {
                text: row.modelData.label
                color: tuning.labelColor
                Layout.preferredWidth: 90
            }
            Label {
                objectName: row.modelData.key + "Value"
                text: Number(tuning.settings[row.modelData.key]).toFixed(tuning.decimals >= 0 ? tuning.decimals
                                                                                        : row.modelData.decimals)
                font.family: Theme.monoFamily
                color: tuning.valueColor
                Layout.preferredWidth: 44
            }
            Slider {
                objectName: row.modelData.key + "Slider"
                Layout.fillWidth: true
                from: row.modelData.from
                to: row.modelData.to
                stepSize: row.modelData.step
                snapMode: Slider.SnapAlways
                value: tuning.settings[row.modelData.key]
                onMoved: tuning.settings[row.modelData.key] = value
            }
        }
    }
    Button {
        objectName: "resetStabilizerButton"
        Layout.topMargin: 4
        text: tuning.resetText
        onClicked: tuning.controller.resetStabilizer()
    }
}
