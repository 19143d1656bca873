import QtQuick

// Shows its content clipped to a rectangle whose top corners are rounded. Qt Quick clips only
// to rectangles, so the rounded band is drawn as one-pixel rows of the content's texture, each
// cut to the width of the arc at that height. That texture is an extra pass, and it makes the
// window render a second frame after each change of the content: with `rounded` false the
// content is clipped square and drawn directly.
Item {
    id: clip

    property real radius: 8
    property bool rounded: true
    default property alias content: source.data

    Item {
        id: source
        width: clip.width
        height: clip.height
        clip: !clip.rounded
    }
    ShaderEffectSource {
        id: texture
        sourceItem: clip.rounded ? source : null
        hideSource: clip.rounded
        live: clip.rounded
        visible: false
        width: clip.width
        height: clip.height
    }

    Repeater {
        model: clip.rounded ? Math.ceil(clip.radius) : 0
        delegate: Item {
            required property int index
            readonly property real dy: clip.radius - index - 0.5
            readonly property real inset: clip.radius - Math.sqrt(Math.max(0, clip.radius * clip.radius - dy * dy))
            x: inset
            y: index
            width: Math.max(0, clip.width - 2 * inset)
            height: 1
            clip: true
            ShaderEffect {
                x: -parent.inset
                y: -parent.index
                width: clip.width
                height: clip.height
                property variant source: texture
            }
        }
    }
    Item {
        visible: clip.rounded
        y: Math.ceil(clip.radius)
        width: clip.width
        height: Math.max(0, clip.height - y)
        clip: true
        ShaderEffect {
            y: -parent.y
            width: clip.width
            height: clip.height
            property variant source: texture
        }
    }
}
