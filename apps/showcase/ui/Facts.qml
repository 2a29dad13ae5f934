import QtQuick

// Names and values; what has no value is left out.
Panel {
    id: panel
    property var facts: []
    Repeater {
        model: panel.facts.filter(each => each[1])
        Item {
            required property var modelData
            width: parent.width
            height: value.implicitHeight
            Accessible.role: Accessible.StaticText
            Accessible.name: modelData[0] + ": " + modelData[1]
            Label {
                id: name
                width: Theme.px(92)
                silent: true
                text: parent.modelData[0]
                color: Theme.faint
                font.pixelSize: Theme.caption + 1
            }
            Label {
                id: value
                anchors { left: name.right; right: parent.right; leftMargin: Theme.px(10) }
                silent: true
                text: parent.modelData[1]
                wrapMode: Text.Wrap
                font.pixelSize: Theme.caption + 1
            }
        }
    }
}
