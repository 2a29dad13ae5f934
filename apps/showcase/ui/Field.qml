import QtQuick
import QtQuick.Templates as T

T.TextField {
    id: field
    property string glyph
    implicitHeight: 48
    leftPadding: glyph ? 48 : 18
    rightPadding: clear.visible ? 48 : 18
    verticalAlignment: Text.AlignVCenter
    color: Theme.text
    selectionColor: Theme.accent
    selectedTextColor: Theme.accentInk
    placeholderTextColor: Theme.faint
    font.family: Theme.family
    font.pixelSize: Theme.body + 1
    selectByMouse: true
    Accessible.name: placeholderText
    background: Rectangle {
        radius: height / 2
        color: Theme.surface
        border.width: field.activeFocus ? 2 : 1
        border.color: field.activeFocus ? Theme.accent : Theme.line
    }
    Label {
        anchors { left: parent.left; leftMargin: field.leftPadding; verticalCenter: parent.verticalCenter }
        visible: field.text === "" && field.preeditText === ""
        text: field.placeholderText
        color: Theme.faint
        font.pixelSize: field.font.pixelSize
    }
    Icon {
        anchors { left: parent.left; leftMargin: 16; verticalCenter: parent.verticalCenter }
        visible: field.glyph !== ""
        name: field.glyph
        color: Theme.muted
    }
    AppButton {
        id: clear
        anchors { right: parent.right; rightMargin: 4; verticalCenter: parent.verticalCenter }
        visible: field.text !== "" && field.glyph !== ""
        kind: AppButton.Quiet
        glyph: "close"
        implicitWidth: 40
        implicitHeight: 40
        activeFocusOnTab: false
        onClicked: field.clear()
    }
}
