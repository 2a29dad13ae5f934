import QtQuick

// The way out, to the browser.
Item {
    id: link
    property string text
    property string address
    function open() { Qt.openUrlExternally(address) }
    implicitWidth: name.implicitWidth + 2 * Theme.small
    implicitHeight: Theme.target
    activeFocusOnTab: true
    Accessible.role: Accessible.Link
    Accessible.name: text
    Accessible.focusable: true
    Accessible.focused: activeFocus
    Accessible.onPressAction: open()
    Keys.onReturnPressed: (event) => { if (!event.isAutoRepeat) open() }
    Keys.onEnterPressed: (event) => { if (!event.isAutoRepeat) open() }
    Keys.onSelectPressed: (event) => { if (!event.isAutoRepeat) open() }
    Keys.onSpacePressed: (event) => { if (!event.isAutoRepeat) open() }
    HoverHandler { id: hover; cursorShape: Qt.PointingHandCursor }
    TapHandler { onTapped: link.open() }

    Rectangle {
        anchors { fill: parent; margins: Theme.tiny }
        radius: Theme.small
        color: hover.hovered ? Theme.raised : "transparent"
        FocusRing { shown: link.activeFocus }
    }
    Label {
        id: name
        anchors.verticalCenter: parent.verticalCenter
        x: Theme.small
        silent: true
        text: link.text + "  ↗"
        color: Theme.accent
    }
}
