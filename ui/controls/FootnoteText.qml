import QtQuick
import QtQuick.Controls

// Small secondary text: section footers, hints and footnotes.
Label {
    font.pixelSize: 12
    color: Theme.secondaryText
    wrapMode: Text.Wrap
}
