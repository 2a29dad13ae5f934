import QtQuick
import Showcase

// A dialog in place of the page that it covers.
DirectionalFocus {
    id: sheet
    property bool shown: false
    property string title
    property string subtitle
    default property alias content: column.data
    property alias buttons: row.data
    readonly property bool covers: shown && opacity === 1
    signal dismissed()
    anchors.fill: parent
    visible: opacity > 0
    opacity: shown ? 1 : 0
    Behavior on opacity { NumberAnimation { duration: Theme.quick } }
    Keys.onEscapePressed: dismissed()
    Keys.onBackPressed: dismissed()
    Accessible.role: Accessible.Dialog
    Accessible.name: title

    Rectangle {
        anchors.fill: parent
        color: sheet.covers ? Theme.background : "#c805070a"
        MouseArea { anchors.fill: parent; hoverEnabled: true; onClicked: sheet.dismissed(); onWheel: {} }
    }
    Rectangle {
        id: paper
        readonly property int inset: Theme.px(Theme.low ? 20 : 28)
        anchors.centerIn: parent
        anchors.verticalCenterOffset: sheet.shown ? 0 : Theme.gap
        Behavior on anchors.verticalCenterOffset { NumberAnimation { duration: Theme.calm; easing.type: Easing.OutCubic } }
        width: Math.min(parent.width - 2 * Math.max(Theme.gap, Theme.safeX), Theme.px(560))
        height: Math.min(parent.height - 2 * Math.max(Theme.gap, Theme.safeY),
                         body.y + column.height + row.height + 2 * inset)
        radius: Theme.between
        color: Theme.surface
        border.color: Theme.line
        MouseArea { anchors.fill: parent }
        Label {
            id: heading
            x: paper.inset
            y: paper.inset
            width: parent.width - 2 * paper.inset
            heading: true
            text: sheet.title
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.heading + 3
            font.weight: Font.Bold
        }
        Label {
            id: below
            anchors { left: heading.left; right: heading.right; top: heading.bottom; topMargin: Theme.tiny }
            text: sheet.subtitle
            visible: text !== ""
            color: Theme.faint
            wrapMode: Text.WordWrap
            font.pixelSize: Theme.caption
        }
        Flickable {
            id: body
            anchors { left: parent.left; right: parent.right; bottom: row.top; leftMargin: paper.inset; rightMargin: paper.inset; bottomMargin: Theme.gap }
            anchors.top: below.visible ? below.bottom : heading.bottom
            anchors.topMargin: Theme.gap
            contentHeight: column.height
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            activeFocusOnTab: contentHeight > height + 1  // to be read to its end
            Column {
                id: column
                width: body.width
                spacing: Theme.radius
            }
        }
        FocusRing { anchors.fill: body; radius: Theme.small; shown: body.activeFocus }
        Row {
            id: row
            anchors { right: parent.right; bottom: parent.bottom; margins: Theme.px(22) }
            spacing: Theme.px(10)
            layoutDirection: Qt.RightToLeft
        }
    }
}
