import QtQuick
import QtQuick.Templates as T

// Whatever is pressed: by mouse, finger, keyboard or remote control. Read aloud as a button, which the toolkit lets
// none of its buttons be denied: tabs, choices and links are types of their own.
T.AbstractButton {
    activeFocusOnTab: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Keys.onReturnPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    Keys.onEnterPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    Keys.onSelectPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    HoverHandler { cursorShape: Qt.PointingHandCursor }
}
