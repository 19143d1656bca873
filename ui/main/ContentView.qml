import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import QtQuick.Shapes
import Ostrel

// The main view: the Wide picture fills it, the Macro picture sits as an inset at the bottom,
// and two control bars fade in on activity and hide after 6 s of quiet.
//
// For the application shell:
//   ContentView {
//       cam: cameraManager          // CameraManager
//       devices: deviceStore        // DeviceStore
//       recordings: recordingsStore // RecordingsStore
//       settings: settingsStore     // SettingsStore
//       onSettingsRequested: ...    // the gear button
//   }
// Menu commands: toggleRecording(true), takePhotos(), openFolder(), changeMacroSize(±0.05).
// On creation it points the camera manager at the recording folder, checks that folder,
// starts capture and takes the keyboard focus.
FocusScope {
    id: view

    required property var cam        // CameraManager
    required property var devices    // DeviceStore
    required property var recordings // RecordingsStore
    required property var settings   // SettingsStore
    property bool showFolderMissing: false

    signal settingsRequested()

    focus: true
    implicitWidth: 1280
    implicitHeight: 800

    MainViewState {
        id: mainState
        objectName: "mainViewState"
        camera: view.cam
        recording: view.cam.isRecording
        onMacroFractionChanged: view.cam.setMacroFraction(macroFraction)
        onPhotoRequested: view.takePhotos()
        onRecordToggleRequested: view.toggleRecording(false)
        onStabilizationToggleRequested: view.settings.stabilizeMacro = !view.settings.stabilizeMacro
        onSwapRequested: view.devices.swapWideMacro()
        onFlashed: flashFade.restart()
        onStorageRefreshDue: view.refreshStorage()
        onFolderMissing: {
            mainState.logFolderMissing()
            view.showFolderMissing = true
        }
    }

    // The menu command is ignored while no camera runs; the key and the button leave the
    // conditions to the camera manager.
    function toggleRecording(fromMenu) {
        if (fromMenu && !cam.running)
            return
        if (!cam.isRecording) {
            mainState.recordSeconds = 0
            cam.startRecordingWith(settings.resolutionHigh, !mainState.micMuted,
                                   settings.watermarkOn, settings.praxisText,
                                   mainState.macroFraction)
        } else {
            cam.stopRecording()
        }
        mainState.bumpActivity()
    }

    function takePhotos() {
        if (!cam.running)
            return false
        cam.takeSnapshot(settings.resolutionHigh, settings.watermarkOn, settings.praxisText,
                         mainState.macroFraction)
        mainState.flash()
        mainState.bumpActivity()
        return true
    }

    function openFolder() { recordings.revealInFileManager() }
    function changeMacroSize(amount) { mainState.changeMacroSize(amount) }
    function refreshStorage() { mainState.refreshStorage(recordings, settings.resolutionHigh) }

    Keys.onPressed: (event) => {
        event.accepted = mainState.handleKey(event.key, event.modifiers)
    }

    Component.onCompleted: {
        cam.saveURL = recordings.folderURL
        cam.setStabilizationEnabled(settings.stabilizeMacro)
        refreshStorage()
        mainState.checkFolder(recordings)
        Qt.callLater(() => view.cam.startCapture())
        mainState.bumpActivity()
        forceActiveFocus()
    }

    Connections {
        target: view.recordings
        function onFolderURLChanged() {
            view.cam.saveURL = view.recordings.folderURL
            view.refreshStorage()
        }
    }
    Connections {
        target: view.settings
        function onStabilizeMacroChanged() { view.cam.setStabilizationEnabled(view.settings.stabilizeMacro) }
        function onResolutionHighChanged() { view.refreshStorage() }
    }
    Connections {
        target: view.devices
        function onWideUIDChanged() { mainState.restartCapture() }
        function onMacroUIDChanged() { mainState.restartCapture() }
        function onMicUIDChanged() { mainState.restartCapture() }
    }

    // 1. The pictures.
    Item {
        id: videoArea
        anchors.fill: parent

        Rectangle { anchors.fill: parent; color: "black" }
        LiveCameraView {
            objectName: "wideView"
            anchors.fill: parent
            visible: view.cam.running
            index: 0
            stabilized: false
            refreshInterval: view.cam.liveRefreshInterval || 33
        }
        PlaceholderFeed {
            anchors.fill: parent
            visible: !view.cam.running
            seed: 0
            macro: false
        }

        Item {
            id: inset
            objectName: "macroInset"
            width: view.width * mainState.macroFraction
            height: width * 9 * 0.0625
            anchors.horizontalCenter: parent.horizontalCenter
            anchors.bottom: parent.bottom

            RoundedTopClip {
                anchors.fill: parent
                radius: 8
                Rectangle { anchors.fill: parent; color: "black" }
                LiveCameraView {
                    objectName: "macroView"
                    anchors.fill: parent
                    visible: view.cam.running
                    index: 1
                    stabilized: true
                    refreshInterval: view.cam.liveRefreshInterval || 33
                }
                PlaceholderFeed {
                    anchors.fill: parent
                    visible: !view.cam.running
                    seed: 3.0
                    macro: true
                }
            }

            // Where the whole Macro frame lies around the visible crop.
            Rectangle {
                objectName: "stabFrame"
                // The offset changes with every Macro frame; a hidden frame must not make the
                // window render for it.
                readonly property point offset: visible ? view.cam.stabOffset : Qt.point(0, 0)
                readonly property real zoom: {
                    offset
                    view.settings.stabCropZoom
                    return visible ? Math.max(1, view.cam.currentZoom()) : 1
                }
                visible: view.cam.running && view.settings.devStabFrame && view.settings.stabilizeMacro
                width: inset.width * zoom
                height: inset.height * zoom
                x: (inset.width - width) / 2 - offset.x * inset.width
                y: (inset.height - height) / 2 + offset.y * inset.height
                color: "transparent"
                border.color: "yellow"
                border.width: 1.5
                opacity: 0.85
            }

            Shape {
                anchors.fill: parent
                ShapePath {
                    strokeColor: "white"
                    strokeWidth: 2
                    fillColor: "transparent"
                    startX: 1; startY: inset.height
                    PathLine { x: 1; y: 8 }
                    PathArc { x: 8; y: 1; radiusX: 7; radiusY: 7 }
                    PathLine { x: inset.width - 8; y: 1 }
                    PathArc { x: inset.width - 1; y: 8; radiusX: 7; radiusY: 7 }
                    PathLine { x: inset.width - 1; y: inset.height }
                    PathLine { x: 1; y: inset.height }
                }
            }
        }

        VideoInteractionView {
            objectName: "interaction"
            anchors.fill: parent
            onScrolled: (amount) => mainState.changeMacroSize(amount)
            onActivity: mainState.bumpActivity()
        }
    }

    // 2. Corner overlays.
    Text {
        objectName: "praxisPreview"
        visible: view.settings.watermarkOn && view.settings.praxisText !== ""
        text: view.settings.praxisText
        anchors.left: parent.left
        anchors.leftMargin: 18
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 12
        font.pixelSize: 12
        color: Qt.rgba(1, 1, 1, 0.92)
        style: Text.Raised
        styleColor: Qt.rgba(0, 0, 0, 0.8)
    }

    Row {
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 12
        spacing: 8
        OstrelMark {
            height: 26
            width: 26 * 2
            ringColor: Theme.paper
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            text: "ostrel.de"
            font.family: "Archivo Black"
            font.pixelSize: 19
            color: Qt.rgba(1, 1, 1, 0.92)
            style: Text.Raised
            styleColor: Qt.rgba(0, 0, 0, 0.8)
            anchors.verticalCenter: parent.verticalCenter
        }
    }

    Column {
        objectName: "fpsOverlay"
        visible: view.settings.devShowFPS
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.top: parent.top
        anchors.topMargin: 64
        spacing: 2
        Text {
            text: "Wide  " + (view.cam.fps["0"] || 0) + " fps"
            font.family: Theme.monoFamily; font.pixelSize: 12; color: "white"
            style: Text.Raised; styleColor: Qt.rgba(0, 0, 0, 0.8)
        }
        Text {
            text: "Macro " + (view.cam.fps["1"] || 0) + " fps"
            font.family: Theme.monoFamily; font.pixelSize: 12; color: "white"
            style: Text.Raised; styleColor: Qt.rgba(0, 0, 0, 0.8)
        }
        Text {
            readonly property int rate: view.cam.writerFPS === null || view.cam.writerFPS === undefined ? 0 : view.cam.writerFPS
            visible: view.cam.isRecording
            text: "REC   " + rate + " fps"
            font.family: Theme.monoFamily; font.pixelSize: 12
            color: rate >= 24 ? "#30d158" : Theme.alert
            style: Text.Raised; styleColor: Qt.rgba(0, 0, 0, 0.8)
        }
    }

    // This machine cannot record the chosen resolution at the camera rate: say so plainly.
    Rectangle {
        objectName: "recordingNotice"
        visible: view.cam.isRecording && (view.cam.recordingNotice || "") !== ""
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.topMargin: 64
        width: Math.min(parent.width - 36, noticeText.implicitWidth + 28)
        height: noticeText.implicitHeight + 16
        radius: 8
        color: Qt.rgba(0, 0, 0, 0.62)
        Text {
            id: noticeText
            anchors.centerIn: parent
            width: Math.min(implicitWidth, view.width - 64)
            text: view.cam.recordingNotice || ""
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: 13
            color: "white"
        }
    }

    // The storage warning stays in sight while the bars are hidden: the recording will end by
    // itself when the disk fills.
    Label {
        objectName: "storageWarningOverlay"
        visible: view.cam.storageWarning !== "" && !topBar.visible
        text: view.cam.storageWarning
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.top: parent.top
        anchors.topMargin: 14
        leftPadding: 8; rightPadding: 8; topPadding: 4; bottomPadding: 4
        font.pixelSize: 12
        font.bold: true
        color: Theme.warning
        background: Rectangle { radius: height / 2; color: Qt.rgba(0, 0, 0, 0.7) }
    }

    StabilizerOverlay {
        objectName: "stabilizerOverlay"
        visible: view.settings.devStabSliders
        settings: view.settings
        viewState: mainState
        liveOffset: visible ? view.cam.stabOffset : Qt.point(0, 0)
        anchors.left: parent.left
        anchors.leftMargin: 18
        anchors.verticalCenter: parent.verticalCenter
    }

    // 3. The control bars.
    Rectangle {
        id: topBar
        objectName: "topBar"
        width: parent.width
        height: 52
        y: mainState.controlsVisible ? 0 : -height
        opacity: mainState.controlsVisible ? 1 : 0
        visible: opacity > 0
        color: Theme.background
        Behavior on y { NumberAnimation { duration: mainState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }
        Behavior on opacity { NumberAnimation { duration: mainState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }

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
                color: view.cam.isRecording ? Theme.alert : view.cam.running ? "#30d158" : Theme.warning
            }
            Text {
                objectName: "statusText"
                text: view.cam.statusText
                font.family: Theme.monoFamily
                font.pixelSize: 12
                color: Theme.text
                Layout.leftMargin: -8
            }
            AbstractButton {
                objectName: "restartButton"
                visible: !view.cam.running
                focusPolicy: Qt.NoFocus
                implicitWidth: 20; implicitHeight: 20
                Accessible.name: qsTr("Kameras neu starten")
                contentItem: SymbolIcon { name: "arrow.clockwise"; size: 12; color: Theme.accent }
                onClicked: { view.cam.startCapture(); mainState.bumpActivity() }
            }
            Item { Layout.fillWidth: true }
            AbstractButton {
                objectName: "resolutionBadge"
                focusPolicy: Qt.NoFocus
                leftPadding: 10; rightPadding: 10; topPadding: 3; bottomPadding: 3
                contentItem: Text {
                    text: view.settings.resolutionHigh ? "2560 × 1440" : qsTr("Full HD")
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
                text: mainState.storageText
                font.pixelSize: 12
                color: Theme.secondaryText
            }
            Text {
                objectName: "storageWarning"
                visible: text !== ""
                text: view.cam.storageWarning
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
                onClicked: view.settingsRequested()
            }
        }
    }

    Rectangle {
        id: bottomBar
        objectName: "bottomBar"
        width: parent.width
        height: 84
        y: mainState.controlsVisible ? parent.height - height : parent.height
        opacity: mainState.controlsVisible ? 1 : 0
        visible: opacity > 0
        color: Theme.background
        Behavior on y { NumberAnimation { duration: mainState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }
        Behavior on opacity { NumberAnimation { duration: mainState.controlsVisible ? 250 : 400; easing.type: Easing.InOutQuad } }

        Rectangle { anchors.top: parent.top; width: parent.width; height: 1; color: Theme.separator }

        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 24
            anchors.rightMargin: 24
            spacing: 18

            SnapshotButton {
                objectName: "snapshotButton"
                enabled: view.cam.running
                onClicked: view.takePhotos()
            }
            RecordButton {
                objectName: "recordButton"
                recording: view.cam.isRecording
                onClicked: view.toggleRecording(false)
            }
            Text {
                objectName: "recordTime"
                text: mainState.recordTimeText
                font.family: Theme.monoFamily
                font.pixelSize: 15
                color: view.cam.isRecording ? Theme.alert : Theme.text
            }
            Text {
                objectName: "savingRecording"
                visible: view.cam.savingRecording
                text: qsTr("Aufnahme wird gespeichert …")
                font.pixelSize: 13
                color: Theme.text
            }
            SymbolIcon {
                name: mainState.micMuted ? "mic.slash" : "mic"
                color: mainState.micMuted ? Theme.alert : Theme.text
                size: 20
                Layout.leftMargin: 12
            }
            AudioMeter {
                objectName: "audioMeter"
                level: bottomBar.visible ? view.cam.audioLevel : 0 // no frames for a hidden meter
                muted: mainState.micMuted
                bars: 8
                Layout.leftMargin: -10
            }
            AbstractButton {
                id: stabButton
                objectName: "stabilizationButton"
                focusPolicy: Qt.NoFocus
                implicitHeight: 32
                Layout.leftMargin: 12
                readonly property color tint: view.settings.stabilizeMacro ? Theme.accent : Theme.secondaryText
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
                Accessible.description: view.settings.stabilizeMacro ? qsTr("Ein") : qsTr("Aus")
                onClicked: {
                    view.settings.stabilizeMacro = !view.settings.stabilizeMacro
                    mainState.bumpActivity()
                }
            }
            Item { Layout.fillWidth: true }
            ColumnLayout {
                spacing: 0
                Text {
                    objectName: "macroSizeLabel"
                    text: qsTr("MACRO-GRÖSSE %1 %").arg(Math.round(mainState.macroFraction * 100))
                    font.family: Theme.monoFamily
                    font.pixelSize: 11
                    color: Theme.secondaryText
                }
                Slider {
                    objectName: "macroSizeSlider"
                    focusPolicy: Qt.NoFocus
                    from: 0.1
                    to: 0.7
                    value: mainState.macroFraction
                    onMoved: { mainState.macroFraction = value; mainState.bumpActivity() }
                    Layout.preferredWidth: 200
                }
            }
        }
    }

    // 4. The photo flash.
    Rectangle {
        objectName: "flash"
        anchors.fill: parent
        color: "white"
        opacity: mainState.flashOpacity
        visible: opacity > 0
    }
    NumberAnimation {
        id: flashFade
        target: mainState
        property: "flashOpacity"
        from: 0.75
        to: 0
        duration: 400
        easing.type: Easing.OutQuad
    }

    // Alerts.
    Dialog {
        id: folderMissing
        objectName: "folderMissingAlert"
        anchors.centerIn: parent
        modal: true
        width: Math.min(460, view.width - 40)
        title: qsTr("Aufnahmeordner nicht gefunden")
        visible: view.showFolderMissing
        onClosed: view.showFolderMissing = false
        Label {
            width: folderMissing.availableWidth
            wrapMode: Text.WordWrap
            text: qsTr("Der gewählte Aufnahmeordner ist nicht erreichbar — vermutlich wurde eine externe Festplatte entfernt. Bitte einen neuen Ordner wählen, sonst können Aufnahmen nicht gespeichert werden.")
        }
        footer: DialogButtonBox {
            Button {
                text: qsTr("Ordner wählen…")
                DialogButtonBox.buttonRole: DialogButtonBox.AcceptRole
            }
            Button {
                text: qsTr("Abbrechen")
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
        }
        onAccepted: folderDialog.open()
    }
    RecordingFolderDialog {
        id: folderDialog
        recordings: view.recordings
    }

    Dialog {
        id: userAlertDialog
        objectName: "userAlert"
        anchors.centerIn: parent
        modal: true
        width: Math.min(460, view.width - 40)
        title: qsTr("Hinweis")
        visible: view.cam.userAlert !== ""
        onClosed: view.cam.userAlert = ""
        Label {
            width: userAlertDialog.availableWidth
            wrapMode: Text.WordWrap
            text: view.cam.userAlert
        }
        footer: DialogButtonBox {
            Button {
                text: qsTr("OK")
                DialogButtonBox.buttonRole: DialogButtonBox.RejectRole
            }
        }
    }
}
