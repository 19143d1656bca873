import QtQuick
import QtQuick.Controls
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
    // While a recording needs the CPU the live view slows down; motion that would redraw the
    // whole window many times a second (sliding bars, the record button's morph, the flash
    // fade, the inset's rounded corners) then becomes a single step, since on a machine without
    // a GPU each redraw costs the encoder frames.
    readonly property bool sparingRedraws: (cam.liveRefreshInterval || 33) > 33

    signal settingsRequested()
    signal quitRequested()

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
        onFlashed: view.sparingRedraws ? flashOff.restart() : flashFade.restart()
        onStorageRefreshDue: view.refreshStorage()
        onFolderMissing: {
            mainState.logFolderMissing()
            view.showFolderMissing = true
        }
    }

    // The menu command starts nothing while no camera runs, but always stops a recording (one
    // that lost a camera goes on); the key and the button leave the conditions to the camera
    // manager.
    function toggleRecording(fromMenu) {
        if (fromMenu && !cam.running && !cam.isRecording)
            return
        if (!cam.isRecording) {
            mainState.recordSeconds = 0
            // The sound track is always there, so that M can mute and unmute it at once.
            cam.setRecordingSoundMuted(mainState.micMuted)
            cam.startRecordingWith(settings.resolutionHigh, true,
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

    Connections {
        target: mainState
        function onMicMutedChanged() { view.cam.setRecordingSoundMuted(mainState.micMuted) }
    }
    Connections {
        target: view.cam
        function onFilesSaved(paths, recording) { mainState.noteSaved(paths, recording) }
    }

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
        function onFileManagerMissing(path) {
            mainState.showNotice(qsTr("Kein Dateimanager gefunden"),
                                 qsTr("Die Datei liegt in %1").arg(path), "", 10000)
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
    LivePictures {
        anchors.fill: parent
        cam: view.cam
        settings: view.settings
        viewState: mainState
        sparingRedraws: view.sparingRedraws
    }

    // 2. Overlays.
    CornerOverlays {
        anchors.fill: parent
        cam: view.cam
        settings: view.settings
        viewState: mainState
        barsShown: topBar.visible
        onRevealRequested: (path) => view.recordings.revealInFileManager(path)
    }

    // 3. The control bars.
    TopBar {
        id: topBar
        cam: view.cam
        settings: view.settings
        viewState: mainState
        sparingRedraws: view.sparingRedraws
        onSettingsRequested: view.settingsRequested()
    }
    BottomBar {
        cam: view.cam
        settings: view.settings
        viewState: mainState
        sparingRedraws: view.sparingRedraws
        onPhotoRequested: view.takePhotos()
        onRecordToggleRequested: view.toggleRecording(false)
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
    // The flash without its fade: two frames instead of one per display refresh. A timer, not
    // a pause animation, which would keep the window rendering.
    Timer {
        id: flashOff
        interval: 400
        onTriggered: mainState.flashOpacity = 0
    }

    // Alerts.
    AlertDialog {
        id: folderMissing
        objectName: "folderMissingAlert"
        onRecordToggleRequested: view.toggleRecording(true)
        onPhotoRequested: view.takePhotos()
        onQuitRequested: view.quitRequested()
        width: Math.min(460, view.width - 40)
        title: qsTr("Aufnahmeordner nicht gefunden")
        visible: view.showFolderMissing
        onClosed: {
            view.showFolderMissing = false
            view.forceActiveFocus()
        }
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

    AlertDialog {
        id: userAlertDialog
        objectName: "userAlert"
        onRecordToggleRequested: view.toggleRecording(true)
        onPhotoRequested: view.takePhotos()
        onQuitRequested: view.quitRequested()
        width: Math.min(460, view.width - 40)
        title: qsTr("Hinweis")
        visible: view.cam.userAlert !== ""
        onClosed: {
            view.cam.userAlert = ""
            view.forceActiveFocus()
        }
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
