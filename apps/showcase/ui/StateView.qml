import QtQuick
import Korvel.Content

// What stands in for content that is not there: on its way, failed, or none.
Item {
    id: state
    property ServiceRequest request
    property bool empty: false
    property string emptyTitle
    property string emptyText
    property string emptyAction  // a way out of the emptiness
    property bool compact: false
    readonly property bool failed: !!request && request.errorText !== ""
    readonly property bool shown: failed || empty || (!!request && request.busy)
    signal acted()
    visible: shown
    implicitHeight: column.implicitHeight

    Spinner {
        anchors.centerIn: parent
        running: !!state.request && state.request.busy && !state.failed
    }
    Column {
        id: column
        anchors.centerIn: parent
        width: Math.min(parent.width - 2 * Theme.gap, Theme.px(420))
        spacing: Theme.small
        visible: state.failed || (state.empty && !state.request.busy)
        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !state.compact && !Theme.low
            width: Theme.px(44)
            height: width
            strokeWidth: 1.4
            name: state.failed ? "offline" : "empty"
            color: state.failed ? Theme.danger : Theme.faint
        }
        Label {
            width: parent.width
            heading: true
            horizontalAlignment: Text.AlignHCenter
            text: state.failed ? qsTr("That did not work") : state.emptyTitle
            font.pixelSize: Theme.heading
            font.weight: Font.DemiBold
        }
        Label {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: state.failed ? state.request.message : state.emptyText
            color: Theme.muted
        }
        Label {
            width: parent.width
            visible: text !== ""
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            text: Theme.developer && state.failed && state.request.errorText !== state.request.message ? state.request.errorText : ""
            color: Theme.faint
            font.pixelSize: Theme.caption
        }
        Item { width: 1; height: Theme.tiny }
        AppButton {
            objectName: "retry"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: state.failed
            text: qsTr("Try again")
            onClicked: state.request.retry()
        }
        AppButton {
            objectName: "wayOut"
            anchors.horizontalCenter: parent.horizontalCenter
            visible: !state.failed && state.emptyAction !== ""
            text: state.emptyAction
            onClicked: state.acted()
        }
    }
}
