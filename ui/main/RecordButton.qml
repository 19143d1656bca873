import QtQuick
import QtQuick.Controls

// The record button: a red circle while idle that turns into a rounded square while recording.
AbstractButton {
    id: button

    property bool recording: false
    property bool animated: true

    implicitWidth: 58
    implicitHeight: 58
    focusPolicy: Qt.NoFocus
    Accessible.name: recording ? qsTr("Aufnahme beenden") : qsTr("Aufnahme starten")

    contentItem: Item {
        Rectangle {
            anchors.fill: parent
            radius: width / 2
            color: "transparent"
            border.color: Theme.text
            border.width: 3
        }
        Rectangle {
            objectName: "recordShape"
            anchors.centerIn: parent
            width: button.recording ? 26 : 44
            height: width
            radius: button.recording ? 7 : 22
            color: Theme.alert
            Behavior on width { enabled: button.animated; NumberAnimation { duration: 200; easing.type: Easing.InOutQuad } }
            Behavior on radius { enabled: button.animated; NumberAnimation { duration: 200; easing.type: Easing.InOutQuad } }
        }
    }
    background: null
}
