import QtQuick
import QtQuick.Templates as T
import Korvel.Content
import Showcase

// The application's own controls, put over the picture in place of the SDK's. They hide while the class
// plays and nobody does anything; whatever is pressed then only brings them back.
DirectionalFocus {
    id: controls
    property PlayerItem player
    property string title
    property bool helps: false
    property bool awake: false  // somebody did something lately
    readonly property bool shown: awake || !player.playing || slider.pressed || helps || choice.open
    readonly property bool subtitled: player.subtitles.tracks.length > 0
    readonly property bool roomy: width > Theme.px(subtitled ? 580 : 520)
    readonly property real covered: shown ? height - slider.y : 0  // at the bottom
    readonly property int inset: player.fullScreen ? Math.max(Theme.radius, Theme.safeX) : Theme.radius
    readonly property int rim: player.fullScreen ? Math.max(Theme.radius, Theme.safeY) : Theme.radius
    function wake() {
        awake = true
        lately.restart()
    }
    function skip(seconds) {
        wake()
        player.seek(Math.max(0, Math.min(player.duration, player.position + seconds)))
    }
    function turn(by) {
        wake()
        player.muted = false
        player.volume += by
    }
    // Full screen all keys are for what plays.
    function takeKeys() {
        if (!player.fullScreen || !player.active || player.overlay !== controls || activeFocus) return
        shown ? toggle.forceActiveFocus(Qt.TabFocusReason) : rest.forceActiveFocus(Qt.OtherFocusReason)
    }
    function flipFullScreen() { player.fullScreen ? player.exitFullScreen() : player.enterFullScreen() }

    onShownChanged: {
        if (!shown && activeFocus) rest.forceActiveFocus(Qt.OtherFocusReason)
        else if (shown && rest.activeFocus) toggle.forceActiveFocus(Qt.TabFocusReason)
    }
    Keys.onPressed: (event) => {
        wake()
        switch (event.key) {
        case Qt.Key_Space: case Qt.Key_K: case Qt.Key_MediaTogglePlayPause: player.toggle(); break
        case Qt.Key_J: case Qt.Key_MediaPrevious: skip(-10); break
        case Qt.Key_L: case Qt.Key_MediaNext: skip(10); break
        case Qt.Key_M: player.muted = !player.muted; break
        case Qt.Key_F: flipFullScreen(); break
        case Qt.Key_Plus: turn(0.1); break
        case Qt.Key_Minus: turn(-0.1); break
        case Qt.Key_C:
            if (!subtitled) return
            choice.open ? choice.leave() : choice.show()
            break
        case Qt.Key_Question: case Qt.Key_H: case Qt.Key_F1: helps = !helps; break
        case Qt.Key_Escape: case Qt.Key_Back:
            if (choice.open) choice.leave()
            else if (helps) helps = false
            else if (player.fullScreen) player.exitFullScreen()
            else return
            break
        default: return
        }
        event.accepted = true
    }
    Connections {  // arrows are used up by what they move
        target: controls.Window.window
        function onActiveFocusItemChanged() {
            if (controls.activeFocus && !rest.activeFocus) controls.wake()
            Qt.callLater(controls.takeKeys)
        }
    }
    HoverHandler {
        readonly property point place: point.scenePosition
        onPlaceChanged: controls.wake()
    }
    TapHandler { onTapped: controls.awake && controls.player.playing ? controls.awake = false : controls.wake() }
    Timer { id: lately; interval: 3000; onTriggered: controls.awake = false }

    Item {  // has the focus while the controls are hidden
        id: rest
        objectName: "ownRest"
        anchors.fill: parent
        activeFocusOnTab: !controls.shown
        Accessible.role: Accessible.Button
        Accessible.name: qsTr("Show controls")
        Accessible.ignored: controls.shown
        Accessible.onPressAction: controls.wake()
        Keys.onPressed: (event) => {
            const arrow = [Qt.Key_Left, Qt.Key_Right, Qt.Key_Up, Qt.Key_Down].includes(event.key)
            const ok = [Qt.Key_Return, Qt.Key_Enter, Qt.Key_Select].includes(event.key)
            event.accepted = ok || (arrow && controls.player.fullScreen)
            if (event.accepted) controls.wake()
        }
    }
    Spinner {
        anchors.centerIn: parent
        width: Theme.px(52)
        height: width
        running: controls.player.condition === PlayerItem.Waiting
    }
    Item {
        anchors.fill: parent
        opacity: controls.shown ? 1 : 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: Theme.calm } }

        Rectangle {
            anchors { left: parent.left; right: parent.right; top: parent.top }
            height: Math.min(Theme.px(110), parent.height / 2)
            gradient: Gradient {
                GradientStop { position: 0; color: "#d8000000" }
                GradientStop { position: 0.5; color: "#b0000000" }  // as far as the title goes
                GradientStop { position: 1; color: "#00000000" }
            }
        }
        Rectangle {
            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            height: Math.min(Theme.px(170), parent.height * 0.6)
            gradient: Gradient {
                GradientStop { position: 0; color: "#00000000" }
                GradientStop { position: 0.5; color: "#b0000000" }
                GradientStop { position: 1; color: "#e8000000" }
            }
        }
        Label {
            anchors { left: parent.left; right: close.left; verticalCenter: close.verticalCenter; leftMargin: controls.inset + Theme.small; rightMargin: Theme.radius }
            heading: true
            text: controls.title
            font.pixelSize: Theme.heading
            font.weight: Font.Bold
        }
        AppButton {
            id: close
            objectName: "ownClose"
            anchors { right: parent.right; top: parent.top; rightMargin: controls.inset; topMargin: controls.rim }
            glyph: "close"
            means: qsTr("Close")
            onClicked: controls.player.stop()
        }
        Label {
            id: elapsed
            anchors { left: parent.left; leftMargin: controls.inset + Theme.tiny; verticalCenter: slider.verticalCenter }
            width: Theme.px(44)
            text: Theme.clock(slider.value)
            font.pixelSize: Theme.caption
        }
        T.Slider {
            id: slider
            objectName: "ownSlider"
            readonly property string said: qsTr("%1 of %2").arg(Theme.clock(value)).arg(Theme.clock(Math.round(controls.player.duration)))
            anchors { left: elapsed.right; right: total.left; leftMargin: Theme.small; rightMargin: Theme.small; bottom: buttons.top }
            height: Theme.target
            to: Math.max(1, controls.player.duration)
            stepSize: 10
            activeFocusOnTab: true
            onPressedChanged: if (!pressed) controls.player.seek(value)
            Accessible.name: qsTr("Position, %1").arg(said)
            Binding {
                target: slider
                property: "value"
                value: controls.player.position
                when: !slider.pressed
                restoreMode: Binding.RestoreNone
            }
            background: Item {
                Rectangle {
                    y: (parent.height - height) / 2
                    width: parent.width
                    height: Theme.px(5)
                    radius: height / 2
                    color: "#70ffffff"
                    Rectangle {
                        width: slider.visualPosition * parent.width
                        height: parent.height
                        radius: height / 2
                        color: Theme.accent
                    }
                }
            }
            handle: Rectangle {
                x: slider.visualPosition * (slider.width - width)
                y: (slider.height - height) / 2
                width: Theme.px(slider.pressed ? 22 : 16)
                height: width
                radius: width / 2
                color: Theme.accent
                FocusRing { shown: slider.activeFocus }
            }
        }
        Label {
            id: total
            anchors { right: parent.right; rightMargin: controls.inset + Theme.tiny; verticalCenter: slider.verticalCenter }
            text: Theme.clock(Math.round(controls.player.duration))
            font.pixelSize: Theme.caption
        }
        Row {
            id: buttons
            anchors { left: parent.left; bottom: parent.bottom; leftMargin: controls.inset; bottomMargin: controls.rim }
            spacing: Theme.tiny
            AppButton {
                id: toggle
                objectName: "ownToggle"
                focus: true
                kind: AppButton.Primary
                glyph: controls.player.playing ? "pause" : "play"
                means: controls.player.playing ? qsTr("Pause") : qsTr("Play")
                onClicked: { controls.wake(); controls.player.toggle() }
            }
            AppButton {
                objectName: "ownBackward"
                kind: AppButton.Quiet
                glyph: "backward"
                means: qsTr("Ten seconds back")
                onClicked: controls.skip(-10)
            }
            AppButton {
                objectName: "ownForward"
                kind: AppButton.Quiet
                glyph: "forward"
                means: qsTr("Ten seconds forward")
                onClicked: controls.skip(10)
            }
            AppButton {
                objectName: "ownMute"
                kind: AppButton.Quiet
                glyph: controls.player.muted || controls.player.volume === 0 ? "mute" : "sound"
                means: controls.player.muted ? qsTr("Sound on") : qsTr("Sound off")
                onClicked: { controls.wake(); controls.player.muted = !controls.player.muted }
            }
            AppButton {
                objectName: "ownSofter"
                visible: controls.roomy
                kind: AppButton.Quiet
                glyph: "minus"
                means: qsTr("Softer")
                onClicked: controls.turn(-0.1)
            }
            Label {
                visible: controls.roomy
                anchors.verticalCenter: parent.verticalCenter
                width: Theme.px(36)
                horizontalAlignment: Text.AlignHCenter
                text: qsTr("%1 %").arg(controls.player.muted ? 0 : Math.round(controls.player.volume * 100))
                font.pixelSize: Theme.caption
            }
            AppButton {
                objectName: "ownLouder"
                visible: controls.roomy
                kind: AppButton.Quiet
                glyph: "plus"
                means: qsTr("Louder")
                onClicked: controls.turn(0.1)
            }
        }
        Row {
            anchors { right: parent.right; bottom: parent.bottom; rightMargin: controls.inset; bottomMargin: controls.rim }
            spacing: Theme.tiny
            AppButton {
                id: subtitles
                objectName: "ownSubtitles"
                visible: controls.subtitled
                kind: controls.player.subtitles.activeTrack < 0 ? AppButton.Quiet : AppButton.Secondary
                glyph: "subtitles"
                means: qsTr("Subtitles")
                onClicked: choice.open ? choice.leave() : choice.show()
            }
            AppButton {
                objectName: "ownHelp"
                visible: controls.roomy || !controls.subtitled
                kind: AppButton.Quiet
                glyph: "help"
                means: qsTr("Keys")
                onClicked: controls.helps = !controls.helps
            }
            AppButton {
                id: full
                objectName: "ownFullScreen"
                kind: AppButton.Quiet
                glyph: controls.player.fullScreen ? "shrink" : "expand"
                means: controls.player.fullScreen ? qsTr("Leave full screen") : qsTr("Full screen")
                onClicked: controls.flipFullScreen()
            }
        }
    }
    SubtitleChoice {
        id: choice
        objectName: "ownSubtitleChoice"
        anchors { right: parent.right; bottom: parent.bottom; rightMargin: controls.inset; bottomMargin: Math.min(controls.height - slider.y, controls.height - height) }
        subtitles: controls.player.subtitles
        onClosed: {
            controls.wake()
            subtitles.visible ? subtitles.forceActiveFocus(Qt.TabFocusReason) : toggle.forceActiveFocus(Qt.TabFocusReason)
        }
    }
    Rectangle {
        objectName: "ownKeys"
        anchors.centerIn: parent
        visible: controls.helps
        width: Math.min(parent.width - 2 * Theme.radius, keys.width + 2 * Theme.wide)
        height: Math.min(parent.height, keys.height + 2 * Theme.gap)
        radius: Theme.radius
        color: "#f00b0e13"
        border.color: Theme.line
        Grid {
            id: keys
            anchors.centerIn: parent
            columns: 2
            columnSpacing: Theme.wide
            rowSpacing: Theme.tiny
            Repeater {
                model: [qsTr("Space, K"), qsTr("play, pause"), qsTr("J, L"), qsTr("ten seconds back, forward"), qsTr("+, −, M"), qsTr("volume, mute"),
                        qsTr("F"), qsTr("full screen")].concat(controls.subtitled ? [qsTr("C"), qsTr("subtitles")] : [], [qsTr("Arrows, OK"), qsTr("go to a control, press it"), qsTr("Escape, Back"), qsTr("back"), qsTr("?"), qsTr("these keys")])
                Label {
                    required property string modelData
                    required property int index
                    text: modelData
                    font.pixelSize: Theme.caption
                    font.weight: index % 2 ? Font.Normal : Font.Bold
                    color: index % 2 ? Theme.muted : Theme.text
                }
            }
        }
    }
}
