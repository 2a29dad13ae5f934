import QtQuick
import Korvel.Content

FocusScope {
    id: page
    property bool narrow: false
    signal done()

    Rectangle {
        anchors.fill: parent
        gradient: Gradient {
            GradientStop { position: 0; color: "#141c14" }
            GradientStop { position: 0.55; color: Theme.background }
        }
        MouseArea { anchors.fill: parent }
    }
    Column {
        anchors.centerIn: parent
        width: Math.min(parent.width - 48, 400)
        spacing: Theme.gap
        Row {
            spacing: 12
            Rectangle {
                width: 44
                height: 44
                radius: 12
                color: Theme.accent
                Icon {
                    anchors.centerIn: parent
                    name: "play"
                    color: Theme.accentInk
                    width: 26
                    height: 26
                }
            }
            Label {
                anchors.verticalCenter: parent.verticalCenter
                text: qsTr("Korvel Studio")
                font.pixelSize: Theme.heading
                font.weight: Font.Bold
            }
        }
        Item { width: 1; height: 4 }
        Label {
            width: parent.width
            wrapMode: Text.WordWrap
            text: qsTr("Train where\nyou are.")
            font.pixelSize: 44
            font.weight: Font.ExtraBold
            lineHeight: 1.02
        }
        Label {
            width: parent.width
            wrapMode: Text.WordWrap
            text: qsTr("Sign in to take classes and keep track of what you did.")
            color: Theme.muted
            font.pixelSize: Theme.body + 1
            lineHeight: 1.25
        }
        Item { width: 1; height: 4 }
        Field {
            id: name
            objectName: "userName"
            focus: true
            width: parent.width
            placeholderText: qsTr("User name")
            enabled: !KorvelContent.loginRequest.busy
            onAccepted: enter.clicked()
        }
        AppButton {
            id: enter
            objectName: "signIn"
            width: parent.width
            implicitHeight: 48
            kind: AppButton.Primary
            text: qsTr("Sign in")
            busy: KorvelContent.loginRequest.busy
            enabled: name.text.trim() !== "" && !busy
            onClicked: if (enabled) KorvelContent.login(name.text.trim())
        }
        Label {
            width: parent.width
            visible: text !== ""
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            text: KorvelContent.loginRequest.errorText
            color: Theme.danger
            font.pixelSize: Theme.caption + 1
        }
        AppButton {
            objectName: "browse"
            anchors.horizontalCenter: parent.horizontalCenter
            kind: AppButton.Quiet
            text: qsTr("Just look around")
            onClicked: page.done()
        }
    }
    Connections {
        target: KorvelContent
        function onLoggedInChanged() { if (KorvelContent.loggedIn) page.done() }
    }
}
