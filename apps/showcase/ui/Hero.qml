import QtQuick
import Showcase

// The class that the start page opens with.
DirectionalFocus {
    id: hero
    property var ondemandClass
    readonly property bool settled: valid && (picture.settled || !ondemandClass.imageLink.toString())
    signal opened()
    readonly property bool valid: !!ondemandClass && ondemandClass.valid
    height: Theme.narrow ? Math.round(width * 9 / 16) + texts.height
                         : Math.max(texts.height + Theme.huge + Theme.top,
                                    Math.min(Theme.px(420), width * 0.33, Theme.window.height * 0.6))
    visible: valid

    ClassImage {
        id: picture
        anchors.right: parent.right
        width: Theme.narrow ? hero.width : Math.round(hero.height * 16 / 9)
        height: Theme.narrow ? Math.round(hero.width * 9 / 16) : hero.height
        corner: 0
        source: hero.valid ? hero.ondemandClass.imageLink : ""
    }
    Rectangle {  // lets the picture end in the page
        anchors { left: picture.left; top: picture.top; bottom: picture.bottom }
        width: picture.width * 0.7
        visible: !Theme.narrow
        gradient: Gradient {
            orientation: Gradient.Horizontal
            GradientStop { position: 0; color: Theme.background }
            GradientStop { position: 1; color: "#000b0e13" }
        }
    }
    Rectangle {
        anchors { left: picture.left; right: picture.right; bottom: picture.bottom }
        height: picture.height * 0.6
        gradient: Gradient {
            GradientStop { position: 0; color: "#000b0e13" }
            GradientStop { position: 1; color: Theme.background }
        }
    }
    Column {
        id: texts
        x: Theme.side
        width: Theme.narrow ? hero.width - 2 * Theme.side : Math.min(Theme.px(520), hero.width * 0.55)
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.low ? Theme.wide : Theme.huge
        spacing: Theme.px(10)
        Label {
            text: qsTr("TODAY'S PICK")
            color: Theme.accent
            font.pixelSize: Theme.caption
            font.weight: Font.Bold
            font.letterSpacing: 1.6
        }
        Label {
            width: parent.width
            heading: true
            wrapMode: Text.WordWrap
            maximumLineCount: 2
            text: hero.valid ? hero.ondemandClass.className : ""
            font.pixelSize: Theme.narrow ? Theme.title + 3 : Theme.display
            font.weight: Font.ExtraBold
            lineHeight: 1.05
        }
        Label {
            width: parent.width
            wrapMode: Text.WordWrap
            maximumLineCount: 2
            text: hero.valid ? hero.ondemandClass.classDescription : ""
            color: Theme.muted
            font.pixelSize: Theme.body + 1
            lineHeight: 1.25
        }
        Item { width: 1; height: 2 }
        AppButton {
            objectName: "heroOpen"
            focus: true
            kind: AppButton.Primary
            glyph: "play"
            text: qsTr("View class")
            onClicked: hero.opened()
        }
    }
}
