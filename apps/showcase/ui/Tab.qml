import QtQuick
import QtQuick.Templates as T

// The way to one of several pages.
T.TabButton {
    activeFocusOnTab: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.selected: checked
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    Keys.onEnterPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    Keys.onSelectPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    HoverHandler { cursorShape: Qt.PointingHandCursor }
}
