import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// The scrolling body of one settings tab; its sections are stacked from the top.
ScrollView {
    id: tab

    default property alias sections: column.data

    contentWidth: availableWidth
    clip: true

    ColumnLayout {
        id: column
        width: tab.availableWidth - 40
        x: 20
        spacing: 18
        Item { implicitHeight: 4 }
    }
}
