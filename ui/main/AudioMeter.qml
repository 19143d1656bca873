import QtQuick

// The microphone level as a row of bars; the top two light up red.
Row {
    id: meter

    property real level: 0
    property bool muted: false
    property int bars: 8
    property bool animated: true
    readonly property int lit: muted ? 0 : Math.round(level * bars)

    spacing: 3

    Repeater {
        model: meter.bars
        delegate: Rectangle {
            required property int index
            readonly property bool on: index < meter.lit
            width: 5
            height: 18
            radius: 2
            color: !on ? Theme.text : (index < meter.bars - 2 ? Theme.accent : Theme.alert)
            opacity: on ? 1 : 0.18
            Behavior on color { enabled: meter.animated; ColorAnimation { duration: 60 } }
            Behavior on opacity { enabled: meter.animated; NumberAnimation { duration: 60 } }
        }
    }
}
