import QtQuick
import Korvel.Content
import Showcase

// What is known of this account. The service tells nothing of earlier log-ins, and neither does this.
DirectionalFocus {
    id: page
    property var refused: []  // tags of documents that a class was refused for
    readonly property bool member: KorvelContent.membership === KorvelContent.Member
    readonly property bool unknown: KorvelContent.membership === KorvelContent.UnknownMembership
    signal signInWanted()
    signal consentWanted(consent consent, var then)
    readonly property var plans: [
        { id: "gold-yearly", name: qsTr("Gold"), price: qsTr("€ 89 a year"), text: qsTr("Every class, every screen, a whole year.") },
        { id: "silver-monthly", name: qsTr("Silver"), price: qsTr("€ 9 a month"), text: qsTr("Every class. Stop after any month.") }]

    Component.onCompleted: KorvelContent.loadConsents()

    Flickable {
        anchors.fill: parent
        contentHeight: column.y + column.height + Math.max(Theme.huge, Theme.safeY)
        boundsBehavior: Flickable.StopAtBounds
        Column {
            id: column
            x: Theme.side
            y: Theme.top
            width: Math.min(parent.width - 2 * Theme.side, Theme.px(1000))
            spacing: Theme.gap
            Item {
                width: parent.width
                height: Theme.target
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    heading: true
                    text: qsTr("Membership")
                    font.pixelSize: Theme.title
                    font.weight: Font.ExtraBold
                }
                AppButton {
                    objectName: "signInOrOut"
                    anchors.right: parent.right
                    text: KorvelContent.loggedIn ? qsTr("Sign out") : qsTr("Sign in")
                    onClicked: KorvelContent.loggedIn ? KorvelContent.logout() : page.signInWanted()
                }
            }
            Label {
                objectName: "standing"
                width: parent.width
                color: Theme.muted
                wrapMode: Text.WordWrap
                text: !KorvelContent.loggedIn ? qsTr("Sign in to start a membership.")
                      : page.member ? qsTr("%1, your membership is active.").arg(KorvelContent.userName)
                      : page.unknown ? qsTr("%1, whether you are a member is not known here. It shows when you start a class for members.").arg(KorvelContent.userName)
                      : qsTr("%1, you have no membership. Choose how you want to train.").arg(KorvelContent.userName)
            }
            AppButton {
                visible: KorvelContent.loggedIn && page.unknown
                text: qsTr("End a membership that I have")
                kind: AppButton.Quiet
                onClicked: if (!KorvelContent.subscriptionRequest.busy) KorvelContent.cancelSubscription()
            }
            Grid {
                id: grid
                width: parent.width
                columns: Theme.narrow ? 1 : 2
                spacing: Theme.gap
                Repeater {
                    model: page.plans
                    Rectangle {
                        id: plan
                        required property var modelData
                        readonly property bool active: page.member && KorvelContent.subscriptionId === modelData.id
                        width: (grid.width - (grid.columns - 1) * Theme.gap) / grid.columns
                        height: words.height + 2 * Theme.wide
                        radius: Theme.radius
                        color: Theme.surface
                        border.width: active ? 2 : 1
                        border.color: active ? Theme.accent : Theme.line
                        Column {
                            id: words
                            x: Theme.wide
                            y: Theme.wide
                            width: parent.width - 2 * x
                            spacing: Theme.small
                            Item {
                                width: parent.width
                                height: planName.height
                                Label {
                                    id: planName
                                    heading: true
                                    text: plan.modelData.name
                                    font.pixelSize: Theme.heading + 2
                                    font.weight: Font.Bold
                                }
                                Label {
                                    anchors { right: parent.right; baseline: planName.baseline }
                                    visible: plan.active
                                    text: qsTr("ACTIVE")
                                    color: Theme.accent
                                    font.pixelSize: Theme.caption
                                    font.weight: Font.Bold
                                    font.letterSpacing: 1.4
                                }
                            }
                            Label {
                                text: plan.modelData.price
                                font.pixelSize: Theme.title
                                font.weight: Font.ExtraBold
                            }
                            Label {
                                width: parent.width
                                wrapMode: Text.WordWrap
                                text: plan.modelData.text
                                color: Theme.muted
                            }
                            Item { width: 1; height: Theme.tiny }
                            AppButton {
                                objectName: "plan-" + plan.modelData.id
                                kind: plan.active ? AppButton.Secondary : AppButton.Primary
                                text: plan.active ? qsTr("End membership") : qsTr("Start %1").arg(plan.modelData.name)
                                busy: KorvelContent.subscriptionRequest.busy
                                onClicked: {
                                    if (busy) return
                                    if (!KorvelContent.loggedIn) page.signInWanted()
                                    else if (plan.active) KorvelContent.cancelSubscription()
                                    else KorvelContent.activateSubscription(plan.modelData.id)
                                }
                            }
                        }
                    }
                }
            }
            Notice {
                width: parent.width
                text: KorvelContent.subscriptionRequest.message
                detail: KorvelContent.subscriptionRequest.errorText
                onActed: KorvelContent.subscriptionRequest.retry()
            }
            Label {
                topPadding: Theme.small
                heading: true
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
                    readonly property string standing: accepted ? qsTr("accepted")
                                                       : page.refused.includes(modelData.consentTag) ? qsTr("not accepted")
                                                       : qsTr("whether you accepted it is not known here")
                    width: column.width
                    height: Math.max(name.implicitHeight + about.implicitHeight + Theme.px(33), read.height + Theme.wide)
                    radius: Theme.radius
                    color: Theme.surface
                    Label {
                        id: name
                        anchors { left: parent.left; right: read.left; leftMargin: Theme.icon; rightMargin: Theme.radius; top: parent.top; topMargin: Theme.px(15) }
                        text: row.modelData.title
                        font.weight: Font.DemiBold
                    }
                    Label {
                        id: about
                        anchors { left: name.left; right: name.right; top: name.bottom; topMargin: Theme.px(3) }
                        wrapMode: Text.WordWrap
                        text: [row.modelData.isMandatory ? qsTr("Needed to take classes") : qsTr("Your choice"),
                               Theme.day(row.modelData.publishedDate), KorvelContent.loggedIn ? row.standing : ""]
                              .filter(each => each).join(" · ")
                        font.pixelSize: Theme.caption
                        color: Theme.faint
                    }
                    AppButton {
                        id: read
                        objectName: "read-" + row.modelData.consentTag
                        anchors { right: parent.right; rightMargin: Theme.px(14); verticalCenter: parent.verticalCenter }
                        glyph: row.accepted ? "check" : ""
                        kind: row.accepted ? AppButton.Quiet : AppButton.Secondary
                        text: row.accepted ? qsTr("Accepted") : qsTr("Read")
                        means: row.accepted ? qsTr("%1, accepted").arg(row.modelData.title) : qsTr("Read and accept %1").arg(row.modelData.title)
                        onClicked: KorvelContent.loggedIn ? page.consentWanted(row.modelData, null) : page.signInWanted()
                    }
                }
            }
            StateView {
                width: parent.width
                height: Math.max(Theme.px(80), implicitHeight)
                compact: true
                visible: KorvelContent.consents.length === 0 && shown
                request: KorvelContent.consentRequest
            }
        }
    }
}
