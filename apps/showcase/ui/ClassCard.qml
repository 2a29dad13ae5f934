import QtQuick

// A class among others: one stop, read aloud with all that it says.
Tappable {
    id: card
    property var ondemandClass
    property alias waiting: picture.waiting
    readonly property string details: [ondemandClass.classCategories, ondemandClass.provider, ondemandClass.languageName]
                                      .filter(each => each).join("  ·  ")
    implicitWidth: Theme.card
    implicitHeight: Math.round(width * 9 / 16) + below
    readonly property int below: Theme.px(58)
    Accessible.name: ondemandClass.className
    Accessible.description: [qsTr("%1 min").arg(ondemandClass.durationMinutes), ondemandClass.classCategories,
                             ondemandClass.provider, ondemandClass.languageName,
                             ondemandClass.favourite ? qsTr("favourite") : ""].filter(each => each).join(", ")

    contentItem: Item {
        ClassImage {
            id: picture
            width: parent.width
            height: Math.round(width * 9 / 16)
            source: card.ondemandClass.imageLink
            scale: card.hovered ? 1.02 : 1
            Behavior on scale { NumberAnimation { duration: Theme.quick } }

            Rectangle {
                anchors { right: parent.right; bottom: parent.bottom; margins: Theme.px(10) }
                width: minutes.implicitWidth + Theme.px(14)
                height: minutes.implicitHeight + Theme.small
                radius: Theme.px(6)
                color: "#e00b0e13"
                Label {
                    id: minutes
                    anchors.centerIn: parent
                    silent: true
                    text: qsTr("%1 min").arg(card.ondemandClass.durationMinutes)
                    font.pixelSize: Theme.caption
                    font.weight: Font.DemiBold
                }
            }
            Icon {
                anchors { right: parent.right; top: parent.top; margins: Theme.px(12) }
                visible: card.ondemandClass.favourite
                name: "heart"
                color: Theme.accent
            }
            FocusRing { shown: card.activeFocus; radius: Theme.radius + Theme.tiny }
        }
        Label {
            id: name
            anchors { left: parent.left; right: parent.right; top: picture.bottom; topMargin: Theme.px(10) }
            silent: true
            text: card.ondemandClass.className
            font.weight: Font.DemiBold
        }
        Label {
            anchors { left: parent.left; right: parent.right; top: name.bottom; topMargin: Theme.px(3) }
            silent: true
            text: card.details
            font.pixelSize: Theme.caption
            color: Theme.muted
        }
    }
}
