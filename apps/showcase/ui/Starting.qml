import QtQuick
import Korvel.Content
import Showcase

// Over the player from its start to the first picture, and whenever it goes on for long without one: that
// something is on its way, what is wrong, and a way on.
DirectionalFocus {
    id: starting
    property PlayerItem player
    readonly property bool stalled: player.condition === PlayerItem.Stalled
    readonly property bool shown: player.condition === PlayerItem.Starting || stalled
    // Full screen the keys are the player's: Back leads to the page, where it can be started again.
    readonly property bool offers: stalled && !player.fullScreen && !player.startFullScreen
    signal again()
    visible: shown
    Rectangle {
        anchors.fill: parent
        color: "#b00b0e13"
    }
    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.gap, Theme.px(460))
        spacing: Theme.radius
        Spinner {
            anchors.horizontalCenter: parent.horizontalCenter
            width: Theme.px(52)
            height: width
            running: starting.shown
        }
        Label {
            objectName: "stall"
            width: parent.width
            visible: text !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: !starting.stalled ? "" : starting.offers ? starting.player.message
                  : starting.player.message + "\n" + qsTr("Back leads out of here.")
        }
        AppButton {
            id: button
            objectName: "startAgain"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: starting.offers
            text: qsTr("Try again")
            onClicked: starting.again()
        }
    }
}
