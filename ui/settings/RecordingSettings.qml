import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Settings tab "Aufnahme": output size and recording folder.
SettingsTab {
    id: tab

    required property var settings   // SettingsStore
    required property var recordings // RecordingsStore
    required property var controller // SettingsController

    RecordingFolderDialog {
        id: dialog
        recordings: tab.recordings
    }

    SettingsSection {
        title: qsTr("Auflösung")
        Label { text: qsTr("Auflösung"); color: Theme.text }
        RadioButton {
            objectName: "resolutionFullHD"
            text: qsTr("Full HD (1920 × 1080)")
            checked: !tab.settings.resolutionHigh
            onToggled: tab.settings.resolutionHigh = false
        }
        RadioButton {
            objectName: "resolutionHigh"
            text: "2560 × 1440"
            checked: tab.settings.resolutionHigh
            onToggled: tab.settings.resolutionHigh = true
        }
    }

    SettingsSection {
        title: qsTr("Aufnahmeordner")
        RowLayout {
            Layout.fillWidth: true
            spacing: 12
            Label { text: qsTr("Ordner"); color: Theme.text }
            Label {
                objectName: "folderLabel"
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignRight
                elide: Text.ElideMiddle
                text: tab.controller.folderSet ? tab.recordings.folderPath : qsTr("— nicht gesetzt —")
                color: tab.controller.folderSet ? Theme.text : Theme.secondaryText
            }
        }
        RowLayout {
            spacing: 8
            Button {
                objectName: "changeFolderButton"
                text: qsTr("Ordner ändern…")
                onClicked: dialog.open()
            }
            Button {
                objectName: "revealFolderButton"
                text: qsTr("Im Dateimanager öffnen")
                enabled: tab.controller.folderSet
                onClicked: tab.recordings.revealInFileManager()
            }
        }
    }
}
