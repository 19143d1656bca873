import QtQuick
import QtQuick.Controls

// A picker over a device list ({id, displayName} entries): shows the entry whose id is
// `selectedID` (none when it is not listed) and reports the user's choice with `chosen`.
ComboBox {
    id: picker

    property var devices: []
    property string selectedID
    signal chosen(string id)

    model: devices
    textRole: "displayName"
    valueRole: "id"
    currentIndex: devices.findIndex(d => d.id === selectedID)
    displayText: currentIndex >= 0 ? devices[currentIndex].displayName : ""
    onActivated: index => picker.chosen(picker.devices[index].id)
}
