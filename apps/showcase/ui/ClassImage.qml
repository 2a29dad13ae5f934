import QtQuick

// A class's picture: its place is there from the start, the picture fades in when it has come. One that
// does not come leaves a drawing, which says nothing of the class.
Rectangle {
    id: frame
    property url source
    property bool waiting: false  // while something else is more important
    property color around: Theme.background  // what shows behind the rounded corners
    property int corner: Theme.radius
    readonly property bool settled: picture.status === Image.Ready || picture.status === Image.Error
    color: Theme.surface

    Loader {
        anchors.centerIn: parent
        active: !frame.waiting && picture.status !== Image.Ready && picture.status !== Image.Loading
        sourceComponent: Icon {
            width: Math.min(Theme.px(56), frame.height / 3)
            height: width
            name: "picture"
            strokeWidth: 1.3
            color: Theme.faint
        }
    }
    Image {
        id: picture
        anchors.fill: parent
        asynchronous: true
        fillMode: Image.PreserveAspectCrop
        source: frame.waiting ? "" : frame.source
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
