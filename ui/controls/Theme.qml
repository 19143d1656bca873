pragma Singleton
import QtQuick

// The shared palette. `dark` follows the appearance the shell applies.
QtObject {
    property bool dark: true

    readonly property color ink: Qt.rgba(10 / 255, 10 / 255, 10 / 255, 1)
    readonly property color paper: Qt.rgba(250 / 255, 250 / 255, 247 / 255, 1)
    readonly property color accent: Qt.rgba(196 / 255, 147 / 255, 63 / 255, 1)
    readonly property color alert: Qt.rgba(255 / 255, 69 / 255, 58 / 255, 1)
    readonly property color warning: "#ff9f0a"

    readonly property color background: dark ? "#1c1c1e" : "#f2f2f0"
    readonly property color surface: dark ? "#2c2c2e" : "#ffffff"
    readonly property color text: dark ? paper : ink
    readonly property color secondaryText: dark ? "#a1a1a6" : "#6e6e73"
    readonly property color separator: dark ? "#3a3a3c" : "#d8d8d4"

    readonly property string monoFamily: "DejaVu Sans Mono"
}
