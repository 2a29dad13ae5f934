import QtQuick
import Korvel.Content

// Shows a document and asks for the user's consent; goes on with what needed it.
Sheet {
    id: dialog
    property var document
    property var then
    function ask(consent, action) {
        document = consent
        then = action
        asked = false
        shown = true
        accept.forceActiveFocus()
    }
    property bool asked: false
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
        onLinkActivated: (link) => Qt.openUrlExternally(link)
    }
    Repeater {
        model: dialog.document ? dialog.document.urls : []
        Label {
            required property var modelData
            text: modelData.linkText + "  ↗"
            color: Theme.accent
            TapHandler { onTapped: Qt.openUrlExternally(modelData.linkUrl) }
            HoverHandler { cursorShape: Qt.PointingHandCursor }
        }
    }
    Label {
        width: parent.width
        visible: dialog.asked && text !== ""
        wrapMode: Text.WordWrap
        text: KorvelContent.consentRequest.errorText
        color: Theme.danger
    }
    buttons: [
        AppButton {
            id: accept
            objectName: "accept"
            kind: AppButton.Primary
            text: qsTr("I agree")
            busy: dialog.asked && KorvelContent.consentRequest.busy
            enabled: !busy
            onClicked: {
                dialog.asked = true
                KorvelContent.acceptConsent(dialog.document.consentTag)
            }
        },
        AppButton {
            objectName: "decline"
            kind: AppButton.Quiet
            text: qsTr("Not now")
            enabled: !accept.busy
            onClicked: dialog.shown = false
        }
    ]
}
