import QtQuick
import QtQuick.Window

Window {
    id: window
    title: "OSTREL"
    width: 1280
    height: 800
    minimumWidth: 800
    minimumHeight: 500
    visible: true
    color: Qt.rgba(10 / 255, 10 / 255, 10 / 255, 1)

    Column {
        anchors.centerIn: parent
        spacing: 12

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "OSTREL"
            color: Qt.rgba(250 / 255, 250 / 255, 247 / 255, 1)
            font.pixelSize: 64
            font.weight: Font.Black
            font.letterSpacing: 4
        }
        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: qsTr("Dein Blick. Deine Perspektive.")
            color: Qt.rgba(196 / 255, 147 / 255, 63 / 255, 1)
            font.pixelSize: 20
        }
    }
}
