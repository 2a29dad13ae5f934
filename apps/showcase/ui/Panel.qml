import QtQuick

Rectangle {
    id: panel
    property string title
    default property alias content: column.data
    implicitHeight: column.y + column.height + 18
    radius: Theme.radius
    color: Theme.surface
    Label {
        id: heading
        x: 20
        y: 18
        width: panel.width - 40
        text: panel.title
        font.weight: Font.Bold
        font.pixelSize: Theme.body + 1
    }
    Column {
        id: column
        x: 20
        y: heading.y + heading.height + 12
        width: panel.width - 40
        spacing: 10
    }
}
