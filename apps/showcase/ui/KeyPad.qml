import QtQuick
import QtQuick.Templates as T
import Showcase

// Letters for who has a remote control and no keyboard, below the field that they go to.
T.Popup {
    id: pad
    property Item field
    readonly property real key: Math.min(Theme.target, (Theme.window.width - 2 * Theme.gap - 2 * padding) / 10)
    signal entered()
    y: field.height + Theme.small
    padding: Theme.px(10)
    margins: Theme.small
    implicitWidth: contentItem.implicitWidth + 2 * padding
    implicitHeight: contentItem.implicitHeight + 2 * padding
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
    onOpened: keys.enter()
    onClosed: field.forceActiveFocus(Qt.TabFocusReason)
    background: Rectangle {
        radius: Theme.radius
        color: Theme.raised
        border.color: Theme.line
    }
    component Key: Tappable {
        id: key
        property string glyph
        width: pad.key
        height: pad.key
        background: Rectangle {
            anchors { fill: parent; margins: 2 }
            radius: Theme.small
            color: key.down || key.hovered ? Theme.line : Theme.surface
            FocusRing { anchors.margins: -1; shown: key.activeFocus }
        }
        contentItem: Item {
            Label { anchors.centerIn: parent; visible: key.glyph === ""; silent: true; text: key.text }
            Icon { anchors.centerIn: parent; visible: key.glyph !== ""; name: key.glyph }
        }
    }
    contentItem: DirectionalFocus {
        id: keys
        implicitWidth: 10 * pad.key
        implicitHeight: 4 * pad.key
        Grid {
            columns: 10
            Repeater {
                model: Array.from("abcdefghijklmnopqrstuvwxyz0123456789")
                Key {
                    required property string modelData
                    objectName: "key-" + modelData
                    text: modelData
                    onClicked: pad.field.insert(pad.field.cursorPosition, modelData)
                }
            }
            Key { text: qsTr("Space"); glyph: "space"; onClicked: pad.field.insert(pad.field.cursorPosition, " ") }
            Key { text: qsTr("Delete"); glyph: "erase"; onClicked: pad.field.remove(pad.field.cursorPosition - 1, pad.field.cursorPosition) }
            Key { text: qsTr("Delete all"); glyph: "close"; onClicked: pad.field.clear() }
            Key {
                objectName: "key-done"
                text: qsTr("Done")
                glyph: "check"
                onClicked: {
                    pad.close()
                    pad.entered()
                }
            }
        }
    }
}
