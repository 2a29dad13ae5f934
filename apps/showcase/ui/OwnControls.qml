import QtQuick
import QtQuick.Templates as T
import Korvel.Content

// The application's own controls, put over the picture in place of the SDK's.
Item {
    id: controls
    property PlayerItem player
    property string title
    readonly property bool shown: hover.hovered || !player.playing || lately.running || slider.pressed
    function wake() { lately.restart() }

    HoverHandler { id: hover; enabled: !lately.running; onPointChanged: controls.wake() }
    TapHandler { onTapped: lately.running && controls.player.playing ? lately.stop() : controls.wake() }
    Timer { id: lately; interval: 3000 }

    Spinner {
        anchors.centerIn: parent
        width: 52
        height: 52
        running: controls.player.buffering
    }
    Item {
        anchors.fill: parent
        opacity: controls.shown ? 1 : 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: Theme.calm } }

        Rectangle {
            anchors { left: parent.left; right: parent.right; top: parent.top }
            height: Math.min(110, parent.height / 2)
            gradient: Gradient {
                GradientStop { position: 0; color: "#c8000000" }
                GradientStop { position: 1; color: "#00000000" }
            }
        }
        Rectangle {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            height: Math.min(140, parent.height / 2)
            gradient: Gradient {
                GradientStop { position: 0; color: "#00000000" }
                GradientStop { position: 1; color: "#d8000000" }
            }
        }
        Label {
            anchors { left: parent.left; right: close.left; top: parent.top; margins: 20 }
            text: controls.title
            font.pixelSize: Theme.heading
            font.weight: Font.Bold
            style: Text.Raised
            styleColor: "#80000000"
        }
        AppButton {
            id: close
            objectName: "ownClose"
            anchors { right: parent.right; top: parent.top; margins: 12 }
            glyph: "close"
            onClicked: controls.player.stop()
        }
        AppButton {
            id: toggle
            objectName: "ownToggle"
            anchors { left: parent.left; bottom: parent.bottom; leftMargin: 16; bottomMargin: 14 }
            kind: AppButton.Primary
            glyph: controls.player.playing ? "pause" : "play"
            onClicked: controls.player.toggle()
        }
        Label {
            id: elapsed
            anchors { left: toggle.right; leftMargin: 14; verticalCenter: toggle.verticalCenter }
            width: 44
            text: Theme.clock(slider.pressed ? slider.value : controls.player.position)
            font.pixelSize: Theme.caption
            horizontalAlignment: Text.AlignRight
        }
        T.Slider {
            id: slider
            objectName: "ownSlider"
            anchors { left: elapsed.right; right: total.left; margins: 12; verticalCenter: toggle.verticalCenter }
            height: 28
            to: Math.max(1, controls.player.duration)
            onPressedChanged: if (!pressed) controls.player.seek(value)
            Accessible.name: qsTr("Position")
            Binding {
                target: slider
                property: "value"
                value: controls.player.position
                when: !slider.pressed
                restoreMode: Binding.RestoreNone
            }
            background: Rectangle {
                y: (parent.height - height) / 2
                width: parent.width
                height: 4
                radius: 2
                color: "#55ffffff"
                Rectangle {
                    width: slider.visualPosition * parent.width
                    height: parent.height
                    radius: 2
                    color: Theme.accent
                }
            }
            handle: Rectangle {
                x: slider.visualPosition * (slider.width - width)
                y: (slider.height - height) / 2
                width: slider.pressed ? 20 : 14
                height: width
                radius: width / 2
                color: Theme.accent
            }
        }
        Label {
            id: total
            anchors { right: full.left; rightMargin: 12; verticalCenter: toggle.verticalCenter }
            text: Theme.clock(Math.round(controls.player.duration))
            font.pixelSize: Theme.caption
            color: Theme.muted
        }
        AppButton {
            id: full
            objectName: "ownFullScreen"
            anchors { right: parent.right; bottom: parent.bottom; rightMargin: 12; bottomMargin: 14 }
            kind: AppButton.Quiet
            glyph: controls.player.fullScreen ? "shrink" : "expand"
            onClicked: controls.player.fullScreen ? controls.player.exitFullScreen() : controls.player.enterFullScreen()
        }
    }
}
