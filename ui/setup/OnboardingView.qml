import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Ostrel

// The first-run setup: nine pages with step dots, "Zurück" and the primary button (also
// Return). The logic lives in OnboardingController.
//
// For the application shell:
//   OnboardingView {
//       devices: deviceStore; recordings: recordingsStore; settings: settingsStore
//       backend: captureBackendHandle  // CaptureBackendHandle, for the camera previews
//       onFinished: ...                // "didCompleteOnboarding" is already true here
//   }
// Every choice is stored at once. The previews exist only on the camera page, so both cameras
// are released before the main view starts capture.
Pane {
    id: view

    required property var devices    // DeviceStore
    required property var recordings // RecordingsStore
    required property var settings   // SettingsStore
    property var backend: null       // CaptureBackendHandle
    readonly property alias controller: onboarding
    signal finished()

    implicitWidth: 720
    implicitHeight: 600
    padding: 0
    palette.highlight: Theme.accent
    palette.window: Theme.background
    palette.windowText: Theme.text
    palette.base: Theme.surface
    palette.text: Theme.text
    palette.button: Theme.surface
    palette.buttonText: Theme.text
    background: Rectangle { color: Theme.background }

    OnboardingController {
        id: onboarding
        objectName: "onboardingController"
        devices: view.devices
        recordings: view.recordings
        settings: view.settings
        onFinished: view.finished()
    }

    Component.onCompleted: onboarding.begin()

    Shortcut {
        sequences: ["Return", "Enter"]
        enabled: view.visible
        onActivated: onboarding.primary()
    }

    ColumnLayout {
        anchors.fill: parent
        spacing: 0

        Loader {
            id: page
            objectName: "onboardingPage"
            Layout.fillWidth: true
            Layout.fillHeight: true
            sourceComponent: [welcome, connect, mount, cable, folder, cameras, mic, tour, done][onboarding.step]
        }

        Rectangle {
            Layout.fillWidth: true
            implicitHeight: 1
            color: Theme.separator
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.margins: 16
            spacing: 12

            Row {
                objectName: "stepDots"
                spacing: 6
                Repeater {
                    model: onboarding.stepCount
                    delegate: Rectangle {
                        required property int index
                        width: 7
                        height: 7
                        radius: 3.5
                        color: index === onboarding.step ? Theme.accent : Theme.secondaryText
                        opacity: index === onboarding.step ? 1 : 0.3
                    }
                }
            }
            Item { Layout.fillWidth: true }
            Button {
                objectName: "backButton"
                text: qsTr("Zurück")
                visible: onboarding.backVisible
                onClicked: onboarding.back()
            }
            Button {
                objectName: "primaryButton"
                text: onboarding.primaryLabel
                enabled: onboarding.primaryEnabled
                highlighted: true
                onClicked: onboarding.primary()
            }
        }
    }

    Component {
        id: welcome
        OnboardingWelcome {}
    }
    Component {
        id: connect
        OnboardingInfoPage {
            symbol: "cable.connector"
            blocks: [{
                title: qsTr("Kameras anschließen"),
                text: qsTr("Schließe beide OSTREL-Kameras mit dem mitgelieferten Kabel an deinen Computer an. Der USB-Hub ist fest in der Kamera verbaut — du brauchst keinen zusätzlichen Hub. Wenn du den USB-Anschluss am Computer wechselst, ordne die Kameras danach kurz neu zu (Einstellungen → Kameras oder „Einrichtung erneut durchführen“).")
            }]
        }
    }
    Component {
        id: mount
        OnboardingInfoPage {
            symbol: "person.crop.circle.badge.checkmark"
            blocks: [{
                title: qsTr("Kamera am Kopfband ausrichten"),
                text: qsTr("Richte die Kamera mit dem Kopfband so aus, dass sie möglichst nah an den Okularen deiner Lupenbrille sitzt und möglichst parallel dazu zeigt. So erhältst du die beste Perspektive aus Sicht des Behandlers (POV).")
            }, {
                title: qsTr("Fokus einstellen"),
                text: qsTr("Der Fokus kann sich verstellen — du justierst ihn direkt an den Linsen.") + "\n\n"
                      + qsTr("Untere Makro-Linse: leicht nach links oder rechts drehen, bis das Bild auf deinen individuellen Arbeitsabstand scharf ist. Stelle das am besten an einem Patienten am Stuhl in echter Arbeitsposition ein — im Stehen oder frei im Raum ist der Abstand oft ein anderer.") + "\n\n"
                      + qsTr("Obere Makro-Linse: ebenfalls drehen, bis das Bild scharf ist, und dann mit der kleinen Klemmschraube gegen das Kameragehäuse feststellen, damit sie sich nicht wieder verstellt.")
            }]
        }
    }
    Component {
        id: cable
        OnboardingInfoPage {
            symbol: "point.topleft.down.to.point.bottomright.curvepath"
            blocks: [{
                title: qsTr("Kabel verlegen"),
                text: qsTr("Fädle das USB-Kabel durch den Verstellarm am Kopfband und anschließend hinten durch die Schlaufe der Gummi-Verstellung des Kopfbands. Befestige zum Schluss den Clip an deiner Kleidung — so stört das Kabel beim Behandeln nicht.")
            }]
        }
    }
    Component {
        id: folder
        OnboardingFolder { recordings: view.recordings }
    }
    Component {
        id: cameras
        OnboardingCameras {
            controller: onboarding
            devices: view.devices
            backend: view.backend
        }
    }
    Component {
        id: mic
        OnboardingMic { devices: view.devices }
    }
    Component {
        id: tour
        OnboardingInfoPage {
            blocks: [{
                title: qsTr("So bedienst du OSTREL"),
                text: qsTr("Das Wide-Bild füllt das Fenster, die Macro-Kamera liegt als Bild-im-Bild unten. Unten sind Foto- und Aufnahme-Knopf, der Mikrofon-Pegel und der Regler für die Macro-Größe; oben rechts Auflösung, freier Speicher und das Zahnrad für die Einstellungen.")
            }]
        }
    }
    Component {
        id: done
        OnboardingSummary { controller: onboarding; settings: view.settings }
    }
}
