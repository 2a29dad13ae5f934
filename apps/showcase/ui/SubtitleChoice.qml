import QtQuick
import Korvel.Content
import Showcase

// The subtitles that there are, and none. Arrows stay in it until something is chosen, or Back leads out.
DirectionalFocus {
    id: choice
    property PlayerSubtitles subtitles
    property bool open: false
    signal closed()
    function show() {
        open = true
        list.itemAt(subtitles.activeTrack + 1).forceActiveFocus(Qt.TabFocusReason)
    }
    function leave() {
        open = false
        closed()
    }
    visible: open
    width: Theme.px(220)
    height: Math.min(column.height + 2 * Theme.tiny, parent.height - 2 * Theme.tiny)
    onActiveFocusChanged: if (!activeFocus) open = false
    Accessible.role: Accessible.Grouping
    Accessible.name: qsTr("Subtitles")
    Keys.priority: Keys.AfterItem
    Keys.onPressed: (event) => event.accepted = [Qt.Key_Left, Qt.Key_Right, Qt.Key_Up, Qt.Key_Down].includes(event.key)

    Rectangle {
        anchors.fill: parent
        radius: Theme.radius
        color: "#f00b0e13"
        border.color: Theme.line
    }
    Flickable {
        anchors { fill: parent; margins: Theme.tiny }
        contentHeight: column.height
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        Column {
            id: column
            width: parent.width
            Repeater {
                id: list
                model: [qsTr("Off")].concat(choice.subtitles.tracks.map(track => track.name || track.language))
                Choice {
                    id: entry
                    required property string modelData
                    required property int index
                    objectName: "subtitles-" + index
                    text: modelData
                    width: column.width
                    height: Theme.target
                    checked: index === choice.subtitles.activeTrack + 1
                    onClicked: {
                        choice.subtitles.activeTrack = index - 1
                        choice.leave()
                    }
                    background: FocusRing { anchors.margins: 2; radius: Theme.small; shown: entry.activeFocus }
                    contentItem: Item {
                        Label {
                            anchors { left: parent.left; right: tick.left; leftMargin: Theme.radius; verticalCenter: parent.verticalCenter }
                            silent: true
                            text: entry.modelData
                        }
                        Icon {
                            id: tick
                            anchors { right: parent.right; rightMargin: Theme.px(10); verticalCenter: parent.verticalCenter }
                            visible: entry.index === choice.subtitles.activeTrack + 1
                            name: "check"
                            color: Theme.accent
                        }
                    }
                }
            }
        }
    }
}
