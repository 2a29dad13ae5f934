import QtQuick
import Korvel.Content
import Showcase

DirectionalFocus {
    id: page
    property CollectionsModel collections: null
    readonly property int count: collections ? collections.count : 0
    readonly property bool pictured: count > 0 && !!list.headerItem && list.headerItem.settled
    // The small pictures come after the large one, unless that keeps them waiting.
    property bool largeFirst: true
    onPicturedChanged: if (pictured) largeFirst = false
    property var places: ({})  // of the shelves, which go when they are scrolled far away
    signal opened(var ondemandClass)

    Timer {
        interval: 300
        running: page.count > 0 && page.largeFirst
        onTriggered: page.largeFirst = false
    }
    ListView {
        id: list
        objectName: "shelves"
        anchors.fill: parent
        focus: true
        visible: page.count > 0
        model: page.collections
        cacheBuffer: 400
        boundsBehavior: Flickable.StopAtBounds
        keyNavigationEnabled: false
        highlightFollowsCurrentItem: false
        currentIndex: -1  // so that the page opens with its header
        header: Hero {
            width: list.width
            ondemandClass: page.count > 0 ? page.collections.classesAt(0)[0] : null
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
            waiting: page.largeFirst
            Component.onCompleted: place = page.places[name] ?? 0
            onPlaceChanged: page.places[name] = place
            onActiveFocusChanged: if (activeFocus) list.currentIndex = index
            onOpened: (ondemandClass) => page.opened(ondemandClass)
        }
    }
    StateView {
        anchors.fill: parent
        request: page.collections ? page.collections.request : null
        visible: page.count === 0
        empty: !!request && request.succeeded && page.count === 0
        emptyTitle: qsTr("Nothing on the shelves yet")
        emptyText: qsTr("There are no collections at the moment.")
    }
}
