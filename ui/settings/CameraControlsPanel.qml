import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// The picture controls of one camera role, shown under its picker: only what the assigned
// camera offers, each change sent to it at once. Hidden while the camera offers none.
ColumnLayout {
    id: panel

    property var keeper: null // CameraControlKeeper; none: no controls
    property int role: 0
    property string deviceID
    readonly property alias logic: logic

    visible: logic.controls.length > 0
    spacing: 4

    CameraControlsController {
        id: logic
        keeper: panel.keeper
        role: panel.role
        deviceID: panel.deviceID
    }

    Repeater {
        model: logic.controls
        delegate: RowLayout {
            id: row
            required property var modelData
            readonly property string key: modelData.key
            readonly property int current: logic.values[key] ?? 0
            readonly property bool disabled: logic.inactive[key] ?? false
            Layout.fillWidth: true
            spacing: 8

            Switch {
                id: toggle
                objectName: panel.objectName + "-" + row.key
                visible: row.modelData.kind === "toggle"
                Layout.fillWidth: true
                text: row.modelData.label
                checked: row.current === 1
                onToggled: logic.setValue(row.key, checked ? 1 : 0)
                // A toggle breaks its binding; values set elsewhere (a reset) still show.
                Connections {
                    target: logic
                    function onValuesChanged() { toggle.checked = row.current === 1 }
                }
            }

            Label {
                objectName: panel.objectName + "-" + row.key + "-label"
                visible: row.modelData.kind !== "toggle"
                text: row.modelData.label
                color: row.disabled ? Theme.secondaryText : Theme.text
                Layout.preferredWidth: 150
                elide: Text.ElideRight
            }
            ComboBox {
                objectName: panel.objectName + "-" + row.key
                visible: row.modelData.kind === "choice"
                Layout.fillWidth: true
                model: row.modelData.choices
                textRole: "label"
                valueRole: "value"
                currentIndex: row.modelData.choices.findIndex(c => c.value === row.current)
                onActivated: index => logic.setValue(row.key, row.modelData.choices[index].value)
            }
            Slider {
                id: slider
                objectName: panel.objectName + "-" + row.key
                visible: row.modelData.kind === "range"
                enabled: !row.disabled
                Layout.fillWidth: true
                from: row.modelData.minimum
                to: row.modelData.maximum
                stepSize: row.modelData.keyStep
                value: row.current
                onMoved: logic.setValue(row.key, Math.round(value))
                Connections {
                    target: logic
                    // The camera's value wins, also over a value it refused.
                    function onValuesChanged() {
                        if (!slider.pressed)
                            slider.value = row.current
                    }
                }
            }
            Label {
                visible: row.modelData.kind === "range"
                text: row.current
                color: Theme.secondaryText
                horizontalAlignment: Text.AlignRight
                Layout.preferredWidth: 40
            }
        }
    }

    Button {
        objectName: panel.objectName + "-reset"
        text: qsTr("Auf Kamerawerte zurücksetzen")
        onClicked: logic.resetToDefaults()
    }
}
