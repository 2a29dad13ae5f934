import QtQuick

// Where the keys are, around its parent.
Rectangle {
    property bool shown: parent.activeFocus
    anchors.fill: parent
    anchors.margins: -Theme.tiny
    visible: shown
    color: "transparent"
    radius: parent.radius + Theme.tiny
    border.width: Theme.px(2.5)
    border.color: Theme.text
}
