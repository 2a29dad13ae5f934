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
    readonly property real line: Theme.px(22)
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
                Accessible.role: Accessible.StaticText
                Accessible.name: modelData[0] + ": " + modelData[1]
                Label {
                    silent: true
                    text: parent.modelData[1]
                    font.pixelSize: Theme.heading + 2
                    font.weight: Font.Bold
                }
                Label {
                    silent: true
                    text: parent.modelData[0]
                    font.pixelSize: Theme.caption
                    color: Theme.faint
                }
            }
        }
    }
    Rectangle { width: parent.width; height: 1; color: Theme.line }
    Column {
        width: parent.width
        height: 5 * log.line
        Label {
            visible: log.notes.length === 0
            text: qsTr("Start the class to see its events here.")
            color: Theme.faint
            font.pixelSize: Theme.caption
            height: log.line
        }
        Repeater {
            model: log.notes
            Item {
                required property var modelData
                required property int index
                width: parent.width
                height: log.line
                Accessible.role: Accessible.StaticText
                Accessible.name: modelData.time + " " + modelData.text
                Label {
                    id: time
                    width: Theme.px(44)
                    silent: true
                    text: parent.modelData.time
                    color: Theme.accent
                    font.pixelSize: Theme.caption
                }
                Label {
                    anchors { left: time.right; right: parent.right }
                    silent: true
                    text: parent.modelData.text
                    font.pixelSize: Theme.caption
                    color: Theme.muted
                }
            }
        }
    }
}
