import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// The main view's bottom bar: photo and record buttons, recording time and the note while a
// recording is saved, microphone with its level, the stabiliser switch and the Macro size.
// Slides in and out with the other bar.
Rectangle {
    id: bar
    objectName: "bottomBar"

    required property var cam        // CameraManager
    required property var settings   // SettingsStore
    required property var viewState  // MainViewState
    // Set while a recording needs the CPU: the bar then jumps instead of sliding.
    property bool sparingRedraws: false

    signal photoRequested()
    signal recordToggleRequested()

    width: parent.width
    height: 84
    y: bar.viewState.controlsVisible ? parent.height - height : parent.height
    opacity: bar.viewState.controlsVisible ? 1 : 0
    visible: opacity > 0
    color: Theme.background
    Behavior on y { enabled: !bar.sparingRedraws; NumberAnimation { duration: bar.viewState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }
    Behavior on opacity { enabled: !bar.sparingRedraws; NumberAnimation { duration: bar.viewState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }

    Rectangle { anchors.top: parent.top; width: parent.width; height: 1; color: Theme.separator }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 24
        anchors.rightMargin: 24
        spacing: 18

        SnapshotButton {
            objectName: "snapshotButton"
            enabled: bar.cam.running
            onClicked: bar.photoRequested()
        }
        RecordButton {
            objectName: "recordButton"
            recording: bar.cam.isRecording
            animated: !bar.sparingRedraws
            onClicked: bar.recordToggleRequested()
        }
        // A recording that lost a camera: the time stands out on the alert colour.
        Label {
            objectName: "recordTime"
            readonly property bool degraded: bar.cam.isRecording && bar.cam.cameraMissing
            text: bar.viewState.recordTimeText
            font.family: Theme.monoFamily
            font.pixelSize: 15
            font.bold: degraded
            color: degraded ? "white" : bar.cam.isRecording ? Theme.alert : Theme.text
            leftPadding: degraded ? 8 : 0
            rightPadding: degraded ? 8 : 0
            background: Rectangle {
                visible: parent.degraded
                radius: 4
                color: Theme.alert
            }
        }
        Text {
            objectName: "savingRecording"
            visible: bar.cam.savingRecording
            text: qsTr("Aufnahme wird gespeichert …")
            font.pixelSize: 13
            color: Theme.text
        }
        // Muted, or the microphone is gone: off, and the meter shows no level.
        SymbolIcon {
            objectName: "micSymbol"
            readonly property bool off: bar.viewState.micMuted || bar.cam.microphoneMissing
            name: off ? "mic.slash" : "mic"
            color: off ? Theme.alert : Theme.text
            size: 20
            Layout.leftMargin: 12
        }
        AudioMeter {
            objectName: "audioMeter"
            level: bar.visible ? bar.cam.audioLevel : 0 // no frames for a hidden meter
            muted: bar.viewState.micMuted || bar.cam.microphoneMissing
            animated: !bar.sparingRedraws
            bars: 8
            Layout.leftMargin: -10
        }
        AbstractButton {
            id: stabButton
            objectName: "stabilizationButton"
            focusPolicy: Qt.NoFocus
            implicitHeight: 32
            Layout.leftMargin: 12
            readonly property color tint: bar.settings.stabilizeMacro ? Theme.accent : Theme.secondaryText
            contentItem: Row {
                spacing: 2
                SymbolIcon { name: "wave.3.left"; size: 9; color: stabButton.tint; anchors.verticalCenter: parent.verticalCenter }
                SymbolIcon { name: "camera.fill"; size: 16; color: stabButton.tint; anchors.verticalCenter: parent.verticalCenter }
                SymbolIcon { name: "wave.3.right"; size: 9; color: stabButton.tint; anchors.verticalCenter: parent.verticalCenter }
            }
            background: null
            ToolTip.visible: hovered
            ToolTip.delay: 600
            ToolTip.text: qsTr("Bildstabilisierung (S)")
            Accessible.name: qsTr("Bildstabilisierung")
            Accessible.description: bar.settings.stabilizeMacro ? qsTr("Ein") : qsTr("Aus")
            onClicked: {
                bar.settings.stabilizeMacro = !bar.settings.stabilizeMacro
                bar.viewState.bumpActivity()
            }
        }
        Item { Layout.fillWidth: true }
        ColumnLayout {
            spacing: 0
            Text {
                objectName: "macroSizeLabel"
                text: qsTr("MACRO-GRÖSSE %1 %").arg(Math.round(bar.viewState.macroFraction * 100))
                font.family: Theme.monoFamily
                font.pixelSize: 11
                color: Theme.secondaryText
            }
            Slider {
                objectName: "macroSizeSlider"
                focusPolicy: Qt.NoFocus
                from: bar.viewState.minFraction
                to: bar.viewState.maxFraction
                value: bar.viewState.macroFraction
                onMoved: { bar.viewState.macroFraction = value; bar.viewState.bumpActivity() }
                Layout.preferredWidth: 200
            }
        }
    }
}
