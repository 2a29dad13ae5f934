import QtQuick
import QtQuick.Templates as T

// A line of text; who has no keyboard gets letters to choose from.
FocusScope {
    id: whole
    property string glyph
    property alias text: field.text
    property alias placeholderText: field.placeholderText
    property alias inputName: field.objectName
    signal accepted()
    signal edited()
    function clear() { field.clear() }
    implicitHeight: Theme.px(52)
    implicitWidth: Theme.px(400)

    T.TextField {
        id: field
        anchors { fill: parent; rightMargin: letters.width + Theme.small }
        focus: true
        activeFocusOnTab: true
        leftPadding: Theme.px(whole.glyph ? 48 : 18)
        rightPadding: Theme.px(clear.visible ? 48 : 18)
        verticalAlignment: Text.AlignVCenter
        color: Theme.text
        selectionColor: Theme.accent
        selectedTextColor: Theme.accentInk
        placeholderTextColor: "transparent"
        font.family: Theme.family
        font.pixelSize: Theme.body + 1
        selectByMouse: true
        Accessible.name: placeholderText
        onTextChanged: whole.edited()
        Keys.onReturnPressed: text === "" ? pad.open() : whole.accepted()
        Keys.onEnterPressed: text === "" ? pad.open() : whole.accepted()
        Keys.onSelectPressed: pad.open()
        background: Rectangle {
            radius: height / 2
            color: Theme.surface
            border.width: field.activeFocus ? Theme.px(2) : 1
            border.color: field.activeFocus ? Theme.text : Theme.faint
        }
        Label {
            anchors { left: parent.left; right: parent.right; leftMargin: field.leftPadding; rightMargin: Theme.gap; verticalCenter: parent.verticalCenter }
            visible: field.text === "" && field.preeditText === ""
            silent: true
            text: field.placeholderText
            color: Theme.faint
            font.pixelSize: field.font.pixelSize
        }
        Icon {
            anchors { left: parent.left; leftMargin: Theme.gap; verticalCenter: parent.verticalCenter }
            visible: whole.glyph !== ""
            name: whole.glyph
            color: Theme.muted
        }
        AppButton {
            id: clear
            anchors { right: parent.right; rightMargin: 2; verticalCenter: parent.verticalCenter }
            visible: field.text !== "" && whole.glyph !== ""
            kind: AppButton.Quiet
            glyph: "close"
            means: qsTr("Clear")
            activeFocusOnTab: false
            onClicked: field.clear()
        }
    }
    AppButton {
        id: letters
        objectName: "letters"
        anchors { right: parent.right; verticalCenter: parent.verticalCenter }
        glyph: "keys"
        means: qsTr("Letters to choose from")
        onClicked: pad.open()
    }
    KeyPad {
        id: pad
        field: field
        onEntered: whole.accepted()
    }
}
