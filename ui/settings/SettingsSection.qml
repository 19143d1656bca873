import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// One section of a grouped form: an optional title, the rows on a rounded surface, an optional
// footer in small secondary text.
ColumnLayout {
    id: section

    property string title
    property string footer
    default property alias rows: box.data

    Layout.fillWidth: true
    spacing: 6

    Label {
        visible: section.title.length > 0
        text: section.title
        font.pixelSize: 12
        font.bold: true
        color: Theme.secondaryText
        leftPadding: 4
    }
    Rectangle {
        Layout.fillWidth: true
        implicitHeight: box.implicitHeight + 20
        radius: 8
        color: Theme.surface
        ColumnLayout {
            id: box
            anchors.fill: parent
            anchors.margins: 10
            spacing: 8
        }
    }
    FootnoteText {
        visible: section.footer.length > 0
        Layout.fillWidth: true
        leftPadding: 4
        text: section.footer
    }
}
