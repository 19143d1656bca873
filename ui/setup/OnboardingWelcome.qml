import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// First setup page: the word mark, the slogan and the welcome text.
Item {
    ColumnLayout {
        anchors.centerIn: parent
        width: Math.min(parent.width - 96, 560)
        spacing: 14

        OstrelMark {
            Layout.alignment: Qt.AlignHCenter
            implicitHeight: 64
            implicitWidth: 72
            ringColor: Theme.text
        }
        Label {
            objectName: "wordMark"
            Layout.alignment: Qt.AlignHCenter
            text: "OSTREL"
            font.family: "Archivo Black"
            font.pixelSize: 48
            color: Theme.text
        }
        Label {
            Layout.alignment: Qt.AlignHCenter
            text: qsTr("Dein Blick. Deine Perspektive.")
            font.italic: true
            font.pixelSize: 17
            color: Theme.accent
        }
        CalloutText {
            Layout.fillWidth: true
            Layout.topMargin: 10
            horizontalAlignment: Text.AlignHCenter
            text: qsTr("Willkommen. OSTREL zeigt deine beiden Lupen-Kameras (Wide + Macro) live als Bild-im-Bild und nimmt sie auf — direkt auf deinem Computer. Diese kurze Einrichtung erklärt den Aufbau und legt Ordner, Kameras und Mikrofon fest.")
        }
    }
}
