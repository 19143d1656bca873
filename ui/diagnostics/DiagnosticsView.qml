import QtQuick
import QtQuick.Controls
import QtQuick.Dialogs
import QtQuick.Layouts

// The diagnostic log, newest first, with a level filter, copy, share and clear.
Item {
    id: view

    required property var logModel    // LogListModel
    required property var diagnostics // DiagnosticsActions
    property int copiedNoteInterval: 1400
    property bool copied: false
    // The note over the list: "Kopiert", or where the log was saved.
    property string note: qsTr("Kopiert")
    property string shareError: ""

    onCopiedChanged: if (copied) copiedTimer.restart()
    // The filter is view state: every new window starts with all levels.
    Component.onCompleted: view.logModel.levelFilter = -1

    Timer {
        id: copiedTimer
        interval: view.copiedNoteInterval
        onTriggered: view.copied = false
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.background
    }

    ToolBar {
        id: toolbar
        anchors { left: parent.left; right: parent.right; top: parent.top }
        background: Rectangle { color: Theme.surface }

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 16
            Label {
                text: qsTr("Diagnose")
                font.pixelSize: 17
                font.bold: true
                color: Theme.text
                Layout.fillWidth: true
            }
            ToolButton {
                id: menuButton
                objectName: "diagnosticsMenuButton"
                text: "⋯"
                font.pixelSize: 20
                onClicked: actionsMenu.open()
                AppMenu {
                    id: actionsMenu
                    y: menuButton.height
                    Action {
                        objectName: "copyItem"
                        text: qsTr("Kopieren")
                        onTriggered: {
                            view.diagnostics.copyToClipboard()
                            view.note = qsTr("Kopiert")
                            view.copied = true
                        }
                    }
                    Action {
                        objectName: "shareItem"
                        text: qsTr("Teilen…")
                        shortcut: StandardKey.Save
                        onTriggered: {
                            view.shareError = ""
                            shareDialog.open()
                        }
                    }
                    MenuSeparator {}
                    MenuItem {
                        objectName: "clearItem"
                        text: qsTr("Protokoll leeren")
                        palette.windowText: Theme.alert
                        onTriggered: view.diagnostics.clearLog()
                    }
                }
            }
        }
    }

    FileDialog {
        id: shareDialog
        title: qsTr("Protokoll als Textdatei speichern")
        fileMode: FileDialog.SaveFile
        acceptLabel: qsTr("Speichern")
        nameFilters: [qsTr("Textdateien (*.txt)")]
        currentFolder: view.diagnostics.exportFolder()
        selectedFile: view.diagnostics.suggestedExportFile()
        onAccepted: {
            view.shareError = view.diagnostics.saveExport(selectedFile)
            if (view.shareError.length === 0) {
                view.note = qsTr("Gespeichert: %1").arg(view.diagnostics.fileName(selectedFile))
                view.copied = true
            }
        }
    }

    ListView {
        id: list
        objectName: "logList"
        anchors { left: parent.left; right: parent.right; top: toolbar.bottom; bottom: parent.bottom }
        clip: true
        model: view.logModel
        reuseItems: true
        boundsBehavior: Flickable.StopAtBounds
        ScrollBar.vertical: ScrollBar {}

        header: Column {
            width: list.width
            padding: 16
            spacing: 12

            TextEdit {
                width: parent.width - 32
                text: view.diagnostics.versionText
                readOnly: true
                selectByMouse: true
                wrapMode: TextEdit.Wrap
                font.family: Theme.monoFamily
                font.pixelSize: 12
                color: Theme.secondaryText
            }

            // Why a camera stays black here: no rights on the device node, or another
            // program holds it, or it is gone. The log below names the camera and the cause.
            Label {
                text: qsTr("Berechtigungen")
                font.bold: true
                color: Theme.text
            }
            Column {
                objectName: "permissions"
                width: parent.width - 32
                spacing: 8
                Button {
                    objectName: "privacySettingsButton"
                    visible: view.diagnostics.privacySettingsAvailable
                    text: qsTr("Systemeinstellungen → Datenschutz öffnen")
                    icon.width: 0
                    leftPadding: 30
                    SymbolIcon {
                        anchors.verticalCenter: parent.verticalCenter
                        x: 8
                        name: "gearshape"
                        color: Theme.text
                    }
                    onClicked: view.diagnostics.openPrivacySettings()
                }
                FootnoteText {
                    visible: view.diagnostics.privacySettingsAvailable
                    width: parent.width
                    text: qsTr("Dort lassen sich Kamera- und Mikrofon-Berechtigungen für OSTREL prüfen, falls das Bild schwarz bleibt.")
                }
                HelpCause {
                    title: qsTr("Kein Zugriff auf die Kamera")
                    text: qsTr("Möglicherweise gehört dein Benutzer nicht zur Gruppe „video“. Das prüft im Terminal der Befehl „groups“; fehlt „video“ dort, „%1“ eingeben, danach ab- und wieder anmelden.").arg(view.diagnostics.videoGroupCommand)
                }
                Button {
                    objectName: "copyGroupCommand"
                    text: qsTr("Befehl kopieren")
                    onClicked: {
                        view.diagnostics.copyVideoGroupCommand()
                        view.note = qsTr("Kopiert")
                        view.copied = true
                    }
                }
            }
            Label {
                text: qsTr("Bild bleibt schwarz?")
                font.bold: true
                color: Theme.text
            }
            Column {
                objectName: "blackPictureHelp"
                width: parent.width - 32
                spacing: 8
                HelpCause {
                    title: qsTr("Kamera belegt")
                    text: qsTr("Ein anderes Programm (z. B. Videokonferenz, Browser oder Kamera-App) nutzt die Kamera. Dieses Programm beenden und OSTREL neu starten.")
                }
                HelpCause {
                    title: qsTr("Kamera nicht gefunden")
                    text: qsTr("Kabel prüfen und beide Kameras neu anstecken. Welche Kamera betroffen ist, steht unten im Protokoll.")
                }
            }
            Label {
                objectName: "shareError"
                text: view.shareError
                visible: text.length > 0
                width: parent.width - 32
                wrapMode: Text.Wrap
                color: Theme.alert
            }

            Label {
                objectName: "logHeading"
                text: view.logModel.heading
                font.bold: true
                color: Theme.text
                topPadding: 8
            }
            Row {
                objectName: "levelFilter"
                spacing: 0
                Accessible.name: qsTr("Filter")
                Repeater {
                    model: view.logModel.filterLabels
                    delegate: Button {
                        required property int index
                        required property string modelData
                        objectName: "filter_" + modelData
                        text: modelData
                        // Not checkable: a second click on the active filter keeps it lit.
                        checked: view.logModel.levelFilter === index - 1
                        onClicked: view.logModel.levelFilter = index - 1
                    }
                }
            }
            Label {
                objectName: "emptyNote"
                visible: view.logModel.count === 0
                text: qsTr("Keine Einträge.")
                color: Theme.secondaryText
            }
        }

        delegate: Rectangle {
            id: row
            required property string message
            required property string time
            required property int level
            required property string symbol

            width: list.width
            height: rowContent.implicitHeight + 12
            color: level === 3 ? Qt.rgba(Theme.alert.r, Theme.alert.g, Theme.alert.b, 0.12)
                               : "transparent"

            RowLayout {
                id: rowContent
                anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
                anchors.leftMargin: 16
                anchors.rightMargin: 16
                spacing: 6
                SymbolIcon {
                    Layout.preferredWidth: 16
                    Layout.alignment: Qt.AlignTop
                    Layout.topMargin: 2
                    name: row.symbol
                    size: 12
                    color: row.level === 0 ? Theme.secondaryText
                         : row.level === 1 ? Theme.accent
                         : row.level === 2 ? Theme.warning : Theme.alert
                }
                Column {
                    Layout.fillWidth: true
                    Text {
                        width: parent.width
                        text: row.message
                        wrapMode: Text.Wrap
                        font.family: Theme.monoFamily
                        font.pixelSize: 13
                        color: Theme.text
                    }
                    Text {
                        text: row.time
                        font.family: Theme.monoFamily
                        font.pixelSize: 10
                        color: Theme.secondaryText
                    }
                }
            }
        }
    }

    // One cause of a black picture: a bold title over a short explanation.
    component HelpCause: Column {
        property alias title: causeTitle.text
        property alias text: causeText.text
        width: parent.width
        Label {
            id: causeTitle
            font.pixelSize: 12
            font.bold: true
            color: Theme.text
        }
        Label {
            id: causeText
            width: parent.width
            wrapMode: Text.Wrap
            font.pixelSize: 12
            color: Theme.secondaryText
        }
    }

    Rectangle {
        objectName: "copiedNote"
        visible: view.copied
        anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: 20 }
        width: copiedLabel.implicitWidth + 24
        height: copiedLabel.implicitHeight + 12
        radius: 8
        color: Qt.rgba(0.5, 0.5, 0.5, 0.35)
        Label {
            id: copiedLabel
            anchors.centerIn: parent
            text: view.note
            font.pixelSize: 11
            color: Theme.text
        }
    }
}
