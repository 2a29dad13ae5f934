import QtQuick
import Korvel.Content
import Showcase

DirectionalFocus {
    id: page
    signal done()

    Rectangle {
        anchors.fill: parent
        gradient: Gradient {
            GradientStop { position: 0; color: "#141c14" }
            GradientStop { position: 0.55; color: Theme.background }
        }
        MouseArea { anchors.fill: parent }
    }
    Flickable {
        anchors { fill: parent; topMargin: Theme.safeY; bottomMargin: Theme.safeY }
        contentHeight: Math.max(height, column.height + 2 * Theme.wide)
        boundsBehavior: Flickable.StopAtBounds
        Column {
            id: column
            anchors.centerIn: parent
            width: Math.min(parent.width - 2 * Theme.wide, Theme.px(420))
            spacing: Theme.low ? Theme.radius : Theme.gap
            Row {
                visible: !Theme.low  // letters to choose from need the room
                spacing: Theme.radius
                Rectangle {
                    width: Theme.px(44)
                    height: width
                    radius: Theme.radius
                    color: Theme.accent
                    Icon {
                        anchors.centerIn: parent
                        name: "play"
                        color: Theme.accentInk
                        width: Theme.px(26)
                        height: width
                    }
                }
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    text: qsTr("Korvel Studio")
                    font.pixelSize: Theme.heading
                    font.weight: Font.Bold
                }
            }
            Label {
                width: parent.width
                heading: true
                wrapMode: Text.WordWrap
                text: Theme.low ? qsTr("Train where you are.") : qsTr("Train where\nyou are.")
                font.pixelSize: Theme.px(Theme.low ? 32 : 44)
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
            Field {
                id: name
                inputName: "userName"
                width: parent.width
                placeholderText: qsTr("User name")
                onAccepted: enter.clicked()
            }
            AppButton {
                id: enter
                objectName: "signIn"
                width: parent.width
                kind: AppButton.Primary
                text: qsTr("Sign in")
                busy: KorvelContent.loginRequest.busy
                enabled: name.text.trim() !== ""
                onClicked: if (enabled && !busy) KorvelContent.login(name.text.trim())
            }
            Label {
                width: parent.width
                objectName: "signInFailure"
                visible: text !== ""
                wrapMode: Text.WordWrap
                horizontalAlignment: Text.AlignHCenter
                text: KorvelContent.loginRequest.message
                      + (Theme.developer && KorvelContent.loginRequest.errorText !== KorvelContent.loginRequest.message
                         ? "\n" + KorvelContent.loginRequest.errorText : "")
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
    }
    Connections {
        target: KorvelContent
        function onLoggedInChanged() { if (KorvelContent.loggedIn) page.done() }
    }
    Component.onCompleted: name.forceActiveFocus(Qt.TabFocusReason)
}
