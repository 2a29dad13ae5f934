import QtQuick

// Rounds its parent's corners: clipping to a rounded shape needs a GPU, a frame in the colour around
// it does not.
Rectangle {
    property color around: Theme.background
    property int corner: Theme.radius
    anchors.fill: parent
    anchors.margins: -border.width
    color: "transparent"
    radius: corner + border.width
    border.width: Theme.px(8)
    border.color: around
}
