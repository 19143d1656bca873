import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Last setup page: what was chosen, and the practice name that every picture will carry,
// which can be changed or switched off here before the first recording.
Item {
    id: page

    required property var controller // OnboardingController
    required property var settings   // SettingsStore

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
        Rectangle {
            Layout.fillWidth: true
            Layout.topMargin: 8
            implicitHeight: watermark.implicitHeight + 24
            radius: 8
            color: Theme.surface
            ColumnLayout {
                id: watermark
                anchors.fill: parent
                anchors.margins: 12
                spacing: 8
                Switch {
                    objectName: "setupWatermarkSwitch"
                    text: qsTr("Praxis-Wasserzeichen einblenden")
                    checked: page.settings.watermarkOn
                    onToggled: page.settings.watermarkOn = checked
                }
                RowLayout {
                    visible: page.settings.watermarkOn
                    Layout.fillWidth: true
                    spacing: 12
                    Label { text: qsTr("Praxisname"); color: Theme.secondaryText }
                    TextField {
                        objectName: "setupPraxisField"
                        Layout.fillWidth: true
                        text: page.settings.praxisText
                        onTextEdited: page.settings.praxisText = text
                    }
                }
                Label {
                    Layout.fillWidth: true
                    visible: page.settings.watermarkOn
                    wrapMode: Text.WordWrap
                    text: qsTr("Dieser Name wird in jede Aufnahme und jedes Foto eingebrannt.")
                    color: Theme.secondaryText
                    font.pixelSize: 12
                }
            }
        }
        Item { Layout.fillHeight: true }
    }
}
