import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Last setup page: what was chosen.
Item {
    id: page

    required property var controller // OnboardingController

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 48
        spacing: 14

        PageTitle { text: qsTr("Fertig") }
        CalloutText {
            Layout.fillWidth: true
            text: qsTr("Alles eingerichtet. Du kannst jeden Punkt später in den Einstellungen ändern.")
        }
        Rectangle {
            Layout.fillWidth: true
            Layout.topMargin: 8
            implicitHeight: rows.implicitHeight + 24
            radius: 8
            color: Theme.surface
            GridLayout {
                id: rows
                objectName: "summary"
                anchors.fill: parent
                anchors.margins: 12
                columns: 2
                rowSpacing: 8
                columnSpacing: 24
                Repeater {
                    model: [
                        [qsTr("Aufnahmeordner")],
                        [qsTr("Wide-Kamera")],
                        [qsTr("Macro-Kamera")],
                        [qsTr("Mikrofon")]
                    ]
                    delegate: Label {
                        required property var modelData
                        required property int index
                        // Two cells per row: the name, then the value.
                        Layout.row: index
                        Layout.column: 0
                        text: modelData[0]
                        color: Theme.secondaryText
                    }
                }
                Repeater {
                    model: [
                        [page.controller.folderName, "summaryFolder"],
                        [page.controller.wideName, "summaryWide"],
                        [page.controller.macroName, "summaryMacro"],
                        [page.controller.micName, "summaryMic"]
                    ]
                    delegate: Label {
                        required property var modelData
                        required property int index
                        objectName: modelData[1]
                        Layout.row: index
                        Layout.column: 1
                        Layout.fillWidth: true
                        text: modelData[0]
                        elide: Text.ElideMiddle
                        color: Theme.text
                    }
                }
            }
        }
        Item { Layout.fillHeight: true }
    }
}
