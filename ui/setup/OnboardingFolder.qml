import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Setup page: choose the recording folder.
Item {
    id: page

    required property var recordings // RecordingsStore

    RecordingFolderDialog {
        id: dialog
        recordings: page.recordings
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 48
        spacing: 14

        PageTitle { text: qsTr("Aufnahmeordner wählen") }
        CalloutText {
            Layout.fillWidth: true
            text: qsTr("Hier speichert OSTREL Videos und Fotos. Du kannst den Ordner später in den Einstellungen ändern.")
        }
        Button {
            objectName: "chooseFolderButton"
            Layout.topMargin: 8
            icon.color: Theme.accent
            text: qsTr("Ordner wählen…")
            leftPadding: 36
            onClicked: dialog.open()
            SymbolIcon {
                name: "folder"
                size: 16
                anchors.verticalCenter: parent.verticalCenter
                x: 12
            }
        }
        FootnoteText {
            objectName: "folderHint"
            visible: page.recordings.folderPath.length === 0
            text: qsTr("Vorschlag: „%1“ in deinem Videos-Ordner.").arg(page.recordings.defaultFolderName())
        }
        RowLayout {
            objectName: "folderChosen"
            visible: page.recordings.folderPath.length > 0
            Layout.fillWidth: true
            spacing: 8
            SymbolIcon { name: "checkmark.circle.fill"; size: 16 }
            Label {
                objectName: "folderPathLabel"
                Layout.fillWidth: true
                text: page.recordings.folderPath
                elide: Text.ElideMiddle
                color: Theme.text
            }
        }
        Item { Layout.fillHeight: true }
    }
}
