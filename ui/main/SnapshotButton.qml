import QtQuick
import QtQuick.Controls

// The photo button: a ring around a camera.
AbstractButton {
    id: button

    implicitWidth: 48
    implicitHeight: 48
    focusPolicy: Qt.NoFocus
    opacity: enabled ? 1 : 0.35
    Accessible.name: qsTr("Foto")

    contentItem: Item {
        Rectangle {
            anchors.fill: parent
            radius: width / 2
            color: "transparent"
            border.color: Theme.text
            border.width: 2.5
        }
        SymbolIcon {
            anchors.centerIn: parent
            name: "camera.fill"
            size: 19
            color: Theme.text
        }
    }
    background: null
}
