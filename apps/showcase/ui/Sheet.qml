import QtQuick

// A dialog over the dimmed page.
FocusScope {
    id: sheet
    property bool shown: false
    property string title
    property string subtitle
    default property alias content: column.data
    property alias buttons: row.data
    signal dismissed()
    anchors.fill: parent
    visible: opacity > 0
    opacity: shown ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: Theme.quick } }
    onShownChanged: if (shown) forceActiveFocus()
    Keys.onEscapePressed: dismissed()
    Accessible.role: Accessible.Dialog
    Accessible.name: title

    Rectangle {
        anchors.fill: parent
        color: "#c805070a"
        MouseArea { anchors.fill: parent; hoverEnabled: true; onClicked: sheet.dismissed(); onWheel: {} }
    }
    Rectangle {
        anchors.centerIn: parent
        anchors.verticalCenterOffset: sheet.shown ? 0 : 16
        Behavior on anchors.verticalCenterOffset { NumberAnimation { duration: Theme.calm; easing.type: Easing.OutCubic } }
        width: Math.min(parent.width - 32, 560)
        height: Math.min(parent.height - 32, body.y + column.height + row.height + 28 + 26 + 20)
        radius: 18
        color: Theme.surface
        border.color: Theme.line
        MouseArea { anchors.fill: parent }
        Label {
            id: heading
            x: 28
            y: 26
            width: parent.width - 56
            text: sheet.title
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.heading + 3
            font.weight: Font.Bold
        }
        Label {
            id: below
            anchors { left: heading.left; right: heading.right; top: heading.bottom; topMargin: 4 }
            text: sheet.subtitle
            visible: text !== ""
            color: Theme.faint
            font.pixelSize: Theme.caption
        }
        Flickable {
            id: body
            anchors { left: parent.left; right: parent.right; bottom: row.top; leftMargin: 28; rightMargin: 28; bottomMargin: 20 }
            anchors.top: below.visible ? below.bottom : heading.bottom
            anchors.topMargin: 16
            contentHeight: column.height
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            Column {
                id: column
                width: body.width
                spacing: 12
            }
        }
        Row {
            id: row
            anchors { right: parent.right; bottom: parent.bottom; rightMargin: 24; bottomMargin: 26 }
            spacing: 10
            layoutDirection: Qt.RightToLeft
        }
    }
}
