import QtQuick

// One of a few.
Rectangle {
    id: segments
    property var choices: []
    property int current: 0
    signal chosen(int index)
    implicitWidth: row.implicitWidth + 8
    implicitHeight: 44
    radius: height / 2
    color: Theme.surface
    opacity: enabled ? 1 : 0.45
    Row {
        id: row
        x: 4
        y: 4
        Repeater {
            model: segments.choices
            Rectangle {
                id: choice
                required property string modelData
                required property int index
                readonly property bool current: index === segments.current
                objectName: "segment-" + index
                width: label.implicitWidth + 32
                height: segments.height - 8
                radius: height / 2
                color: current ? Theme.line : "transparent"
                activeFocusOnTab: segments.enabled
                Accessible.role: Accessible.RadioButton
                Accessible.name: modelData
                Accessible.checked: current
                Accessible.onPressAction: segments.chosen(index)
                Keys.onReturnPressed: segments.chosen(index)
                Keys.onSpacePressed: segments.chosen(index)
                FocusRing { shown: parent.activeFocus }
                Label {
                    id: label
                    anchors.centerIn: parent
                    text: choice.modelData
                    font.pixelSize: Theme.caption + 1
                    font.weight: Font.Medium
                    color: choice.current ? Theme.text : Theme.muted
                }
                HoverHandler { cursorShape: Qt.PointingHandCursor }
                TapHandler { onTapped: segments.chosen(choice.index) }
            }
        }
    }
}
