import QtQuick
import QtQuick.Window

// The single diagnostics window.
Window {
    id: window
    objectName: "ostrel-diagnostics"
    required property var logModel
    required property var diagnostics
    signal quitRequested()
    title: qsTr("Diagnose")
    width: 560
    height: 720
    minimumWidth: 460
    minimumHeight: 520
    color: Theme.background

    // The menu's shortcut belongs to the main window; quitting works from here too.
    Shortcut {
        sequences: [StandardKey.Quit]
        onActivated: window.quitRequested()
    }
    // An open menu or list takes its Escape first.
    Shortcut {
        sequences: [StandardKey.Close, "Escape"]
        onActivated: window.close()
    }

    WindowPalette { target: window }

    DiagnosticsView {
        anchors.fill: parent
        logModel: window.logModel
        diagnostics: window.diagnostics
    }
}
