import QtQuick
import Korvel.Content

FocusScope {
    id: page
    property bool narrow: false
    readonly property int side: narrow ? 20 : Theme.huge
    signal signInWanted()
    signal consentWanted(consent consent, var then)
    readonly property var plans: [
        { id: "gold-yearly", name: qsTr("Gold"), price: qsTr("€ 89 a year"), text: qsTr("Every class, every screen, a whole year.") },
        { id: "silver-monthly", name: qsTr("Silver"), price: qsTr("€ 9 a month"), text: qsTr("Every class. Stop after any month.") }]

    Component.onCompleted: KorvelContent.loadConsents()

    Flickable {
        anchors.fill: parent
        contentHeight: column.y + column.height + Theme.huge
        boundsBehavior: Flickable.StopAtBounds
        Column {
            id: column
            x: page.side
            y: Theme.wide
            width: Math.min(parent.width - 2 * page.side, 1000)
            spacing: Theme.gap
            Item {
                width: parent.width
                height: 44
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: qsTr("Membership")
                    font.pixelSize: Theme.title
                    font.weight: Font.ExtraBold
                }
                AppButton {
                    anchors.right: parent.right
                    text: KorvelContent.loggedIn ? qsTr("Sign out") : qsTr("Sign in")
                    onClicked: KorvelContent.loggedIn ? KorvelContent.logout() : page.signInWanted()
                }
            }
            Label {
                width: parent.width
                color: Theme.muted
                wrapMode: Text.WordWrap
                text: !KorvelContent.loggedIn ? qsTr("Sign in to start a membership.")
                      : KorvelContent.subscriptionId ? qsTr("%1, your membership is active.").arg(KorvelContent.userName)
                      : qsTr("%1, choose how you want to train.").arg(KorvelContent.userName)
            }
            Grid {
                width: parent.width
                columns: page.narrow ? 1 : 2
                spacing: Theme.gap
                Repeater {
                    model: page.plans
                    Rectangle {
                        id: plan
                        required property var modelData
                        readonly property bool active: KorvelContent.subscriptionId === modelData.id
                        width: page.narrow ? parent.width : (parent.width - Theme.gap) / 2
                        height: 214
                        radius: Theme.radius
                        color: Theme.surface
                        border.width: active ? 2 : 1
                        border.color: active ? Theme.accent : Theme.line
                        Label {
                            id: planName
                            x: 24
                            y: 22
                            text: plan.modelData.name
                            font.pixelSize: Theme.heading + 2
                            font.weight: Font.Bold
                        }
                        Label {
                            anchors { right: parent.right; rightMargin: 24; baseline: planName.baseline }
                            visible: plan.active
                            text: qsTr("ACTIVE")
                            color: Theme.accent
                            font.pixelSize: 12
                            font.weight: Font.Bold
                            font.letterSpacing: 1.4
                        }
                        Label {
                            id: price
                            anchors { left: planName.left; top: planName.bottom; topMargin: 10 }
                            text: plan.modelData.price
                            font.pixelSize: Theme.title
                            font.weight: Font.ExtraBold
                        }
                        Label {
                            anchors { left: price.left; right: parent.right; rightMargin: 24; top: price.bottom; topMargin: 8 }
                            text: plan.modelData.text
                            color: Theme.muted
                        }
                        AppButton {
                            objectName: "plan-" + plan.modelData.id
                            anchors { left: parent.left; bottom: parent.bottom; leftMargin: 22; bottomMargin: 22 }
                            kind: plan.active ? AppButton.Secondary : AppButton.Primary
                            text: plan.active ? qsTr("End membership") : qsTr("Start now")
                            enabled: !KorvelContent.subscriptionRequest.busy
                            onClicked: {
                                if (!KorvelContent.loggedIn) page.signInWanted()
                                else if (plan.active) KorvelContent.cancelSubscription()
                                else KorvelContent.activateSubscription(plan.modelData.id)
                            }
                        }
                        Spinner {
                            anchors { right: parent.right; bottom: parent.bottom; margins: 26 }
                            width: 26
                            height: 26
                            running: KorvelContent.subscriptionRequest.busy
                        }
                    }
                }
            }
            Rectangle {
                visible: KorvelContent.subscriptionRequest.errorText !== ""
                width: parent.width
                height: 56
                radius: Theme.radius
                color: "#2a1719"
                Label {
                    anchors { left: parent.left; right: again.left; margins: 16; verticalCenter: parent.verticalCenter }
                    text: KorvelContent.subscriptionRequest.errorText
                    color: Theme.danger
                }
                AppButton {
                    id: again
                    anchors { right: parent.right; rightMargin: 6; verticalCenter: parent.verticalCenter }
                    text: qsTr("Try again")
                    onClicked: KorvelContent.subscriptionRequest.retry()
                }
            }
            Item { width: 1; height: Theme.small }
            Label {
                text: qsTr("Documents")
                font.pixelSize: Theme.heading + 1
                font.weight: Font.Bold
            }
            Repeater {
                model: KorvelContent.consents
                Rectangle {
                    id: row
                    required property var modelData
                    readonly property bool accepted: KorvelContent.acceptedConsents.includes(modelData.consentTag)
                    width: column.width
                    height: 72
                    radius: Theme.radius
                    color: Theme.surface
                    Label {
                        id: name
                        anchors { left: parent.left; right: read.left; leftMargin: 20; rightMargin: 12; top: parent.top; topMargin: 15 }
                        text: row.modelData.title
                        font.weight: Font.DemiBold
                    }
                    Label {
                        anchors { left: name.left; right: name.right; top: name.bottom; topMargin: 3 }
                        text: (row.modelData.isMandatory ? qsTr("Needed to take classes") : qsTr("Your choice"))
                              + " · " + Theme.day(row.modelData.publishedDate)
                        font.pixelSize: Theme.caption
                        color: Theme.faint
                    }
                    AppButton {
                        id: read
                        objectName: "read-" + row.modelData.consentTag
                        anchors { right: parent.right; rightMargin: 14; verticalCenter: parent.verticalCenter }
                        glyph: row.accepted ? "check" : ""
                        kind: row.accepted ? AppButton.Quiet : AppButton.Secondary
                        text: row.accepted ? qsTr("Accepted") : qsTr("Read and accept")
                        onClicked: KorvelContent.loggedIn ? page.consentWanted(row.modelData, null) : page.signInWanted()
                    }
                }
            }
            StateView {
                width: parent.width
                height: Math.max(80, implicitHeight)
                compact: true
                visible: KorvelContent.consents.length === 0 && shown
                request: KorvelContent.consentRequest
            }
        }
    }
}
