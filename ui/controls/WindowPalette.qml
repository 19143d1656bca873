import QtQuick

// Gives a window's controls, menus and dialogs the palette of the current appearance, and
// follows it when it changes: without it they keep Fusion's light palette in dark mode.
QtObject {
    required property var target // a Window

    function apply() {
        const p = target.palette
        const dark = Theme.dark
        p.window = Theme.background
        p.windowText = Theme.text
        p.base = Theme.surface
        p.alternateBase = Theme.background
        p.text = Theme.text
        p.button = Theme.surface
        p.buttonText = Theme.text
        p.brightText = Theme.paper
        p.highlight = Theme.accent
        p.highlightedText = Theme.paper
        p.placeholderText = Theme.secondaryText
        p.toolTipBase = Theme.surface
        p.toolTipText = Theme.text
        p.link = Theme.accent
        p.light = dark ? "#48484a" : "#ffffff"
        p.midlight = dark ? "#3a3a3c" : "#e6e6e2"
        p.mid = dark ? "#2c2c2e" : "#c8c8c4"
        p.dark = dark ? "#141416" : "#a0a09c"
        p.shadow = dark ? "#000000" : "#767672"
    }

    Component.onCompleted: apply()
    property Connections follow: Connections {
        target: Theme
        function onDarkChanged() { apply() }
    }
}
