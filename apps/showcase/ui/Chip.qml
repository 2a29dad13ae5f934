import QtQuick

// A fact about a class.
Rectangle {
    property alias text: label.text
    implicitWidth: label.implicitWidth + 24
    implicitHeight: 32
    radius: 16
    color: Theme.raised
    Label {
        id: label
        anchors.centerIn: parent
        font.pixelSize: Theme.caption
        font.weight: Font.Medium
    }
}
