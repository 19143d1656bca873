import QtQuick
import QtQuick.Controls

// A modal alert of the main view. It takes the keyboard while it is up, so plain keys never
// act on the live view behind it; Return and Escape close it. A modal popup blocks the menu's
// own shortcuts, so the commands that must always work are offered here too: a recording can
// always be stopped, a photo taken, the app ended.
Dialog {
    id: alert

    signal recordToggleRequested()
    signal photoRequested()
    signal quitRequested()

    anchors.centerIn: parent
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape

    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: alert.visible
        onActivated: alert.close()
    }
    Shortcut {
        sequence: "Ctrl+R"
        enabled: alert.visible
        onActivated: alert.recordToggleRequested()
    }
    Shortcut {
        sequence: "Ctrl+P"
        enabled: alert.visible
        onActivated: alert.photoRequested()
    }
    Shortcut {
        sequence: StandardKey.Quit
        enabled: alert.visible
        onActivated: alert.quitRequested()
    }
}
