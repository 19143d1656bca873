import QtQuick
import QtQuick.Controls

// Running text of the setup pages and the about block.
Label {
    property bool secondary: false
    font.pixelSize: 15
    color: secondary ? Theme.secondaryText : Theme.text
    wrapMode: Text.Wrap
    lineHeight: 1.15
}
