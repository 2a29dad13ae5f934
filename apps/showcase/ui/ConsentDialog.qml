import QtQuick
import Korvel.Content

// Shows a document and asks for the user's consent; goes on with what needed it.
Sheet {
    id: dialog
    property var document
    property var then
    property var declined: []  // tags of documents that a class was refused for
    function ask(consent, action) {
        document = consent
        then = action
        asked = false
        if (action && !declined.includes(consent.consentTag)) declined = declined.concat(consent.consentTag)
        shown = true
        accept.forceActiveFocus(Qt.TabFocusReason)
    }
    property bool asked: false
    // Those in the text, too, which keys cannot reach there.
    readonly property var links: {
        if (!document) return []
        const found = (document.policyHtml.match(/<a\s[^>]*href="[^"]*"[^>]*>.*?<\/a>/g) ?? [])
            .map(each => ({ linkText: each.replace(/<[^>]*>/g, ""), linkUrl: each.match(/href="([^"]*)"/)[1] }))
        return found.concat(document.urls)
    }
    // What `document.policy` says may differ from what is shown.
    function spoken(html) {
        const characters = { ndash: "–", mdash: "—", nbsp: " ", quot: '"', lt: "<", gt: ">", amp: "&" }
        return html.replace(/<\/(p|li|h\d)>|<br[^>]*>/g, "\n").replace(/<[^>]*>/g, "")
                   .replace(/&(\w+);/g, (whole, name) => characters[name] ?? whole)
    }
    title: document ? document.title : ""
    subtitle: document ? qsTr("Version %1 · %2").arg(document.version).arg(Theme.day(document.publishedDate))
                         + (document.isMandatory ? qsTr(" · needed to take classes") : "") : ""
    onDismissed: if (!KorvelContent.consentRequest.busy) shown = false

    Connections {
        target: KorvelContent
        function onConsentAccepted(consentTag) {
            if (!dialog.shown || consentTag !== dialog.document.consentTag) return
            dialog.shown = false
            if (dialog.then) dialog.then()
        }
    }
    Text {
        width: parent.width
        text: dialog.document ? dialog.document.policyHtml.replace(/<h1>.*?<\/h1>\s*/, "") : ""
        textFormat: Text.StyledText
        wrapMode: Text.WordWrap
        color: Theme.muted
        linkColor: Theme.accent
        lineHeight: 1.3
        font.family: Theme.family
        font.pixelSize: Theme.body
        Accessible.role: Accessible.StaticText
        Accessible.name: dialog.spoken(text)
        onLinkActivated: (link) => Qt.openUrlExternally(link)
    }
    Repeater {
        model: dialog.links
        Link {
            required property var modelData
            text: modelData.linkText
            address: modelData.linkUrl
        }
    }
    Label {
        width: parent.width
        visible: dialog.asked && text !== ""
        wrapMode: Text.WordWrap
        text: KorvelContent.consentRequest.message
        color: Theme.danger
    }
    buttons: [
        AppButton {
            id: accept
            objectName: "accept"
            kind: AppButton.Primary
            text: qsTr("I agree")
            busy: dialog.asked && KorvelContent.consentRequest.busy
            onClicked: {
                if (busy) return
                dialog.asked = true
                KorvelContent.acceptConsent(dialog.document.consentTag)
            }
        },
        AppButton {
            objectName: "decline"
            kind: AppButton.Quiet
            text: qsTr("Not now")
            onClicked: dialog.dismissed()
        }
    ]
}
