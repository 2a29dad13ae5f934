import QtQuick
import QtQuick.Templates as T

// One criterion: shows what is chosen, opens the choices. `choices` holds texts, or objects with
// `text` and `value`.
Tappable {
    id: chip
    property string label
    property var choices: []
    property string value
    property string anyText: qsTr("Any")
    signal chosen(string value)
    readonly property var entries: [{ text: anyText, value: "" }].concat(
        Array.from(choices).map(each => typeof each === "string" ? { text: each, value: each } : each))
    readonly property string shownText: (entries.find(each => each.value === value) ?? entries[0]).text

    implicitHeight: Theme.target
    implicitWidth: row.implicitWidth + Theme.px(26)
    enabled: entries.length > 1
    opacity: enabled ? 1 : 0.75
    Accessible.name: label + ": " + shownText
    onClicked: menu.open()

    background: Item {
        Rectangle {
            anchors { fill: parent; topMargin: Theme.tiny; bottomMargin: Theme.tiny }
            radius: height / 2
            color: chip.hovered ? Theme.raised : Theme.surface
            border.width: 1
            border.color: chip.value ? Theme.accent : Theme.line
            FocusRing { shown: chip.activeFocus }
        }
    }
    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: Theme.px(6)
            Label {
                anchors.verticalCenter: parent.verticalCenter
                silent: true
                text: chip.value ? chip.shownText : chip.label
                font.pixelSize: Theme.caption + 1
                font.weight: Font.Medium
                color: chip.value ? Theme.accent : Theme.text
            }
            Icon {
                anchors.verticalCenter: parent.verticalCenter
                name: "down"
                width: Theme.px(15)
                height: width
                color: chip.value ? Theme.accent : Theme.muted
            }
        }
    }
    T.Popup {
        id: menu
        y: chip.height + Theme.tiny
        width: Theme.px(220)
        height: Math.min(list.contentHeight + 2 * padding, Theme.px(344), Theme.window.height - 2 * margins)
        padding: Theme.px(6)
        margins: Math.max(Theme.small, Theme.safeY)
        focus: true
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
        onOpened: {
            list.currentIndex = Math.max(0, chip.entries.findIndex(each => each.value === chip.value))
            list.forceActiveFocus()
        }
        onClosed: if (chip.visible) chip.forceActiveFocus(Qt.TabFocusReason)
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
            Accessible.role: Accessible.PopupMenu
            Accessible.name: chip.label
            Keys.onReturnPressed: currentItem.pick()
            Keys.onEnterPressed: currentItem.pick()
            Keys.onSelectPressed: currentItem.pick()
            Keys.onSpacePressed: currentItem.pick()
            delegate: Rectangle {
                id: entry
                required property var modelData
                required property int index
                function pick() {
                    menu.close()
                    chip.chosen(modelData.value)
                }
                width: list.width
                height: Theme.target
                radius: Theme.small
                color: entryHover.hovered ? Theme.line : "transparent"
                Accessible.role: Accessible.MenuItem
                Accessible.name: modelData.text
                Accessible.checked: tick.visible
                Accessible.onPressAction: pick()
                FocusRing { anchors.margins: 2; radius: Theme.small; shown: entry.ListView.isCurrentItem }
                Label {
                    anchors { left: parent.left; right: tick.left; leftMargin: Theme.radius; verticalCenter: parent.verticalCenter }
                    silent: true
                    text: entry.modelData.text
                    font.pixelSize: Theme.caption + 1
                }
                Icon {
                    id: tick
                    anchors { right: parent.right; rightMargin: Theme.px(10); verticalCenter: parent.verticalCenter }
                    visible: entry.modelData.value === chip.value
                    name: "check"
                    width: Theme.gap
                    height: width
                    color: Theme.accent
                }
                HoverHandler { id: entryHover }
                TapHandler { onTapped: entry.pick() }
            }
        }
    }
}
