import QtQuick
import QtQuick.Shapes

// Stands in for a camera without picture: a slowly drifting dark gradient and its name.
Item {
    id: feed
    property real seed: 0
    property bool macro: false
    // Seconds of the drift; the animation moves it, tests may set it.
    property real time: Date.now() / 1000

    readonly property real phase: 0.5 * Math.sin(seed + 0.15 * time) + 0.5

    Timer {
        interval: 100
        running: feed.visible
        repeat: true
        onTriggered: feed.time = Date.now() / 1000
    }

    // A diagonal from the top-leading to the bottom-trailing corner.
    Shape {
        anchors.fill: parent
        ShapePath {
            strokeWidth: -1
            fillGradient: LinearGradient {
                x1: 0; y1: 0
                x2: feed.width; y2: feed.height
                GradientStop { position: 0; color: Qt.hsva(0.55 + 0.08 * feed.phase, 0.22, 0.2, 1) }
                GradientStop { position: 1; color: Qt.hsva(0.6, 0.3, 0.06, 1) }
            }
            startX: 0; startY: 0
            PathLine { x: feed.width; y: 0 }
            PathLine { x: feed.width; y: feed.height }
            PathLine { x: 0; y: feed.height }
            PathLine { x: 0; y: 0 }
        }
    }

    Text {
        anchors.centerIn: parent
        text: feed.macro ? qsTr("MACRO (kein Signal)") : qsTr("WIDE (kein Signal)")
        font.family: Theme.monoFamily
        font.weight: Font.Medium
        font.pixelSize: feed.macro ? 11 : 13
        color: Qt.rgba(1, 1, 1, 0.35)
    }
}
