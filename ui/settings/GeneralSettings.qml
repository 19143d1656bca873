import QtQuick
import QtQuick.Controls
import QtQuick.Layouts

// Settings tab "Allgemein": appearance, watermark, keyboard shortcuts.
SettingsTab {
    id: tab

    required property var settings   // SettingsStore
    required property var controller // SettingsController

    SettingsSection {
        title: qsTr("Darstellung")
        footer: qsTr("Sprache: OSTREL folgt der Sprache deines Desktops (Deutsch/Englisch). Ändern in den Einstellungen des Desktops unter „Region und Sprache“ (GNOME) bzw. „Regionaleinstellungen → Sprache“ (KDE); gilt ab der nächsten Anmeldung.")
        Label { text: qsTr("Erscheinungsbild"); color: Theme.text }
        RowLayout {
            objectName: "appearancePicker"
            spacing: 16
            Repeater {
                model: tab.controller.appearanceLabels
                delegate: RadioButton {
                    required property string modelData
                    required property int index
                    objectName: "appearance" + index
                    text: modelData
                    checked: tab.controller.appearance === index
                    onToggled: tab.controller.appearance = index
                }
            }
        }
    }

    SettingsSection {
        title: qsTr("Wasserzeichen")
        Switch {
            objectName: "watermarkSwitch"
            text: qsTr("Praxis-Wasserzeichen einblenden")
            checked: tab.settings.watermarkOn
            onToggled: tab.settings.watermarkOn = checked
        }
        RowLayout {
            visible: tab.settings.watermarkOn
            Layout.fillWidth: true
            spacing: 12
            Label { text: qsTr("Praxisname"); color: Theme.text }
            TextField {
                objectName: "praxisField"
                Layout.fillWidth: true
                text: tab.settings.praxisText
                // Every keystroke is stored.
                onTextEdited: tab.settings.praxisText = text
            }
        }
    }

    SettingsSection {
        title: qsTr("Tastenkürzel")
        HotkeyList { Layout.fillWidth: true }
    }
}
