import QtQuick
import QtQuick.Templates as T

// Cards in as many columns as fit; fetches further pages as it is scrolled.
GridView {
    id: grid
    readonly property real inner: width - 2 * Theme.side + Theme.between
    readonly property int columns: Math.max(Theme.narrow && width < 420 ? 1 : 2,
                                            Math.floor(inner / (Theme.card + Theme.between)))
    signal opened(var ondemandClass)
    leftMargin: Theme.side
    rightMargin: Theme.side - Theme.between
    topMargin: Theme.px(6)
    bottomMargin: Theme.safeY
    cellWidth: Math.floor(inner / columns)
    cellHeight: Math.round((cellWidth - Theme.between) * 9 / 16) + Theme.px(72)
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    keyNavigationEnabled: false  // the arrows are the page's
    highlightFollowsCurrentItem: false
    delegate: Item {
        id: cell
        required property var model
        required property int index
        width: grid.cellWidth
        height: grid.cellHeight
        ClassCard {
            width: parent.width - Theme.between
            height: implicitHeight
            ondemandClass: cell.model.ondemandClass
            onActiveFocusChanged: if (activeFocus) grid.currentIndex = cell.index
            onClicked: grid.opened(ondemandClass)
        }
    }
    footer: Item {
        width: grid.width - 2 * Theme.side
        height: grid.model && grid.model.count > 0 ? Theme.px(96) : 0
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
        implicitWidth: Theme.px(10)
        minimumSize: 0.08
        contentItem: Rectangle {
            implicitWidth: Theme.px(4)
            radius: Theme.px(2)
            color: Theme.line
            opacity: bar.active && bar.size < 1 ? 1 : 0
            Behavior on opacity { NumberAnimation { duration: Theme.calm } }
        }
    }
}
