import QtQuick
import QtQuick.Layouts

// The keyboard shortcuts of the main window and the menus, for the settings window.
ColumnLayout {
    id: list
    spacing: 6

    readonly property string ctrl: qsTr("Strg")
    readonly property var rows: [
        [qsTr("Foto aufnehmen"), qsTr("Leertaste")],
        [qsTr("Aufnahme starten / stoppen"), "R"],
        [qsTr("Wide- und Macro-Kamera tauschen"), "W"],
        [qsTr("Mikrofon stummschalten"), "M"],
        [qsTr("Bildstabilisierung ein / aus"), "S"],
        [qsTr("Makro-Größe 10–70 %"), "1 – 7"],
        [qsTr("Makro-Größe feiner anpassen"), ctrl + " + / " + ctrl + " −"],
        [qsTr("Einstellungen öffnen"), ctrl + " ,"],
        [qsTr("Aufnahmeordner im Dateimanager öffnen"), ctrl + " ⇧ O"],
        [qsTr("Vollbild ein / aus"), "F11"]
    ]

    Repeater {
        model: list.rows
        delegate: RowLayout {
            required property var modelData
            Layout.fillWidth: true
            Text {
                text: modelData[0]
                color: Theme.text
                Layout.fillWidth: true
            }
            Text {
                text: modelData[1]
                font.family: Theme.monoFamily
                color: Theme.secondaryText
            }
        }
    }
}
