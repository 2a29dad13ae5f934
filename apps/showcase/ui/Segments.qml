import QtQuick

// One of a few.
Rectangle {
    id: segments
    property var choices: []
    property int current: 0
    signal chosen(int index)
    implicitWidth: row.implicitWidth
    implicitHeight: Theme.target
    radius: height / 2
    color: Theme.surface
    opacity: enabled ? 1 : 0.75
    Row {
        id: row
        Repeater {
            model: segments.choices
            Choice {
                id: choice
                required property string modelData
                required property int index
                readonly property bool current: index === segments.current
                objectName: "segment-" + index
                text: modelData
                width: label.implicitWidth + Theme.px(32)
                height: segments.height
                checked: current
                onClicked: segments.chosen(index)
                background: Item {
                    Rectangle {
                        anchors { fill: parent; margins: Theme.tiny }
                        radius: height / 2
                        color: choice.current ? Theme.line : "transparent"
                        FocusRing { shown: choice.activeFocus }
                    }
                }
                contentItem: Item {
                    Label {
                        id: label
                        anchors.centerIn: parent
                        silent: true
                        text: choice.modelData
                        font.pixelSize: Theme.caption + 1
                        font.weight: Font.Medium
                        color: choice.current ? Theme.text : Theme.muted
                    }
                }
            }
        }
    }
}
