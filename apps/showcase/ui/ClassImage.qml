import QtQuick

// A class's picture: its place is there from the start, the picture fades in when it has come.
Rectangle {
    id: frame
    property url source
    property string caption
    property color around: Theme.background  // what shows behind the rounded corners
    property int corner: Theme.radius
    readonly property bool settled: !source.toString() || picture.status === Image.Ready
                                    || picture.status === Image.Error
    color: Theme.surface

    Label {
        anchors.centerIn: parent
        visible: picture.status !== Image.Ready && picture.status !== Image.Loading
        text: frame.caption.slice(0, 1).toUpperCase()
        font.pixelSize: Math.max(Theme.title, parent.height / 3)
        font.weight: Font.Bold
        color: Theme.line
    }
    Image {
        id: picture
        anchors.fill: parent
        asynchronous: true
        fillMode: Image.PreserveAspectCrop
        source: frame.source
        sourceSize.width: 640
        opacity: status === Image.Ready ? 1 : 0
        Behavior on opacity { NumberAnimation { duration: Theme.calm } }
    }
    Corners {
        visible: frame.corner > 0
        around: frame.around
        corner: frame.corner
    }
}
