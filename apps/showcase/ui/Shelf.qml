import QtQuick
import Showcase

// One collection: its name over a row of cards.
DirectionalFocus {
    id: shelf
    property string name
    property string kind
    property int itemCount
    property var classes: []
    property bool waiting: false  // with its pictures
    property alias place: row.currentIndex
    signal opened(var ondemandClass)
    height: row.y + row.height + Theme.wide
    Accessible.role: Accessible.List
    Accessible.name: name

    Label {
        id: title
        x: Theme.side
        heading: true
        text: shelf.name
        font.pixelSize: Theme.heading + 1
        font.weight: Font.Bold
        width: Math.min(implicitWidth, shelf.width - 2 * Theme.side - count.width - Theme.gap)
    }
    Label {
        id: count
        anchors { left: title.right; leftMargin: Theme.px(12); baseline: title.baseline }
        text: Theme.count(shelf.itemCount, qsTr("class"), qsTr("classes"))
        font.pixelSize: Theme.caption
        color: Theme.faint
    }
    ListView {
        id: row
        objectName: "cards"
        focus: true
        anchors { top: title.bottom; topMargin: Theme.px(14); left: parent.left; right: parent.right }
        height: Math.round(Theme.card * 9 / 16) + Theme.px(58)
        orientation: ListView.Horizontal
        spacing: Theme.between
        leftMargin: Theme.side
        rightMargin: Theme.side
        model: shelf.classes
        cacheBuffer: Theme.card
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        highlightFollowsCurrentItem: false
        delegate: ClassCard {
            required property var modelData
            required property int index
            ondemandClass: modelData
            waiting: shelf.waiting
            onActiveFocusChanged: if (activeFocus) row.currentIndex = index
            onClicked: shelf.opened(modelData)
        }
    }
}
