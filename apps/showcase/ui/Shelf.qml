import QtQuick

// One collection: its name over a row of cards.
FocusScope {
    id: shelf
    property string name
    property string kind
    property int itemCount
    property var classes: []
    property int side: Theme.huge
    property int cardWidth: 256
    signal opened(var ondemandClass)
    height: row.y + row.height + Theme.wide

    Label {
        id: title
        x: shelf.side
        text: shelf.name
        font.pixelSize: Theme.heading + 1
        font.weight: Font.Bold
        width: Math.min(implicitWidth, shelf.width - 2 * shelf.side - count.width - Theme.gap)
    }
    Label {
        id: count
        anchors { left: title.right; leftMargin: 12; baseline: title.baseline }
        text: shelf.kind + " · " + Theme.count(shelf.itemCount, qsTr("class"), qsTr("classes"))
        font.pixelSize: Theme.caption
        color: Theme.faint
    }
    ListView {
        id: row
        objectName: "cards"
        focus: true
        anchors { top: title.bottom; topMargin: 14; left: parent.left; right: parent.right }
        height: Math.round(shelf.cardWidth * 9 / 16) + 58
        orientation: ListView.Horizontal
        spacing: 18
        leftMargin: shelf.side
        rightMargin: shelf.side
        model: shelf.classes
        cacheBuffer: shelf.cardWidth
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: Theme.calm
        Keys.onReturnPressed: if (currentItem) shelf.opened(currentItem.modelData)
        onActiveFocusChanged: if (activeFocus && currentIndex < 0) currentIndex = 0
        delegate: ClassCard {
            required property var modelData
            required property int index
            width: shelf.cardWidth
            ondemandClass: modelData
            current: row.activeFocus && ListView.isCurrentItem
            onOpened: {
                row.currentIndex = index
                shelf.opened(modelData)
            }
        }
    }
}
