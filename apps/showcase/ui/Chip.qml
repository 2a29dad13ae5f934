import QtQuick

// A fact about a class.
Rectangle {
    property alias text: label.text
    implicitWidth: label.implicitWidth + Theme.wide
    implicitHeight: Theme.px(32)
    radius: height / 2
    color: Theme.raised
    Label {
        id: label
        anchors.centerIn: parent
        font.pixelSize: Theme.caption
        font.weight: Font.Medium
    }
}
