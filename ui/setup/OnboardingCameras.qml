import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// Setup page: which camera is Wide and which Macro, with a live preview of each choice. While
// fewer than two cameras are connected it waits for them; the list follows hot-plugging.
Item {
    id: page

    required property var controller // OnboardingController
    required property var devices    // DeviceStore
    property var backend: null       // CaptureBackendHandle

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 40
        spacing: 12

        PageTitle { text: qsTr("Kameras zuordnen") }
        CalloutText {
            Layout.fillWidth: true
            text: qsTr("Welche Kamera ist Wide (Übersicht), welche Macro (Nahaufnahme)? Das Vorschaubild hilft beim Unterscheiden — die beiden USB-Kameras heißen gleich.")
        }

        ColumnLayout {
            objectName: "waitingForCameras"
            visible: page.controller.waitingForCameras
            Layout.fillWidth: true
            Layout.topMargin: 24
            spacing: 10
            SymbolIcon {
                Layout.alignment: Qt.AlignHCenter
                name: "cable.connector"
                size: 30
            }
            Label {
                Layout.alignment: Qt.AlignHCenter
                text: qsTr("Es ist noch keine zweite Kamera angeschlossen.")
                font.bold: true
                color: Theme.text
            }
            FootnoteText {
                Layout.fillWidth: true
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("Bitte beide OSTREL-Kameras mit dem mitgelieferten Kabel anstecken. Die Liste aktualisiert sich automatisch.")
            }
            BusyIndicator {
                Layout.alignment: Qt.AlignHCenter
                running: parent.visible
            }
        }

        // The previews exist only while the pickers are shown.
        Loader {
            objectName: "cameraPickers"
            active: !page.controller.waitingForCameras
            visible: active
            Layout.fillWidth: true
            Layout.topMargin: 8
            sourceComponent: RowLayout {
                spacing: 24
                Repeater {
                    model: [
                        { title: qsTr("Wide (Übersicht)"), role: "wide" },
                        { title: qsTr("Macro (Nahaufnahme)"), role: "macro" }
                    ]
                    delegate: ColumnLayout {
                        id: column
                        required property var modelData
                        readonly property string selected: modelData.role === "wide"
                                                           ? page.devices.wideUID : page.devices.macroUID
                        spacing: 8
                        Layout.alignment: Qt.AlignTop
                        Label {
                            text: column.modelData.title
                            font.bold: true
                            font.pixelSize: 15
                            color: Theme.text
                        }
                        DevicePicker {
                            objectName: column.modelData.role + "Picker"
                            Layout.preferredWidth: 280
                            devices: page.devices.videoDevices
                            selectedID: column.selected
                            onChosen: id => {
                                if (column.modelData.role === "wide")
                                    page.devices.wideUID = id
                                else
                                    page.devices.macroUID = id
                            }
                        }
                        Rectangle {
                            implicitWidth: 280
                            implicitHeight: 158
                            radius: 10
                            color: "black"
                            CameraPreviewView {
                                objectName: column.modelData.role + "Preview"
                                anchors.fill: parent
                                backend: page.backend
                                deviceUID: column.selected
                                mirrored: true
                            }
                            // Rounds the picture's corners by covering them in the page colour.
                            Rectangle {
                                anchors.fill: parent
                                anchors.margins: -8
                                radius: 18
                                color: "transparent"
                                border.width: 8
                                border.color: Theme.background
                            }
                            Rectangle {
                                anchors.fill: parent
                                radius: 10
                                color: "transparent"
                                border.width: 1
                                border.color: Qt.rgba(1, 1, 1, 0.25)
                            }
                        }
                    }
                }
            }
        }

        RowLayout {
            objectName: "sameCameraWarning"
            visible: page.controller.sameCamera && !page.controller.waitingForCameras
            spacing: 8
            SymbolIcon { name: "exclamationmark.triangle"; size: 16; color: Theme.warning }
            Label {
                text: qsTr("Bitte zwei verschiedene Kameras wählen.")
                color: Theme.warning
            }
        }
        Item { Layout.fillHeight: true }
    }
}
