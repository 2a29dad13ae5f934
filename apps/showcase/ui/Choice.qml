import QtQuick
import QtQuick.Templates as T

// One of several of which exactly one holds.
T.RadioButton {
    activeFocusOnTab: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Accessible.onToggleAction: clicked()
    Keys.onReturnPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    Keys.onEnterPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    Keys.onSelectPressed: (event) => { if (!event.isAutoRepeat) clicked() }
    HoverHandler { cursorShape: Qt.PointingHandCursor }
}
