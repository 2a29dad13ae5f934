import QtQuick

// Where the keyboard is, around its parent.
Rectangle {
    property bool shown: false
    anchors.fill: parent
    anchors.margins: -4
    visible: shown
    color: "transparent"
    radius: parent.radius + 4
    border.width: 2
    border.color: Theme.accent
}
