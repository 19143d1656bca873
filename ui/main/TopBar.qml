import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// The main view's top bar: word mark, camera status with a restart button, the output size,
// the free space and the settings button. Slides in and out with the other bar.
Rectangle {
    id: bar
    objectName: "topBar"

    required property var cam        // CameraManager
    required property var settings   // SettingsStore
    required property var viewState  // MainViewState
    // Set while a recording needs the CPU: the bar then jumps instead of sliding.
    property bool sparingRedraws: false

    signal settingsRequested()

    width: parent.width
    height: 52
    y: bar.viewState.controlsVisible ? 0 : -height
    opacity: bar.viewState.controlsVisible ? 1 : 0
    visible: opacity > 0
    color: Theme.background
    Behavior on y { enabled: !bar.sparingRedraws; NumberAnimation { duration: bar.viewState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }
    Behavior on opacity { enabled: !bar.sparingRedraws; NumberAnimation { duration: bar.viewState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }

    Rectangle { anchors.bottom: parent.bottom; width: parent.width; height: 1; color: Theme.separator }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 18
        spacing: 14
        Text {
            text: "OSTREL"
            font.family: "Archivo Black"
            font.pixelSize: 17
            color: Theme.text
        }
        Rectangle {
            width: 7; height: 7; radius: 3.5
            color: bar.cam.isRecording ? Theme.alert : bar.cam.statusLive ? "#30d158" : Theme.warning
        }
        Text {
            objectName: "statusText"
            text: bar.cam.isRecording ? qsTr("Aufnahme") : bar.cam.statusText
            font.family: Theme.monoFamily
            font.pixelSize: 12
            color: Theme.text
            Layout.leftMargin: -8
        }
        AbstractButton {
            objectName: "restartButton"
            visible: !bar.cam.running
            focusPolicy: Qt.NoFocus
            implicitWidth: 20; implicitHeight: 20
            Accessible.name: qsTr("Kameras neu starten")
            contentItem: SymbolIcon { name: "arrow.clockwise"; size: 12; color: Theme.accent }
            onClicked: { bar.cam.startCapture(); bar.viewState.bumpActivity() }
        }
        Item { Layout.fillWidth: true }
        AbstractButton {
            objectName: "resolutionBadge"
            focusPolicy: Qt.NoFocus
            leftPadding: 10; rightPadding: 10; topPadding: 3; bottomPadding: 3
            contentItem: Text {
                text: bar.settings.resolutionHigh ? "2560 × 1440" : qsTr("Full HD")
                font.family: Theme.monoFamily
                font.pixelSize: 11
                color: Theme.accent
            }
            background: Rectangle {
                radius: height / 2
                color: "transparent"
                border.width: 0.5
                border.color: Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.5)
            }
        }
        Text {
            objectName: "storageText"
            text: bar.viewState.storageText
            font.pixelSize: 12
            color: Theme.secondaryText
        }
        Text {
            objectName: "storageWarning"
            visible: text !== ""
            text: bar.cam.storageWarning
            font.pixelSize: 12
            font.bold: true
            color: Theme.warning
        }
        AbstractButton {
            objectName: "settingsButton"
            focusPolicy: Qt.NoFocus
            implicitWidth: 22; implicitHeight: 22
            Accessible.name: qsTr("Einstellungen")
            contentItem: SymbolIcon { name: "gearshape"; size: 17; color: Theme.text }
            onClicked: bar.settingsRequested()
        }
    }
}
