import QtQuick
import QtQuick.Dialogs

// The recording folder chooser: folders only, starting next to the suggested folder, and the
// chosen folder goes straight into the store.
FolderDialog {
    id: dialog

    required property var recordings // RecordingsStore

    title: qsTr("Wähle den Ordner, in dem OSTREL Aufnahmen und Fotos speichert.")
    acceptLabel: qsTr("Auswählen")
    currentFolder: recordings.chooserStartFolder()
    onAccepted: recordings.setFolder(selectedFolder)
}
