import QtQuick

// Shows its content clipped to a rectangle whose top corners are rounded. Qt Quick clips only
// to rectangles, so the rounded band is drawn as one-pixel rows of the content's texture, each
// cut to the width of the arc at that height. That texture is an extra pass, and it makes the
// window render a second frame after each change of the content: with `rounded` false the
// content is clipped square and drawn directly. Qt's software renderer draws no ShaderEffect:
// there the corners stay square.
// The id is not "clip": inside a delegate that name is the delegate's own Item.clip.
Item {
    id: frame

    property real radius: 8
    property bool rounded: true
    default property alias content: source.data
    readonly property bool drawsRounded: rounded && GraphicsInfo.api !== GraphicsInfo.Software

    Item {
        id: source
        width: frame.width
        height: frame.height
        clip: !frame.drawsRounded
    }
    ShaderEffectSource {
        id: texture
        sourceItem: frame.drawsRounded ? source : null
        hideSource: frame.drawsRounded
        live: frame.drawsRounded
        visible: false
        width: frame.width
        height: frame.height
    }

    Repeater {
        model: frame.drawsRounded ? Math.ceil(frame.radius) : 0
        delegate: Item {
            required property int index
            readonly property real dy: frame.radius - index - 0.5
            readonly property real inset: frame.radius - Math.sqrt(Math.max(0, frame.radius * frame.radius - dy * dy))
            x: inset
            y: index
            width: Math.max(0, frame.width - 2 * inset)
            height: 1
            clip: true
            ShaderEffect {
                x: -parent.inset
                y: -parent.index
                width: frame.width
                height: frame.height
                property variant source: texture
            }
        }
    }
    Item {
        visible: frame.drawsRounded
        y: Math.ceil(frame.radius)
        width: frame.width
        height: Math.max(0, frame.height - y)
        clip: true
        ShaderEffect {
            y: -parent.y
            width: frame.width
            height: frame.height
            property variant source: texture
        }
    }
}
