import QtQuick
import QtQuick.Templates as T

T.Button {
    id: button
    enum Kind { Primary, Secondary, Quiet }
    property int kind: AppButton.Secondary
    property string glyph
    property bool busy: false
    readonly property color ink: kind === AppButton.Primary ? Theme.accentInk
                                 : kind === AppButton.Quiet && !hovered ? Theme.muted : Theme.text

    implicitHeight: 44
    implicitWidth: row.implicitWidth + 2 * (text ? 20 : 11)
    opacity: enabled ? 1 : 0.45
    activeFocusOnTab: true
    Accessible.name: text || glyph
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    HoverHandler { cursorShape: Qt.PointingHandCursor }

    background: Rectangle {
        radius: height / 2
        color: button.kind === AppButton.Primary
               ? (button.down ? Qt.darker(Theme.accent, 1.2) : button.hovered ? Qt.lighter(Theme.accent, 1.1) : Theme.accent)
               : button.kind === AppButton.Secondary || button.hovered
               ? (button.down ? Theme.line : button.hovered ? Qt.lighter(Theme.raised, 1.2) : Theme.raised)
               : "transparent"
        FocusRing { shown: button.visualFocus }
    }
    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: Theme.small
            Icon {
                anchors.verticalCenter: parent.verticalCenter
                visible: button.glyph !== "" && !button.busy
                name: button.glyph
                color: button.ink
                width: 20
                height: 20
            }
            Spinner {
                anchors.verticalCenter: parent.verticalCenter
                width: 20
                height: 20
                running: button.busy
                color: button.ink
            }
            Label {
                anchors.verticalCenter: parent.verticalCenter
                visible: text !== ""
                text: button.text
                color: button.ink
                font.weight: Font.DemiBold
            }
        }
    }
}
