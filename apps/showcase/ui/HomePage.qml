import QtQuick
import Korvel.Content

FocusScope {
    id: page
    property bool narrow: false
    readonly property int side: narrow ? 20 : Theme.huge
    readonly property bool pictured: collections.count > 0 && !!list.headerItem && list.headerItem.settled
    signal opened(var ondemandClass)

    CollectionsModel { id: collections }

    ListView {
        id: list
        objectName: "shelves"
        anchors.fill: parent
        focus: true
        visible: collections.count > 0
        model: collections
        cacheBuffer: 400
        boundsBehavior: Flickable.StopAtBounds
        highlightMoveDuration: Theme.calm
        spacing: 0
        header: Hero {
            width: list.width
            side: page.side
            narrow: page.narrow
            ondemandClass: collections.count > 0 ? collections.classesAt(0)[0] : null
            onOpened: page.opened(ondemandClass)
        }
        headerPositioning: ListView.InlineHeader
        footer: Item { height: Theme.gap; width: 1 }
        delegate: Shelf {
            required property string collectionName
            required property string collectionType
            required itemCount
            required classes
            width: list.width
            side: page.side
            cardWidth: page.narrow ? 216 : 256
            name: collectionName
            kind: collectionType
            onOpened: (ondemandClass) => page.opened(ondemandClass)
        }
    }
    StateView {
        anchors.fill: parent
        request: collections.request
        visible: collections.count === 0
        empty: request.succeeded && collections.count === 0
        emptyTitle: qsTr("Nothing on the shelves yet")
        emptyText: qsTr("The service has no collections at the moment.")
    }
}
