import QtQuick
import Korvel.Content

// What the player tells its host.
Panel {
    id: log
    property PlayerItem player
    property var notes: []
    function note(text) {
        notes = [{ time: Theme.clock(player.position), text: text }].concat(notes).slice(0, 5)
    }
    title: qsTr("What the player says")
    Row {
        width: parent.width
        Repeater {
            model: [[qsTr("Position"), log.player.active ? Theme.clock(log.player.position) : "–"],
                    [qsTr("Length"), log.player.duration > 0 && log.player.active ? Theme.clock(Math.round(log.player.duration)) : "–"],
                    [qsTr("Performed"), qsTr("%1 s").arg(log.player.performedSeconds)]]
            Column {
                required property var modelData
                width: parent.width / 3
                spacing: 2
                Label {
                    text: parent.modelData[1]
                    font.pixelSize: Theme.heading + 2
                    font.weight: Font.Bold
                }
                Label {
                    text: parent.modelData[0]
                    font.pixelSize: 12
                    color: Theme.faint
                }
            }
        }
    }
    Rectangle { width: parent.width; height: 1; color: Theme.line }
    Column {
        width: parent.width
        height: 5 * 22
        Label {
            visible: log.notes.length === 0
            text: qsTr("Start the class to see its events here.")
            color: Theme.faint
            font.pixelSize: Theme.caption
            height: 22
        }
        Repeater {
            model: log.notes
            Item {
                required property var modelData
                required property int index
                width: parent.width
                height: 22
                opacity: 1 - index * 0.16
                Label {
                    id: time
                    width: 44
                    text: parent.modelData.time
                    color: Theme.accent
                    font.pixelSize: Theme.caption
                }
                Label {
                    anchors { left: time.right; right: parent.right }
                    text: parent.modelData.text
                    font.pixelSize: Theme.caption
                    color: Theme.muted
                }
            }
        }
    }
}
