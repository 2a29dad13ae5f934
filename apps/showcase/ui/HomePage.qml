import QtQuick
import Korvel.Content
import Showcase

DirectionalFocus {
    id: page
    readonly property bool pictured: collections.count > 0 && !!list.headerItem && list.headerItem.settled
    property var places: ({})  // of the shelves, which go when they are scrolled far away
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
        keyNavigationEnabled: false
        highlightFollowsCurrentItem: false
        currentIndex: -1  // so that the page opens with its header
        header: Hero {
            width: list.width
            ondemandClass: collections.count > 0 ? collections.classesAt(0)[0] : null
            onOpened: page.opened(ondemandClass)
        }
        headerPositioning: ListView.InlineHeader
        footer: Item { height: Theme.gap + Theme.safeY; width: 1 }
        delegate: Shelf {
            required property string collectionName
            required property string collectionType
            required itemCount
            required classes
            required property int index
            width: list.width
            name: collectionName
            kind: collectionType
            Component.onCompleted: place = page.places[name] ?? 0
            onPlaceChanged: page.places[name] = place
            onActiveFocusChanged: if (activeFocus) list.currentIndex = index
            onOpened: (ondemandClass) => page.opened(ondemandClass)
        }
    }
    StateView {
        anchors.fill: parent
        request: collections.request
        visible: collections.count === 0
        empty: request.succeeded && collections.count === 0
        emptyTitle: qsTr("Nothing on the shelves yet")
        emptyText: qsTr("There are no collections at the moment.")
    }
}
