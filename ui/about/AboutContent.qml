import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// The about block: logo mark, word mark, slogan and version, a line about the app, the web and
// support links, and the company line. Takes no input.
ColumnLayout {
    spacing: 10

    RowLayout {
        spacing: 12
        OstrelMark {
            implicitHeight: 34
            implicitWidth: 34 * 180 / 160
            ringColor: Theme.text
        }
        ColumnLayout {
            spacing: 1
            Label {
                text: "OSTREL"
                font.family: "Archivo Black"
                font.pixelSize: 22
                color: Theme.text
            }
            Label {
                text: qsTr("Dein Blick. Deine Perspektive.")
                font.pixelSize: 11
                font.italic: true
                color: Theme.secondaryText
            }
            Label {
                objectName: "versionLabel"
                text: qsTr("Version ") + AboutInfo.version
                font.pixelSize: 11
                color: Theme.secondaryText
            }
        }
    }
    CalloutText {
        Layout.fillWidth: true
        secondary: true
        text: qsTr("Native Linux-App für die OSTREL USB-Doppel-Kameras (Wide + Macro).")
    }
    RowLayout {
        spacing: 18
        Repeater {
            model: [
                [AboutInfo.webSite, AboutInfo.webSite],
                [AboutInfo.supportAddress, "mailto:" + AboutInfo.supportAddress]
            ]
            delegate: Label {
                required property var modelData
                text: modelData[0]
                font.pixelSize: 15
                color: Theme.accent
                font.underline: linkArea.containsMouse
                MouseArea {
                    id: linkArea
                    anchors.fill: parent
                    hoverEnabled: true
                    cursorShape: Qt.PointingHandCursor
                    onClicked: Qt.openUrlExternally(parent.modelData[1])
                }
            }
        }
    }
    Label {
        text: AboutInfo.companyLine
        font.pixelSize: 11
        color: Theme.secondaryText
    }
}
