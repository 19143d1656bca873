import QtQuick
import QtQuick.Shapes
import Ostrel

// The main view's pictures: Wide fills it, Macro sits as an inset with rounded top corners at
// the bottom centre (with the stabiliser's crop frame when asked for); a placeholder stands in
// for a camera without picture. Scrolling resizes the inset.
Item {
    id: pictures

    required property var cam        // CameraManager
    required property var settings   // SettingsStore
    required property var viewState  // MainViewState
    property bool sparingRedraws: false

    Rectangle { anchors.fill: parent; color: "black" }
    LiveCameraView {
        objectName: "wideView"
        anchors.fill: parent
        visible: pictures.cam.wideLive
        index: 0
        stabilized: false
        refreshInterval: pictures.cam.liveRefreshInterval || 33
    }
    PlaceholderFeed {
        anchors.fill: parent
        visible: !pictures.cam.wideLive
        seed: 0
        macro: false
    }

    Item {
        id: inset
        objectName: "macroInset"
        readonly property size size: {
            pictures.viewState.macroFraction
            return pictures.viewState.insetSize(pictures.width)
        }
        width: size.width
        height: size.height
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: parent.bottom

        RoundedTopClip {
            id: macroClip
            objectName: "macroClip"
            anchors.fill: parent
            radius: 8
            // While a recording needs the CPU the corners go square rather than cost frames.
            rounded: !pictures.sparingRedraws
            Rectangle { anchors.fill: parent; color: "black" }
            LiveCameraView {
                objectName: "macroView"
                anchors.fill: parent
                visible: pictures.cam.macroLive
                index: 1
                stabilized: true
                refreshInterval: pictures.cam.liveRefreshInterval || 33
            }
            PlaceholderFeed {
                anchors.fill: parent
                visible: !pictures.cam.macroLive
                seed: 3.0
                macro: true
            }
        }

        // Where the whole Macro frame lies around the visible crop.
        Rectangle {
            objectName: "stabFrame"
            // The offset changes with every Macro frame; a hidden frame must not make the
            // window render for it.
            readonly property point offset: visible ? pictures.cam.stabOffset : Qt.point(0, 0)
            readonly property real zoom: {
                offset
                pictures.settings.stabCropZoom
                return visible ? Math.max(1, pictures.cam.currentZoom()) : 1
            }
            visible: pictures.cam.macroLive && pictures.settings.devStabFrame && pictures.settings.stabilizeMacro
            width: inset.width * zoom
            height: inset.height * zoom
            x: (inset.width - width) / 2 - offset.x * inset.width
            y: (inset.height - height) / 2 + offset.y * inset.height
            color: "transparent"
            border.color: "yellow"
            border.width: 1.5
            opacity: 0.85
        }

        // The outline follows the clip: square corners while the clip is square.
        Shape {
            readonly property real r: macroClip.rounded ? 8 : 1
            id: outline
            anchors.fill: parent
            ShapePath {
                strokeColor: "white"
                strokeWidth: 2
                fillColor: "transparent"
                startX: 1; startY: inset.height
                PathLine { x: 1; y: outline.r }
                PathArc { x: outline.r; y: 1; radiusX: outline.r - 1; radiusY: outline.r - 1 }
                PathLine { x: inset.width - outline.r; y: 1 }
                PathArc { x: inset.width - 1; y: outline.r; radiusX: outline.r - 1; radiusY: outline.r - 1 }
                PathLine { x: inset.width - 1; y: inset.height }
                PathLine { x: 1; y: inset.height }
            }
        }
    }

    VideoInteractionView {
        objectName: "interaction"
        anchors.fill: parent
        onScrolled: (amount) => pictures.viewState.changeMacroSize(amount)
        onActivity: pictures.viewState.bumpActivity()
    }
}
