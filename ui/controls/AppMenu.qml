import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// A menu whose items show their shortcut on the right and are as wide as the longest item,
// so no text is cut off.
Menu {
    id: menu

    width: {
        let widest = 0
        for (let i = 0; i < count; ++i) {
            const item = itemAt(i)
            if (item)
                widest = Math.max(widest, item.implicitWidth)
        }
        return Math.max(180, widest + leftPadding + rightPadding)
    }

    delegate: MenuItem {
        id: entry
        readonly property string shortcutText: entry.action ? ShortcutText.of(entry.action.shortcut) : ""
        contentItem: RowLayout {
            spacing: 24
            Label {
                text: entry.text
                color: entry.palette.windowText
                Layout.fillWidth: true
            }
            Label {
                objectName: "shortcutLabel"
                visible: entry.shortcutText.length > 0
                text: entry.shortcutText
                color: Theme.secondaryText
            }
        }
    }
}
