import QtQuick

// Shows itself only for what takes longer than a moment.
Item {
    id: spinner
    property bool running: false
    property color color: Theme.accent
    implicitWidth: Theme.px(36)
    implicitHeight: Theme.px(36)
    visible: delay.elapsed && running
    onRunningChanged: delay.elapsed = false
    Accessible.role: Accessible.Animation
    Accessible.ignored: !visible
    Accessible.name: qsTr("Loading")

    Timer {
        id: delay
        property bool elapsed: false
        interval: 200
        running: spinner.running
        onTriggered: elapsed = true
    }
    Canvas {
        anchors.fill: parent
        antialiasing: true
        onPaint: {
            const context = getContext("2d")
            context.reset()
            context.lineWidth = width / 10
            context.lineCap = "round"
            context.strokeStyle = spinner.color
            context.arc(width / 2, height / 2, width / 2 - context.lineWidth, 0, Math.PI * 1.4)
            context.stroke()
        }
        RotationAnimation on rotation {
            running: spinner.visible
            from: 0
            to: 360
            duration: 900
            loops: Animation.Infinite
        }
    }
}
