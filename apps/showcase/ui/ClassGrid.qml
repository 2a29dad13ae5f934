import QtQuick
import QtQuick.Templates as T

// Cards in as many columns as fit; fetches further pages as it is scrolled.
GridView {
    id: grid
    property int side: Theme.huge
    property bool narrow: false
    readonly property int columns: Math.max(narrow && width < 420 ? 1 : 2, Math.floor((width - 2 * side + 18) / 274))
    signal opened(var ondemandClass)
    leftMargin: side
    rightMargin: side - 18
    cellWidth: Math.floor((width - 2 * side + 18) / columns)
    cellHeight: Math.round((cellWidth - 18) * 9 / 16) + 58 + 14
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: true
    activeFocusOnTab: true
    Keys.onReturnPressed: if (currentItem) opened(currentItem.ondemandClass)
    delegate: Item {
        id: cell
        required property var model
        required property int index
        readonly property var ondemandClass: model.ondemandClass
        width: grid.cellWidth
        height: grid.cellHeight
        ClassCard {
            width: parent.width - 18
            ondemandClass: cell.ondemandClass
            current: grid.activeFocus && cell.GridView.isCurrentItem
            onOpened: {
                grid.currentIndex = cell.index
                grid.opened(cell.ondemandClass)
            }
        }
    }
    footer: Item {
        width: grid.width - 2 * grid.side
        height: grid.model && grid.model.count > 0 ? 96 : 0
        StateView {
            anchors.fill: parent
            compact: true
            visible: grid.model && grid.model.count > 0 && shown
            request: grid.model ? grid.model.request : null
        }
    }
    T.ScrollBar.vertical: T.ScrollBar {
        id: bar
        padding: 3
        implicitWidth: 10
        minimumSize: 0.08
        contentItem: Rectangle {
            implicitWidth: 4
            radius: 2
            color: Theme.line
            opacity: bar.active && bar.size < 1 ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: Theme.calm } }
        }
    }
}
