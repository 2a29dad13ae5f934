import QtQuick
import Showcase

// The way between the pages: a rail on the left of wide windows, a bar below narrow ones.
DirectionalFocus {
    id: navigation
    property string current
    property var pages: []
    property string userName
    readonly property bool narrow: Theme.narrow
    signal chosen(string page)
    signal userChosen()
    width: narrow ? parent.width : Theme.px(88) + Theme.safeX
    height: narrow ? Theme.px(68) + Theme.safeY : parent.height
    Accessible.role: Accessible.PageTabList
    Accessible.name: qsTr("Pages")

    Rectangle {
        anchors.fill: parent
        color: Theme.surface
    }
    Item {
        id: inside
        anchors { fill: parent; leftMargin: Theme.safeX; bottomMargin: Theme.safeY; topMargin: navigation.narrow ? 0 : Theme.safeY }

        Rectangle {
            visible: !navigation.narrow && !Theme.low
            anchors.horizontalCenter: parent.horizontalCenter
            y: Theme.px(20)
            width: Theme.huge
            height: Theme.huge
            radius: Theme.radius
            color: Theme.accent
            Icon { anchors.centerIn: parent; name: "play"; color: Theme.accentInk; width: Theme.px(24); height: width }
        }
        Grid {
            id: items
            anchors.horizontalCenter: parent.horizontalCenter
            y: navigation.narrow || Theme.low ? 0 : Math.round((parent.height - height) / 2)
            columns: navigation.narrow ? cells : 1
            readonly property int cells: Math.max(1, navigation.pages.length)
            readonly property real cellWidth: navigation.narrow ? inside.width / cells : inside.width
            readonly property real cellHeight: navigation.narrow ? Theme.px(68)
                                               : Math.min(Theme.px(76), (inside.height - user.height - Theme.gap) / navigation.pages.length)
            Repeater {
                model: navigation.pages
                Tab {
                    id: item
                    required property var modelData
                    readonly property bool current: modelData.page === navigation.current
                    objectName: "nav-" + modelData.page
                    text: modelData.text
                    width: items.cellWidth
                    height: items.cellHeight
                    focus: current
                    checked: current
                    onClicked: navigation.chosen(modelData.page)
                    contentItem: Item {
                        Rectangle {
                            id: pill
                            anchors.horizontalCenter: parent.horizontalCenter
                            y: Theme.px(9)
                            width: Theme.px(56)
                            height: Theme.px(32)
                            radius: height / 2
                            color: item.current ? Theme.accent : item.hovered ? Theme.raised : "transparent"
                            FocusRing { shown: item.activeFocus }
                            Icon {
                                anchors.centerIn: parent
                                name: item.modelData.glyph
                                color: item.current ? Theme.accentInk : Theme.muted
                            }
                        }
                        Label {
                            anchors { horizontalCenter: parent.horizontalCenter; top: pill.bottom; topMargin: Theme.tiny }
                            silent: true
                            text: item.text
                            font.pixelSize: Theme.caption
                            font.weight: item.current ? Font.DemiBold : Font.Normal
                            color: item.current ? Theme.text : Theme.muted
                        }
                    }
                }
            }
        }
        Tappable {
            id: user
            objectName: "user"
            visible: !navigation.narrow
            x: (inside.width - width) / 2
            y: inside.height - height - Theme.radius
            width: Theme.target
            height: Theme.target
            text: navigation.userName ? qsTr("Membership of %1").arg(navigation.userName) : qsTr("Sign in")
            onClicked: navigation.userChosen()
            background: Rectangle {
                radius: height / 2
                color: user.hovered ? Theme.line : Theme.raised
                FocusRing { shown: user.activeFocus }
            }
            contentItem: Item {
                Label {
                    anchors.centerIn: parent
                    visible: navigation.userName !== ""
                    silent: true
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
            }
        }
    }
}
