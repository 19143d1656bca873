import QtQuick

// A small line drawing for a named symbol (the names follow the platform's symbol font, so the
// texts of the views read as they do elsewhere). Unknown names draw nothing.
Canvas {
    id: icon

    property string name
    property color color: Theme.accent
    property real size: 16

    implicitWidth: size
    implicitHeight: size
    antialiasing: true

    onNameChanged: requestPaint()
    onColorChanged: requestPaint()
    onSizeChanged: requestPaint()

    onPaint: {
        const c = getContext("2d")
        const s = Math.min(width, height)
        c.reset()
        c.clearRect(0, 0, width, height)
        c.strokeStyle = icon.color
        c.fillStyle = icon.color
        c.lineWidth = Math.max(1, s / 14)
        c.lineCap = "round"
        c.lineJoin = "round"
        const u = s / 24 // a 24 × 24 grid
        c.save()
        c.translate((width - s) / 2, (height - s) / 2)
        function circle(x, y, r, fill) {
            c.beginPath(); c.arc(x * u, y * u, r * u, 0, 2 * Math.PI)
            if (fill) c.fill(); else c.stroke()
        }
        function line(points) {
            c.beginPath(); c.moveTo(points[0][0] * u, points[0][1] * u)
            for (let i = 1; i < points.length; ++i) c.lineTo(points[i][0] * u, points[i][1] * u)
            c.stroke()
        }
        function rect(x, y, w, h) { c.beginPath(); c.rect(x * u, y * u, w * u, h * u); c.stroke() }
        switch (icon.name) {
        case "gearshape":
            circle(12, 12, 4)
            for (let k = 0; k < 8; ++k) {
                const a = k * Math.PI / 4
                line([[12 + 6 * Math.cos(a), 12 + 6 * Math.sin(a)], [12 + 9.5 * Math.cos(a), 12 + 9.5 * Math.sin(a)]])
            }
            circle(12, 12, 7)
            break
        case "record.circle":
            circle(12, 12, 10); circle(12, 12, 5, true); break
        case "camera":
            rect(2, 7, 20, 13); line([[8, 7], [10, 4], [14, 4], [16, 7]]); circle(12, 13.5, 4); break
        case "camera.fill":
            c.beginPath(); c.moveTo(2 * u, 7 * u); c.lineTo(8 * u, 7 * u); c.lineTo(10 * u, 4 * u)
            c.lineTo(14 * u, 4 * u); c.lineTo(16 * u, 7 * u); c.lineTo(22 * u, 7 * u)
            c.lineTo(22 * u, 20 * u); c.lineTo(2 * u, 20 * u); c.closePath(); c.fill()
            c.fillStyle = Qt.rgba(0, 0, 0, 0.55); circle(12, 13.5, 4, true)
            break
        case "mic.slash":
            rect(9, 2, 6, 12); line([[5, 11], [5, 13], [8, 17], [12, 18], [16, 17], [19, 13], [19, 11]])
            line([[12, 18], [12, 22]]); line([[8, 22], [16, 22]]); line([[3, 3], [21, 21]]); break
        case "arrow.clockwise":
            c.beginPath(); c.arc(12 * u, 12.5 * u, 8 * u, -0.35 * Math.PI, 1.45 * Math.PI); c.stroke()
            line([[11, 2.5], [15.5, 5], [12, 8.5]]); break
        case "wave.3.left":
        case "wave.3.right": {
            const dir = icon.name === "wave.3.left" ? -1 : 1
            for (let k = 1; k <= 3; ++k) {
                c.beginPath()
                if (dir > 0) c.arc(2 * u, 12 * u, k * 6 * u, -0.22 * Math.PI, 0.22 * Math.PI)
                else c.arc(22 * u, 12 * u, k * 6 * u, 0.78 * Math.PI, 1.22 * Math.PI)
                c.stroke()
            }
            break
        }
        case "mic":
            rect(9, 2, 6, 12); line([[5, 11], [5, 13], [8, 17], [12, 18], [16, 17], [19, 13], [19, 11]])
            line([[12, 18], [12, 22]]); line([[8, 22], [16, 22]]); break
        case "questionmark.circle":
            circle(12, 12, 10)
            c.beginPath(); c.arc(12 * u, 9.5 * u, 3.2 * u, Math.PI, 0.35 * Math.PI); c.stroke()
            line([[13, 12.5], [12, 14.5]]); circle(12, 17.8, 1.1, true); break
        case "cable.connector":
            rect(7, 3, 10, 9); line([[10, 3], [10, 0.5]]); line([[14, 3], [14, 0.5]])
            line([[9, 12], [10.5, 15], [13.5, 15], [15, 12]]); line([[12, 15], [12, 23]]); break
        case "person.crop.circle.badge.checkmark":
            circle(11, 11, 9.5); circle(11, 8.5, 3.2)
            line([[5, 17.5], [7.5, 14.5], [14.5, 14.5], [17, 17.5]])
            line([[16, 20], [18.3, 22.3], [23, 16.5]]); break
        case "point.topleft.down.to.point.bottomright.curvepath":
            circle(4, 4, 2.5, true); circle(20, 20, 2.5, true)
            c.beginPath(); c.moveTo(4 * u, 4 * u)
            c.bezierCurveTo(22 * u, 4 * u, 2 * u, 20 * u, 20 * u, 20 * u); c.stroke(); break
        case "folder":
            line([[2, 6], [2, 20], [22, 20], [22, 8], [11, 8], [9, 5], [3, 5], [2, 6]]); break
        case "checkmark.circle.fill":
            circle(12, 12, 10, true)
            c.strokeStyle = Theme.paper
            line([[7, 12.5], [10.5, 16], [17, 8.5]]); break
        case "exclamationmark.triangle":
            line([[12, 2.5], [22.5, 21], [1.5, 21], [12, 2.5]]); line([[12, 9], [12, 15]])
            circle(12, 18, 1.1, true); break
        case "info.circle":
            circle(12, 12, 10); line([[12, 11], [12, 17]]); circle(12, 7.5, 1.1, true); break
        case "circle.fill":
            circle(12, 12, 7, true); break
        case "xmark.octagon":
            line([[8, 2], [16, 2], [22, 8], [22, 16], [16, 22], [8, 22], [2, 16], [2, 8], [8, 2]])
            line([[8.5, 8.5], [15.5, 15.5]]); line([[15.5, 8.5], [8.5, 15.5]]); break
        case "envelope":
            rect(2, 5, 20, 14); line([[2, 5], [12, 13], [22, 5]]); break
        case "stethoscope":
            line([[6, 2], [5, 2], [5, 9]]); line([[14, 2], [15, 2], [15, 9]])
            c.beginPath(); c.arc(10 * u, 9 * u, 5 * u, 0, Math.PI); c.stroke()
            line([[10, 14], [10, 17]])
            c.beginPath(); c.arc(15 * u, 17 * u, 5 * u, Math.PI, 0, true); c.stroke()
            circle(20, 13, 2.2); break
        }
        c.restore()
    }
}
