import QtQuick

Item {
    id: card
    property var ondemandClass
    property bool current: false
    signal opened()
    implicitWidth: 256
    implicitHeight: picture.height + 58
    Accessible.role: Accessible.Button
    Accessible.name: ondemandClass.className
    Accessible.onPressAction: opened()

    ClassImage {
        id: picture
        width: parent.width
        height: Math.round(width * 9 / 16)
        source: card.ondemandClass.imageLink
        caption: card.ondemandClass.className
        scale: hover.hovered ? 1.02 : 1
        Behavior on scale { NumberAnimation { duration: Theme.quick } }

        Rectangle {
            anchors { right: parent.right; bottom: parent.bottom; margins: 10 }
            width: minutes.implicitWidth + 14
            height: 24
            radius: 6
            color: "#cc0b0e13"
            Label {
                id: minutes
                anchors.centerIn: parent
                text: qsTr("%1 min").arg(card.ondemandClass.durationMinutes)
                font.pixelSize: 12
                font.weight: Font.DemiBold
            }
        }
        Icon {
            anchors { right: parent.right; top: parent.top; margins: 12 }
            visible: card.ondemandClass.favourite
            name: "heart"
            color: Theme.accent
            width: 20
            height: 20
        }
        FocusRing { shown: card.current; radius: Theme.radius + 4 }
    }
    Label {
        id: name
        anchors { left: parent.left; right: parent.right; top: picture.bottom; topMargin: 10 }
        text: card.ondemandClass.className
        font.weight: Font.DemiBold
    }
    Label {
        anchors { left: parent.left; right: parent.right; top: name.bottom; topMargin: 3 }
        text: [card.ondemandClass.classCategories, card.ondemandClass.provider,
               card.ondemandClass.languageName].filter(each => each).join("  ·  ")
        font.pixelSize: Theme.caption
        color: Theme.muted
    }
    HoverHandler { id: hover; cursorShape: Qt.PointingHandCursor }
    TapHandler { onTapped: card.opened() }
}
