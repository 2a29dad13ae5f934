import QtQuick
import Korvel.Content

// What stands in for content that is not there: on its way, failed, or none.
Item {
    id: state
    property ServiceRequest request
    property bool empty: false
    property string emptyTitle
    property string emptyText
    property bool compact: false
    readonly property bool failed: !!request && request.errorText !== ""
    readonly property bool shown: failed || empty || (!!request && request.busy)
    visible: shown
    implicitHeight: column.implicitHeight

    Spinner {
        anchors.centerIn: parent
        running: !!state.request && state.request.busy && !state.failed
    }
    Column {
        id: column
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.gap, 420)
        spacing: Theme.small
        visible: state.failed || (state.empty && !state.request.busy)
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !state.compact
            width: 44
            height: 44
            strokeWidth: 1.4
            name: state.failed ? "offline" : "empty"
            color: state.failed ? Theme.danger : Theme.faint
        }
        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: state.failed ? qsTr("That did not work") : state.emptyTitle
            font.pixelSize: Theme.heading
            font.weight: Font.DemiBold
        }
        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: state.failed ? state.request.errorText : state.emptyText
            color: Theme.muted
        }
        Item { width: 1; height: Theme.tiny }
        AppButton {
            objectName: "retry"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: state.failed
            text: qsTr("Try again")
            onClicked: state.request.retry()
        }
    }
}
