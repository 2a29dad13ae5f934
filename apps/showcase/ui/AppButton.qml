import QtQuick

Tappable {
    id: button
    enum Kind { Primary, Secondary, Quiet }
    property int kind: AppButton.Secondary
    property string glyph
    property string means: text  // for who does not see the glyph
    property bool busy: false
    readonly property color ink: kind === AppButton.Primary ? Theme.accentInk
                                 : kind === AppButton.Quiet && !hovered ? Theme.muted : Theme.text

    implicitHeight: Theme.target
    implicitWidth: Math.max(Theme.target, row.implicitWidth + 2 * Theme.px(text ? 20 : 11))
    opacity: enabled || busy ? 1 : 0.75
    Accessible.name: means

    background: Rectangle {
        radius: height / 2
        color: button.kind === AppButton.Primary
               ? (button.down ? Qt.darker(Theme.accent, 1.2) : button.hovered ? Qt.lighter(Theme.accent, 1.1) : Theme.accent)
               : button.kind === AppButton.Secondary || button.hovered
               ? (button.down ? Theme.line : button.hovered ? Qt.lighter(Theme.raised, 1.2) : Theme.raised)
               : "transparent"
        FocusRing { shown: button.activeFocus }
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
            }
            Spinner {
                anchors.verticalCenter: parent.verticalCenter
                width: Theme.icon
                height: Theme.icon
                running: button.busy
                color: button.ink
            }
            Label {
                anchors.verticalCenter: parent.verticalCenter
                visible: text !== ""
                silent: true
                text: button.text
                color: button.ink
                font.weight: Font.DemiBold
            }
        }
    }
}
