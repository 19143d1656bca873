import QtQuick
import QtQuick.Controls

// The title of a setup page, in the brand font.
Label {
    font.family: "Archivo Black"
    font.pixelSize: 26
    color: Theme.text
    wrapMode: Text.Wrap
}
