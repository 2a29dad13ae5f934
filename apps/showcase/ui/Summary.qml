import QtQuick
import Korvel.Content

// What was performed, and whether the service has it.
Rectangle {
    id: summary
    property PlayerItem player
    visible: player.record !== PlayerItem.NoRecord
    implicitHeight: words.height + 2 * Theme.gap
    radius: Theme.radius
    color: Theme.surface
    border.color: player.record === PlayerItem.Lost ? Theme.danger : Theme.accent
    Column {
        id: words
        x: Theme.icon
        y: Theme.gap
        width: parent.width - 2 * x
        spacing: Theme.tiny
        Label {
            objectName: "summary"
            width: parent.width
            heading: true
            wrapMode: Text.WordWrap
            text: summary.player.performedSeconds > 0 ? qsTr("You trained for %1.").arg(Theme.length(summary.player.performedSeconds))
                                                      : qsTr("You have not trained yet.")
            font.pixelSize: Theme.heading
            font.weight: Font.Bold
        }
        Label {
            objectName: "saved"
            width: parent.width
            wrapMode: Text.WordWrap
            color: Theme.muted
            text: {
                switch (summary.player.record) {
                case PlayerItem.Sending: return qsTr("It is being saved.")
                case PlayerItem.Saved: return qsTr("It is saved.")
                case PlayerItem.Kept: return qsTr("It is kept on this device, and saved as soon as there is a connection.")
                case PlayerItem.Lost: return qsTr("It could not be saved.")
                }
                return ""
            }
        }
    }
}
