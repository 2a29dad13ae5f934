import QtQuick

// The way between the pages: a rail on the left of wide windows, a bar below narrow ones.
Rectangle {
    id: navigation
    property bool narrow: false
    property string current
    property var pages: []
    property string userName
    signal chosen(string page)
    signal userChosen()
    color: Theme.surface
    width: narrow ? parent.width : 88
    height: narrow ? 68 : parent.height

    Rectangle {
        visible: !navigation.narrow
        anchors.horizontalCenter: parent.horizontalCenter
        y: 20
        width: 40
        height: 40
        radius: 12
        color: Theme.accent
        Icon { anchors.centerIn: parent; name: "play"; color: Theme.accentInk; width: 24; height: 24 }
    }
    Grid {
        id: items
        anchors.centerIn: parent
        columns: navigation.narrow ? navigation.pages.length : 1
        readonly property real cellWidth: navigation.narrow ? navigation.width / navigation.pages.length : navigation.width
        Repeater {
            model: navigation.pages
            Item {
                id: item
                required property var modelData
                readonly property bool current: modelData.page === navigation.current
                objectName: "nav-" + modelData.page
                width: items.cellWidth
                height: navigation.narrow ? 68 : 76
                activeFocusOnTab: true
                Accessible.role: Accessible.PageTab
                Accessible.name: modelData.text
                Accessible.onPressAction: navigation.chosen(modelData.page)
                Keys.onReturnPressed: navigation.chosen(modelData.page)
                Keys.onSpacePressed: navigation.chosen(modelData.page)
                Rectangle {
                    anchors.horizontalCenter: parent.horizontalCenter
                    y: navigation.narrow ? 9 : 10
                    width: 56
                    height: 32
                    radius: 16
                    color: item.current ? Theme.accent : hover.hovered ? Theme.raised : "transparent"
                    FocusRing { shown: item.activeFocus }
                    Icon {
                        anchors.centerIn: parent
                        name: item.modelData.glyph
                        color: item.current ? Theme.accentInk : Theme.muted
                    }
                }
                Label {
                    anchors.horizontalCenter: parent.horizontalCenter
                    y: navigation.narrow ? 44 : 47
                    text: item.modelData.text
                    font.pixelSize: 12
                    font.weight: item.current ? Font.DemiBold : Font.Normal
                    color: item.current ? Theme.text : Theme.muted
                }
                HoverHandler { id: hover; cursorShape: Qt.PointingHandCursor }
                TapHandler { onTapped: navigation.chosen(item.modelData.page) }
            }
        }
    }
    Rectangle {
        objectName: "user"
        visible: !navigation.narrow
        anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: 20 }
        width: 40
        height: 40
        radius: 20
        color: Theme.raised
        activeFocusOnTab: true
        Accessible.role: Accessible.Button
        Accessible.name: navigation.userName ? qsTr("Sign out %1").arg(navigation.userName) : qsTr("Sign in")
        Keys.onReturnPressed: navigation.userChosen()
        FocusRing { shown: parent.activeFocus }
        Label {
            anchors.centerIn: parent
            visible: navigation.userName !== ""
            text: navigation.userName.slice(0, 1).toUpperCase()
            font.weight: Font.Bold
            color: Theme.accent
        }
        Icon {
            anchors.centerIn: parent
            visible: navigation.userName === ""
            name: "user"
            color: Theme.muted
        }
        HoverHandler { cursorShape: Qt.PointingHandCursor }
        TapHandler { onTapped: navigation.userChosen() }
    }
}
