import QtQuick
import QtQuick.Controls
import Ostrel

// What sits over the pictures: the practice name as the watermark will show it, the word
// mark, the frame rates (developer option), the recording notice, the storage warning while
// the bars are hidden, and the stabiliser sliders.
Item {
    id: overlays

    required property var cam        // CameraManager
    required property var settings   // SettingsStore
    required property var viewState  // MainViewState
    property bool barsShown: true // the top bar shows the storage warning itself

    signal revealRequested(string path)

    // A running recording is never a secret: with the bars gone, the mark and its time stay in
    // the top left corner, far from the inset at the bottom.
    Label {
        objectName: "recordingMark"
        visible: overlays.cam.isRecording && !overlays.barsShown
        text: "● REC  " + overlays.viewState.recordTimeText
        anchors.left: parent.left
        anchors.leftMargin: 14
        anchors.top: parent.top
        anchors.topMargin: 14
        leftPadding: 10; rightPadding: 10; topPadding: 5; bottomPadding: 5
        font.family: Theme.monoFamily
        font.pixelSize: 15
        font.bold: true
        color: "white"
        background: Rectangle { radius: 6; color: Theme.alert }
    }

    Text {
        objectName: "praxisPreview"
        visible: overlays.settings.watermarkOn && overlays.settings.praxisText !== ""
        text: overlays.settings.praxisText
        anchors.left: parent.left
        anchors.leftMargin: 18
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 12
        font.pixelSize: 12
        color: Qt.rgba(1, 1, 1, 0.92)
        style: Text.Raised
        styleColor: Qt.rgba(0, 0, 0, 0.8)
    }

    Row {
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 12
        spacing: 8
        OstrelMark {
            height: 26
            width: height * 180 / 160
            ringColor: Theme.paper
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            text: "ostrel.de"
            font.family: "Archivo Black"
            font.pixelSize: 19
            color: Qt.rgba(1, 1, 1, 0.92)
            style: Text.Raised
            styleColor: Qt.rgba(0, 0, 0, 0.8)
            anchors.verticalCenter: parent.verticalCenter
        }
    }

    Column {
        objectName: "fpsOverlay"
        visible: overlays.settings.devShowFPS
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.top: parent.top
        anchors.topMargin: 64
        spacing: 2
        Text {
            text: "Wide  " + (overlays.cam.fps["0"] || 0) + " fps"
            font.family: Theme.monoFamily; font.pixelSize: 12; color: "white"
            style: Text.Raised; styleColor: Qt.rgba(0, 0, 0, 0.8)
        }
        Text {
            text: "Macro " + (overlays.cam.fps["1"] || 0) + " fps"
            font.family: Theme.monoFamily; font.pixelSize: 12; color: "white"
            style: Text.Raised; styleColor: Qt.rgba(0, 0, 0, 0.8)
        }
        Text {
            readonly property int rate: overlays.cam.writerFPS === null || overlays.cam.writerFPS === undefined ? 0 : overlays.cam.writerFPS
            visible: overlays.cam.isRecording
            text: "REC   " + rate + " fps"
            font.family: Theme.monoFamily; font.pixelSize: 12
            color: rate >= 24 ? "#30d158" : Theme.alert
            style: Text.Raised; styleColor: Qt.rgba(0, 0, 0, 0.8)
        }
    }

    // What is missing or held back, one notice under the other at the top middle; a missing
    // camera or microphone stays up until it is back, bars shown or not.
    Column {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: parent.top
        anchors.topMargin: 64
        spacing: 8

        Rectangle {
            objectName: "missingCameraBanner"
            visible: overlays.cam.cameraMissing
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(overlays.width - 36, missingText.implicitWidth + 28)
            height: missingText.implicitHeight + 16
            radius: 8
            color: Theme.alert
            Text {
                id: missingText
                anchors.centerIn: parent
                width: Math.min(implicitWidth, overlays.width - 64)
                text: overlays.cam.missingCameraText
                wrapMode: Text.WordWrap
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: 14
                font.bold: true
                color: "white"
            }
        }

        // Less than a lost camera: the picture is recorded, only the sound is not.
        Rectangle {
            objectName: "missingMicrophoneBanner"
            visible: overlays.cam.microphoneMissing
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(overlays.width - 36, micText.implicitWidth + 28)
            height: micText.implicitHeight + 16
            radius: 8
            color: Theme.warning
            Text {
                id: micText
                anchors.centerIn: parent
                width: Math.min(implicitWidth, overlays.width - 64)
                text: overlays.cam.missingMicrophoneText
                wrapMode: Text.WordWrap
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: 14
                font.bold: true
                color: Theme.ink
            }
        }

        // A file just saved, or a change held back; a click on a saved file shows it.
        Rectangle {
            objectName: "notice"
            visible: overlays.viewState.noticeText !== ""
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(overlays.width - 36, noticeColumn.implicitWidth + 28)
            height: noticeColumn.implicitHeight + 16
            radius: 8
            color: Qt.rgba(0, 0, 0, 0.72)
            Column {
                id: noticeColumn
                anchors.centerIn: parent
                spacing: 2
                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    text: overlays.viewState.noticeText
                    font.pixelSize: 14
                    font.bold: true
                    color: "white"
                }
                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    visible: text !== ""
                    text: overlays.viewState.noticeDetail
                    horizontalAlignment: Text.AlignHCenter
                    font.family: Theme.monoFamily
                    font.pixelSize: 12
                    color: "white"
                }
                Text {
                    anchors.horizontalCenter: parent.horizontalCenter
                    visible: overlays.viewState.noticePath !== ""
                    text: qsTr("Klicken, um die Datei im Dateimanager zu zeigen")
                    font.pixelSize: 11
                    color: Qt.rgba(1, 1, 1, 0.7)
                }
            }
            MouseArea {
                anchors.fill: parent
                enabled: overlays.viewState.noticePath !== ""
                cursorShape: enabled ? Qt.PointingHandCursor : Qt.ArrowCursor
                onClicked: {
                    overlays.revealRequested(overlays.viewState.noticePath)
                    overlays.viewState.dismissNotice()
                }
            }
        }

        // This machine cannot record the chosen resolution at the camera rate: say so plainly.
        Rectangle {
            objectName: "recordingNotice"
            visible: overlays.cam.isRecording && (overlays.cam.recordingNotice || "") !== ""
            anchors.horizontalCenter: parent.horizontalCenter
            width: Math.min(overlays.width - 36, noticeText.implicitWidth + 28)
            height: noticeText.implicitHeight + 16
            radius: 8
            color: Qt.rgba(0, 0, 0, 0.62)
            Text {
                id: noticeText
                anchors.centerIn: parent
                width: Math.min(implicitWidth, overlays.width - 64)
                text: overlays.cam.recordingNotice || ""
                wrapMode: Text.WordWrap
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: 13
                color: "white"
            }
        }
    }

    // The storage warning stays in sight while the bars are hidden: the recording will end by
    // itself when the disk fills.
    Label {
        objectName: "storageWarningOverlay"
        visible: overlays.cam.storageWarning !== "" && !overlays.barsShown
        text: overlays.cam.storageWarning
        anchors.right: parent.right
        anchors.rightMargin: 18
        anchors.top: parent.top
        anchors.topMargin: 14
        leftPadding: 8; rightPadding: 8; topPadding: 4; bottomPadding: 4
        font.pixelSize: 12
        font.bold: true
        color: Theme.warning
        background: Rectangle { radius: height / 2; color: Qt.rgba(0, 0, 0, 0.7) }
    }

    StabilizerOverlay {
        objectName: "stabilizerOverlay"
        visible: overlays.settings.devStabSliders
        settings: overlays.settings
        viewState: overlays.viewState
        liveOffset: visible ? overlays.cam.stabOffset : Qt.point(0, 0)
        anchors.left: parent.left
        anchors.leftMargin: 18
        anchors.verticalCenter: parent.verticalCenter
    }
}
