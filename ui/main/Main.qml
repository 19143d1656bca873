import QtQuick
import QtQuick.Controls
import QtQuick.Window
import Ostrel

// The main window: the first-run setup until it is done, then the main view; the menu
// commands; the settings, diagnostics and about windows. Closing it is a quit request.
// Context objects from the shell: settings, devices, recordings, captureBackend, cam,
// appController, logModel, diagnostics, desktopColorScheme.
ApplicationWindow {
    id: window
    objectName: "mainWindow"
    // The taskbar shows a running recording too.
    title: cam.isRecording ? "● REC – OSTREL" : "OSTREL"
    width: 1280
    height: 800
    minimumWidth: settings.didCompleteOnboarding ? 900 : 720
    minimumHeight: settings.didCompleteOnboarding ? 560 : 600
    visible: true
    color: Theme.ink

    // The appearance for every window: 1 light, 2 dark, anything else follows the system:
    // the desktop's stated preference (settings portal), else the palette.
    SystemPalette { id: systemPalette }
    Binding {
        target: Theme
        property: "dark"
        value: settings.appearanceMode === 1 ? false
             : settings.appearanceMode === 2 ? true
             : desktopColorScheme.preference === 1 ? true
             : desktopColorScheme.preference === 2 ? false
             : systemPalette.window.hslLightness < 0.5
    }

    WindowPalette { target: window }

    // Full screen for a treatment, and back.
    Shortcut {
        sequence: "F11"
        onActivated: window.visibility = window.visibility === Window.FullScreen ? Window.Windowed
                                                                                  : Window.FullScreen
    }

    // Leaving the main view for the setup saves a running recording and frees the cameras.
    Binding {
        target: appController
        property: "mainViewShown"
        value: settings.didCompleteOnboarding
    }

    onClosing: (close) => {
        close.accepted = false
        appController.requestQuit()
    }

    // The five command notifications reach the main view only; during the setup they do nothing.
    function post(command) {
        const view = content.item
        if (!view || !view.hasOwnProperty("cam"))
            return
        switch (command) {
        case "ostrel.toggleRecording": view.toggleRecording(true); break
        case "ostrel.snapshot": view.takePhotos(); break
        case "ostrel.openFolder": view.openFolder(); break
        case "ostrel.macroLarger": view.changeMacroSize(0.05); break
        case "ostrel.macroSmaller": view.changeMacroSize(-0.05); break
        }
    }

    function openSettings() {
        // An open window is only raised, keeping its tab; a closed one comes back fresh:
        // first tab, options closed.
        if (!settingsLoader.item || !settingsLoader.item.visible) {
            settingsLoader.active = false
            settingsLoader.active = true
            centre(settingsLoader.item)
        }
        settingsLoader.item.show()
        settingsLoader.item.raise()
        settingsLoader.item.requestActivate()
    }

    function openDiagnostics() {
        // A closed window comes back fresh: filter "Alle", list at the top.
        if (!diagnosticsLoader.item || !diagnosticsLoader.item.visible) {
            diagnosticsLoader.active = false
            diagnosticsLoader.active = true
            centre(diagnosticsLoader.item)
        }
        diagnosticsLoader.item.show()
        diagnosticsLoader.item.raise()
        diagnosticsLoader.item.requestActivate()
    }

    // Over the middle of the main window and on its screen: a plain window manager would put a
    // new window in a corner, partly off the screen.
    function centre(other) {
        const area = window.screen
        const x = window.x + (window.width - other.width) / 2
        const y = window.y + (window.height - other.height) / 2
        other.x = Math.round(Math.max(area.virtualX, Math.min(x, area.virtualX + area.width - other.width)))
        other.y = Math.round(Math.max(area.virtualY, Math.min(y, area.virtualY + area.height - other.height)))
    }

    menuBar: MenuBar {
        AppMenu {
            title: "OSTREL"
            Action { text: qsTr("Über OSTREL"); onTriggered: aboutDialog.open() }
            Action { text: qsTr("Einstellungen…"); shortcut: "Ctrl+,"; onTriggered: window.openSettings() }
            MenuSeparator {}
            Action { text: qsTr("OSTREL beenden"); shortcut: StandardKey.Quit; onTriggered: appController.requestQuit() }
        }
        AppMenu {
            title: qsTr("Datei")
            Action {
                text: qsTr("Aufnahmeordner öffnen")
                shortcut: "Ctrl+Shift+O"
                onTriggered: window.post("ostrel.openFolder")
            }
        }
        AppMenu {
            title: qsTr("Aufnahme")
            Action {
                objectName: "toggleRecordingAction"
                text: qsTr("Aufnahme starten / stoppen")
                shortcut: "Ctrl+R"
                onTriggered: window.post("ostrel.toggleRecording")
            }
            Action {
                text: qsTr("Foto aufnehmen")
                shortcut: "Ctrl+P"
                onTriggered: window.post("ostrel.snapshot")
            }
            MenuSeparator {}
            Action {
                text: qsTr("Makro vergrößern")
                shortcut: StandardKey.ZoomIn
                onTriggered: window.post("ostrel.macroLarger")
            }
            Action {
                text: qsTr("Makro verkleinern")
                shortcut: StandardKey.ZoomOut
                onTriggered: window.post("ostrel.macroSmaller")
            }
        }
        AppMenu {
            title: qsTr("Hilfe")
            Action {
                text: qsTr("Support kontaktieren (E-Mail)")
                onTriggered: Qt.openUrlExternally("mailto:support@ostrel.de")
            }
            Action {
                text: qsTr("OSTREL im Web öffnen") + " (" + AboutInfo.webDomain + ")"
                onTriggered: Qt.openUrlExternally("https://ostrel.de")
            }
            MenuSeparator {}
            Action {
                objectName: "diagnosticsAction"
                text: qsTr("Diagnose")
                onTriggered: window.openDiagnostics()
            }
        }
    }

    Loader {
        id: content
        objectName: "content"
        anchors.fill: parent
        sourceComponent: settings.didCompleteOnboarding ? mainView : setup
    }

    Component {
        id: setup
        OnboardingView {
            devices: window.devicesStore
            recordings: window.recordingsStore
            settings: window.settingsStore
            backend: captureBackend
        }
    }

    Component {
        id: mainView
        ContentView {
            cam: window.camera
            devices: window.devicesStore
            recordings: window.recordingsStore
            settings: window.settingsStore
            onSettingsRequested: window.openSettings()
            onQuitRequested: appController.requestQuit()
        }
    }

    // Context objects under names the components can bind to.
    readonly property var devicesStore: devices
    readonly property var recordingsStore: recordings
    readonly property var settingsStore: settings
    readonly property var camera: cam

    Loader {
        id: settingsLoader
        active: false
        sourceComponent: SettingsWindow {
            devices: window.devicesStore
            recordings: window.recordingsStore
            settings: window.settingsStore
            cameraControls: window.cameraControlsRef
            onSetupRequested: {
                // The setup comes back in the main window; the delegate frees the cameras.
                close()
                window.raise()
            }
            onDiagnosticsRequested: window.openDiagnostics()
            onQuitRequested: appController.requestQuit()
        }
    }

    Loader {
        id: diagnosticsLoader
        active: false
        sourceComponent: DiagnosticsWindow {
            logModel: window.logModelRef
            diagnostics: window.diagnosticsRef
            onQuitRequested: appController.requestQuit()
        }
    }
    readonly property var logModelRef: logModel
    readonly property var diagnosticsRef: diagnostics
    readonly property var cameraControlsRef: typeof cameraControls === "undefined" ? null : cameraControls

    Dialog {
        id: aboutDialog
        objectName: "aboutDialog"
        title: qsTr("Über OSTREL")
        anchors.centerIn: parent
        modal: true
        standardButtons: Dialog.Ok
        AboutContent {}
    }
}
