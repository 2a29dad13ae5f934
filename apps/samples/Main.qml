// A whole host in QML: qml Main.qml -- URL API_KEY SECRET_KEY TENANT USER [CERTIFICATE_AUTHORITY]
import QtQuick
import Korvel.Content

Window {
    id: window
    readonly property var given: Qt.application.arguments.slice(Qt.application.arguments.indexOf("--") + 1)
    visible: true
    width: 960
    height: 540
    color: "black"
    Component.onCompleted: {
        const [baseURL, apiKey, secretKey, tenantId, user, certificateAuthorityFile] = given
        if (!KorvelContent.configure({ baseURL, apiKey, secretKey, tenantId, certificateAuthorityFile: certificateAuthorityFile ?? "" })) return Qt.exit(1)
        KorvelContent.login(user)
    }
    ListView {
        id: list
        visible: KorvelContent.loggedIn
        width: 320
        height: parent.height
        model: ClassesModel { id: classes }
        delegate: Text {
            required property var ondemandClass
            color: "white"
            text: ondemandClass.className
            TapHandler { onTapped: player.show(ondemandClass) }
        }
    }
    PlayerItem {
        id: player
        anchors { fill: parent; leftMargin: list.width }
        function show(chosen) { ondemandClass = chosen; start() }
        onConsentRequired: (consent) => KorvelContent.acceptConsent(consent.consentTag)  // after asking the user
        onFailed: (errorText, errorStatus) => {
            if (errorStatus === 403) KorvelContent.activateSubscription("gold-yearly")   // after asking the user
            else trouble.text = errorText
        }
        onStreamFailed: (errorText) => trouble.text = errorText
    }
    Connections {
        target: KorvelContent
        function onConsentAccepted() { player.start() }
        function onSubscriptionIdChanged() { if (KorvelContent.subscriptionId) player.start() }
    }
    Text {
        id: trouble
        anchors.bottom: parent.bottom
        color: "tomato"
        text: classes.request.errorText
        TapHandler { onTapped: classes.request.retry() }
    }
}
