import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Qt.labs.folderlistmodel
import Ostrel

// The recording folder chooser: folders only, starting beside the suggested folder; it can
// make a new folder (named as suggested at first), and a typed path that does not exist is
// offered to be made. The chosen folder goes straight into the store.
Dialog {
    id: dialog

    required property var recordings // RecordingsStore
    property url folder: recordings.chooserStartFolder(recordings.folderURL)
    property string error: ""

    objectName: "recordingFolderDialog"
    parent: Overlay.overlay
    anchors.centerIn: parent
    width: Math.min(620, parent ? parent.width - 24 : 620)
    height: Math.min(480, parent ? parent.height - 24 : 480)
    modal: true
    focus: true
    title: qsTr("Wähle den Ordner, in dem OSTREL Aufnahmen und Fotos speichert.")

    onAboutToShow: {
        folder = recordings.chooserStartFolder(recordings.folderURL)
        pathField.text = FolderPaths.toText(folder)
        error = ""
        newFolderRow.visible = false
    }

    function showFolder(url) {
        folder = url
        pathField.text = FolderPaths.toText(url)
        error = ""
    }

    // The typed path, else the folder shown: an existing folder is taken, a missing one is
    // offered to be made first.
    function choose() {
        const typed = FolderPaths.fromText(pathField.text)
        if (typed.toString().length === 0) {
            error = qsTr("Bitte einen vollständigen Pfad eingeben, z. B. ~/Videos.")
            return
        }
        if (!FolderPaths.isFolder(typed)) {
            createQuestion.target = typed
            createQuestion.open()
            return
        }
        take(typed)
    }

    function take(url) {
        if (recordings.setFolder(url))
            dialog.close()
        else
            error = qsTr("Dieser Ordner kann nicht verwendet werden.")
    }

    function makeNewFolder() {
        const url = FolderPaths.childOf(folder, newFolderName.text)
        const problem = newFolderName.text.trim().length === 0 || newFolderName.text.indexOf("/") >= 0
                      ? qsTr("Bitte einen Namen ohne „/“ eingeben.")
                      : FolderPaths.create(url)
        if (problem.length > 0) {
            error = problem
            return
        }
        newFolderRow.visible = false
        showFolder(url)
    }

    FolderListModel {
        id: folders
        folder: dialog.folder
        showFiles: false
        showHidden: false
        showDotAndDotDot: false
        sortCaseSensitive: false
    }

    contentItem: ColumnLayout {
        spacing: 8

        RowLayout {
            Layout.fillWidth: true
            Button {
                objectName: "folderUpButton"
                text: "↑"
                Layout.preferredWidth: 36
                enabled: FolderPaths.toText(dialog.folder) !== "/"
                onClicked: dialog.showFolder(FolderPaths.parentOf(dialog.folder))
                Accessible.name: qsTr("Übergeordneter Ordner")
            }
            TextField {
                id: pathField
                objectName: "folderPathField"
                Layout.fillWidth: true
                selectByMouse: true
                onAccepted: {
                    const typed = FolderPaths.fromText(text)
                    if (FolderPaths.isFolder(typed))
                        dialog.showFolder(typed)
                    else
                        dialog.choose()
                }
            }
        }

        Rectangle {
            Layout.fillWidth: true
            Layout.fillHeight: true
            color: Theme.surface
            border.color: Theme.separator
            ListView {
                id: list
                objectName: "folderList"
                anchors.fill: parent
                anchors.margins: 1
                clip: true
                model: folders
                ScrollBar.vertical: ScrollBar {}
                delegate: ItemDelegate {
                    required property string fileName
                    required property url fileUrl
                    width: list.width
                    text: fileName
                    leftPadding: 34
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        x: 10
                        name: "folder"
                        color: Theme.accent
                    }
                    onClicked: dialog.showFolder(fileUrl)
                }
                Label {
                    anchors.centerIn: parent
                    visible: list.count === 0
                    text: qsTr("Keine Unterordner.")
                    color: Theme.secondaryText
                }
            }
        }

        RowLayout {
            id: newFolderRow
            objectName: "newFolderRow"
            visible: false
            Layout.fillWidth: true
            TextField {
                id: newFolderName
                objectName: "newFolderName"
                Layout.fillWidth: true
                selectByMouse: true
                onAccepted: dialog.makeNewFolder()
            }
            Button {
                objectName: "createFolderButton"
                text: qsTr("Anlegen")
                onClicked: dialog.makeNewFolder()
            }
        }

        Label {
            objectName: "folderError"
            Layout.fillWidth: true
            visible: dialog.error.length > 0
            text: dialog.error
            wrapMode: Text.Wrap
            color: Theme.alert
        }
    }

    footer: DialogButtonBox {
        Button {
            objectName: "newFolderButton"
            text: qsTr("Neuer Ordner…")
            DialogButtonBox.buttonRole: DialogButtonBox.ActionRole
            onClicked: {
                newFolderName.text = FolderPaths.isFolder(FolderPaths.childOf(dialog.folder, dialog.recordings.defaultFolderName()))
                                   ? "" : dialog.recordings.defaultFolderName()
                newFolderRow.visible = true
                newFolderName.forceActiveFocus()
                newFolderName.selectAll()
            }
        }
        Button {
            objectName: "cancelFolderButton"
            text: qsTr("Abbrechen")
            DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
        }
        Button {
            objectName: "chooseFolderButton"
            text: qsTr("Auswählen")
            highlighted: true
            // Not the accept role: a missing folder must be asked about first.
            DialogButtonBox.buttonRole: DialogButtonBox.ActionRole
            onClicked: dialog.choose()
        }
    }

    Dialog {
        id: createQuestion
        objectName: "createFolderQuestion"
        property url target
        parent: Overlay.overlay
        anchors.centerIn: parent
        width: Math.min(440, dialog.width)
        modal: true
        title: qsTr("Ordner anlegen?")
        Label {
            width: parent.width
            wrapMode: Text.Wrap
            text: qsTr("Den Ordner „%1“ gibt es noch nicht. Soll OSTREL ihn anlegen?")
                  .arg(FolderPaths.toText(createQuestion.target))
        }
        footer: DialogButtonBox {
            Button {
                objectName: "confirmCreateButton"
                text: qsTr("Anlegen")
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
            Button {
                text: qsTr("Abbrechen")
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
        }
        onAccepted: {
            const problem = FolderPaths.create(target)
            if (problem.length > 0)
                dialog.error = problem
            else
                dialog.take(target)
        }
    }
}
