import QtQuick

Rectangle {
    id: panel
    property string title
    default property alias content: column.data
    implicitHeight: column.y + column.height + Theme.between
    radius: Theme.radius
    color: Theme.surface
    Label {
        id: heading
        x: Theme.icon
        y: Theme.between
        width: panel.width - 2 * Theme.icon
        heading: true
        text: panel.title
        font.weight: Font.Bold
        font.pixelSize: Theme.body + 1
    }
    Column {
        id: column
        x: Theme.icon
        y: heading.y + heading.height + Theme.radius
        width: panel.width - 2 * Theme.icon
        spacing: Theme.px(10)
    }
}
