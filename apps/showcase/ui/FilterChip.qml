import QtQuick
import QtQuick.Templates as T

// One criterion: shows what is chosen, opens the choices. `choices` holds texts, or objects with
// `text` and `value`.
T.AbstractButton {
    id: chip
    property string label
    property var choices: []
    property string value
    property string anyText: qsTr("Any")
    signal chosen(string value)
    readonly property var entries: [{ text: anyText, value: "" }].concat(
        Array.from(choices).map(each => typeof each === "string" ? { text: each, value: each } : each))
    readonly property string shownText: (entries.find(each => each.value === value) ?? entries[0]).text

    implicitHeight: 38
    implicitWidth: row.implicitWidth + 26
    enabled: entries.length > 1
    opacity: enabled ? 1 : 0.5
    activeFocusOnTab: true
    Accessible.name: label + ": " + shownText
    onClicked: menu.open()
    Keys.onReturnPressed: menu.open()
    Keys.onDownPressed: menu.open()
    HoverHandler { id: hover; cursorShape: Qt.PointingHandCursor }

    background: Rectangle {
        radius: height / 2
        color: hover.hovered ? Theme.raised : Theme.surface
        border.width: 1
        border.color: chip.value ? Theme.accent : Theme.line
        FocusRing { shown: chip.visualFocus }
    }
    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 6
            Label {
                anchors.verticalCenter: parent.verticalCenter
                text: chip.value ? chip.shownText : chip.label
                font.pixelSize: Theme.caption + 1
                font.weight: Font.Medium
                color: chip.value ? Theme.accent : Theme.text
            }
            Icon {
                anchors.verticalCenter: parent.verticalCenter
                name: "down"
                width: 15
                height: 15
                color: chip.value ? Theme.accent : Theme.muted
            }
        }
    }
    T.Popup {
        id: menu
        y: chip.height + 6
        width: 220
        height: Math.min(list.contentHeight + 12, 320)
        padding: 6
        margins: Theme.small
        focus: true
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
        onOpened: {
            list.currentIndex = Math.max(0, chip.entries.findIndex(each => each.value === chip.value))
            list.forceActiveFocus()
        }
        background: Rectangle {
            radius: Theme.radius
            color: Theme.raised
            border.color: Theme.line
        }
        contentItem: ListView {
            id: list
            clip: true
            model: chip.entries
            keyNavigationEnabled: true
            Keys.onReturnPressed: currentItem.pick()
            delegate: Rectangle {
                id: entry
                required property var modelData
                required property int index
                function pick() {
                    chip.chosen(modelData.value)
                    menu.close()
                }
                width: list.width
                height: 38
                radius: 8
                color: entryHover.hovered || ListView.isCurrentItem ? Theme.line : "transparent"
                Accessible.role: Accessible.MenuItem
                Accessible.name: modelData.text
                Label {
                    anchors { left: parent.left; right: tick.left; leftMargin: 10; verticalCenter: parent.verticalCenter }
                    text: entry.modelData.text
                    font.pixelSize: Theme.caption + 1
                }
                Icon {
                    id: tick
                    anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
                    visible: entry.modelData.value === chip.value
                    name: "check"
                    width: 16
                    height: 16
                    color: Theme.accent
                }
                HoverHandler { id: entryHover }
                TapHandler { onTapped: entry.pick() }
            }
        }
    }
}
