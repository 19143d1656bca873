import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// A setup page of titled text blocks; the symbol, when given, stands next to the first title.
Item {
    id: page

    property string symbol
    property var blocks: [] // [{title, text}]

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 48
        spacing: 24

        Repeater {
            model: page.blocks
            delegate: ColumnLayout {
                required property var modelData
                required property int index
                Layout.fillWidth: true
                spacing: 10
                RowLayout {
                    spacing: 12
                    SymbolIcon {
                        visible: page.symbol.length > 0 && index === 0
                        name: page.symbol
                        size: 30
                    }
                    PageTitle {
                        Layout.fillWidth: true
                        text: modelData.title
                    }
                }
                CalloutText {
                    Layout.fillWidth: true
                    text: modelData.text
                }
            }
        }
        Item { Layout.fillHeight: true }
    }
}
