import QtQuick
import Korvel.Content

// A class was refused for want of a subscription.
Sheet {
    id: dialog
    property var then
    signal plansWanted()
    function ask(action) {
        then = action
        asked = false
        shown = true
        start.forceActiveFocus(Qt.TabFocusReason)
    }
    property bool asked: false
    title: qsTr("Classes are for members")
    subtitle: qsTr("Start a membership and go straight on with this class.")
    onDismissed: shown = false
    Connections {
        target: KorvelContent
        function onSubscriptionIdChanged() {
            if (!dialog.shown || !KorvelContent.subscriptionId) return
            dialog.shown = false
            if (dialog.then) dialog.then()
        }
    }
    Label {
        width: parent.width
        wrapMode: Text.WordWrap
        color: Theme.muted
        lineHeight: 1.3
        text: qsTr("Gold gives you every class on every screen. You can end it at any time on the membership page.")
    }
    Label {
        width: parent.width
        visible: dialog.asked && text !== ""
        wrapMode: Text.WordWrap
        text: KorvelContent.subscriptionRequest.message
        color: Theme.danger
    }
    buttons: [
        AppButton {
            id: start
            objectName: "startMembership"
            kind: AppButton.Primary
            text: qsTr("Start Gold")
            busy: KorvelContent.subscriptionRequest.busy
            onClicked: {
                if (busy) return
                dialog.asked = true
                KorvelContent.activateSubscription("gold-yearly")
            }
        },
        AppButton {
            kind: AppButton.Quiet
            text: qsTr("See plans")
            onClicked: {
                dialog.shown = false
                dialog.plansWanted()
            }
        }
    ]
}
