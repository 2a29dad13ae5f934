import QtQuick

// A line drawing on a grid of 24 by 24.
Canvas {
    id: icon
    property string name
    property color color: Theme.text
    property real strokeWidth: 1.9
    readonly property var paths: ({
        home: "M4 11 L12 4 L20 11 M6 9.5 V19.5 H18 V9.5",
        grid: "M4.5 4.5 H10 V10 H4.5 Z M14 4.5 H19.5 V10 H14 Z M4.5 14 H10 V19.5 H4.5 Z M14 14 H19.5 V19.5 H14 Z",
        search: "M10.5 4.5 a6 6 0 1 0 0.01 0 M15 15 L20 20",
        member: "M3.5 6.5 H20.5 V17.5 H3.5 Z M3.5 10.5 H20.5 M6.5 14.5 H10",
        record: "M5 4.5 H19 V19.5 H5 Z M8.5 9 H15.5 M8.5 12.5 H15.5 M8.5 16 H12.5",
        back: "M14.5 5.5 L8 12 L14.5 18.5",
        close: "M6 6 L18 18 M18 6 L6 18",
        down: "M6.5 9.5 L12 15 L17.5 9.5",
        check: "M5 12.5 L10 17.5 L19 7",
        expand: "M4.5 9.5 V4.5 H9.5 M14.5 4.5 H19.5 V9.5 M19.5 14.5 V19.5 H14.5 M9.5 19.5 H4.5 V14.5",
        shrink: "M9.5 4.5 V9.5 H4.5 M19.5 9.5 H14.5 V4.5 M14.5 19.5 V14.5 H19.5 M4.5 14.5 H9.5 V19.5",
        offline: "M3.5 9 Q12 2 20.5 9 M6.8 12.5 Q12 8 17.2 12.5 M10 16 Q12 14.2 14 16 M4 4 L20 20",
        empty: "M4.5 13.5 L7 5.5 H17 L19.5 13.5 V18.5 H4.5 Z M4.5 13.5 H9 Q12 17.5 15 13.5 H19.5",
        user: "M12 4.5 a3.7 3.7 0 1 0 0.01 0 M4.5 19.5 Q5 14.5 12 14.5 Q19 14.5 19.5 19.5",
        picture: "M4.5 5.5 H19.5 V18.5 H4.5 Z M4.5 16 L9.5 11 L13.5 15 L15.5 13 L19.5 17 M15 8.6 a1.3 1.3 0 1 0 0.01 0",
        keys: "M3.5 6.5 H20.5 V17.5 H3.5 Z M6.5 9.5 h0.1 M9.5 9.5 h0.1 M12.5 9.5 h0.1 M15.5 9.5 h0.1 M6.5 12 h0.1 M9.5 12 h0.1 M12.5 12 h0.1 M15.5 12 h0.1 M8.5 15 H15.5",
        space: "M4.5 10.5 V15 H19.5 V10.5",
        erase: "M8.5 6.5 H20.5 V17.5 H8.5 L3.5 12 Z M12 9.5 L17 14.5 M17 9.5 L12 14.5",
        backward: "M6.5 8.5 A7.5 7.5 0 1 1 4.6 13 M6.5 4 V8.8 H11.3",
        forward: "M17.5 8.5 A7.5 7.5 0 1 0 19.4 13 M17.5 4 V8.8 H12.7",
        sound: "M4 9.5 H8 L12.5 5.5 V18.5 L8 14.5 H4 Z M15.5 9 Q18 12 15.5 15 M18 6.5 Q22 12 18 17.5",
        mute: "M4 9.5 H8 L12.5 5.5 V18.5 L8 14.5 H4 Z M15.5 9.5 L20.5 14.5 M20.5 9.5 L15.5 14.5",
        subtitles: "M3.5 5.5 H20.5 V18.5 H3.5 Z M10.8 10.4 A2.2 2.2 0 1 0 10.8 13.6 M17 10.4 A2.2 2.2 0 1 0 17 13.6",
        minus: "M6.5 12 H17.5",
        plus: "M6.5 12 H17.5 M12 6.5 V17.5",
        help: "M9 9 Q9 6 12 6 Q15 6 15 8.8 Q15 11 12 12 V14 M12 17.6 h0.1",
        heart: "M12 19 L5 12 Q2.6 8.4 5.6 6 Q9 4 12 7.6 Q15 4 18.4 6 Q21.4 8.4 19 12 Z"
    })
    readonly property var solids: ({
        play: "M7.5 4.5 L19.5 12 L7.5 19.5 Z",
        pause: "M6.5 5 H10.5 V19 H6.5 Z M13.5 5 H17.5 V19 H13.5 Z"
    })
    implicitWidth: Theme.icon
    implicitHeight: Theme.icon
    Accessible.ignored: true
    antialiasing: true
    onNameChanged: requestPaint()
    onColorChanged: requestPaint()
    onWidthChanged: requestPaint()
    onPaint: {
        const context = getContext("2d")
        context.reset()
        context.scale(width / 24, height / 24)
        context.lineWidth = strokeWidth
        context.lineCap = "round"
        context.lineJoin = "round"
        context.path = solids[name] ?? paths[name] ?? ""
        if (solids[name]) {
            context.fillStyle = color
            context.fill()
        } else {
            context.strokeStyle = color
            context.stroke()
        }
    }
}
