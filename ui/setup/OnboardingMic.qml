import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Setup page: the microphone, or "Kein Ton".
Item {
    id: page

    required property var devices // DeviceStore

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 48
        spacing: 14

        PageTitle { text: qsTr("Mikrofon wählen") }
        CalloutText {
            Layout.fillWidth: true
            text: qsTr("Womit soll der Ton aufgenommen werden? Du kannst auch ohne Ton aufnehmen.")
        }
        RowLayout {
            Layout.topMargin: 8
            spacing: 12
            Label {
                text: qsTr("Mikrofon")
                color: Theme.text
            }
            DevicePicker {
                objectName: "micPicker"
                Layout.preferredWidth: 300
                devices: [{ id: "", displayName: qsTr("Kein Ton") }].concat(page.devices.audioDevices)
                selectedID: page.devices.micUID
                onChosen: id => page.devices.micUID = id
            }
        }
        FootnoteText {
            Layout.fillWidth: true
            text: qsTr("Standard ist „Kein Ton“. Ein angeschlossenes USB-Mikrofon erscheint hier zur Auswahl.")
        }
        Item { Layout.fillHeight: true }
    }
}
