import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Settings tab "Ton": the microphone, or none. The lists are re-read whenever it is shown.
SettingsTab {
    id: tab

    required property var devices // DeviceStore

    onVisibleChanged: if (visible) tab.devices.refresh()

    SettingsSection {
        title: qsTr("Mikrofon")
        RowLayout {
            Layout.fillWidth: true
            spacing: 12
            Label { text: qsTr("Mikrofon"); color: Theme.text }
            DevicePicker {
                objectName: "micPicker"
                Layout.fillWidth: true
                devices: [{ id: "", displayName: qsTr("Kein Ton") }].concat(tab.devices.audioDevices)
                selectedID: tab.devices.micUID
                onChosen: id => tab.devices.micUID = id
            }
        }
        FootnoteText {
            Layout.fillWidth: true
            text: qsTr("Ohne Ton wird nur Bild aufgenommen. Ein angeschlossenes USB-Mikrofon erscheint hier zur Auswahl.")
        }
    }
}
