import QtQuick

// Something went wrong, with a way on.
Rectangle {
    id: notice
    property string text
    property string detail  // for developers
    property alias action: again.text
    signal acted()
    visible: text !== ""
    implicitHeight: Math.max(Theme.px(60), words.implicitHeight + Theme.wide)
    radius: Theme.radius
    color: Theme.dangerSurface
    border.color: "#5c2c2c"
    Icon {
        id: icon
        anchors { left: parent.left; leftMargin: Theme.gap; verticalCenter: parent.verticalCenter }
        name: "offline"
        color: Theme.danger
    }
    Label {
        id: words
        objectName: "failure"
        anchors { left: icon.right; right: again.left; margins: Theme.radius; verticalCenter: parent.verticalCenter }
        wrapMode: Text.WordWrap
        maximumLineCount: 4
        text: notice.text + (Theme.developer && notice.detail && notice.detail !== notice.text ? "\n" + notice.detail : "")
        font.pixelSize: Theme.caption + 1
    }
    AppButton {
        id: again
        objectName: "again"
        anchors { right: parent.right; rightMargin: Theme.px(6); verticalCenter: parent.verticalCenter }
        text: qsTr("Try again")
        onClicked: notice.acted()
    }
}
