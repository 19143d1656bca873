import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// Settings tab "Hilfe & Info": about block, support link, diagnostics window.
SettingsTab {
    id: tab

    signal diagnosticsRequested()

    SettingsSection {
        AboutContent { Layout.fillWidth: true }
    }

    SettingsSection {
        title: qsTr("Hilfe")
        Button {
            objectName: "supportLink"
            flat: true
            leftPadding: 34
            text: qsTr("Support kontaktieren")
            onClicked: Qt.openUrlExternally("mailto:" + AboutInfo.supportAddress)
            SymbolIcon { name: "envelope"; size: 16; x: 10; anchors.verticalCenter: parent.verticalCenter }
        }
    }

    SettingsSection {
        footer: qsTr("Nur im Notfall — das Fehlerprotokoll hilft dem Support, falls etwas klemmt.")
        Button {
            objectName: "diagnosticsButton"
            leftPadding: 34
            text: qsTr("Diagnose / Fehlerprotokoll öffnen…")
            onClicked: tab.diagnosticsRequested()
            SymbolIcon { name: "stethoscope"; size: 16; x: 10; anchors.verticalCenter: parent.verticalCenter }
        }
    }
}
