import QtQuick

// The class that the start page opens with.
Item {
    id: hero
    property var ondemandClass
    property int side: Theme.huge
    property bool narrow: false
    readonly property bool settled: picture.settled
    signal opened()
    readonly property bool valid: !!ondemandClass && ondemandClass.valid
    height: narrow ? width * 9 / 16 + texts.height : Math.min(420, Math.max(300, width * 0.33))
    visible: valid

    ClassImage {
        id: picture
        anchors.right: parent.right
        width: hero.narrow ? parent.width : Math.round(height * 16 / 9)
        height: hero.narrow ? Math.round(width * 9 / 16) : parent.height
        corner: 0
        source: hero.valid ? hero.ondemandClass.imageLink : ""
        caption: hero.valid ? hero.ondemandClass.className : ""
    }
    Rectangle {  // lets the picture end in the page
        anchors { left: picture.left; top: picture.top; bottom: picture.bottom }
        width: picture.width * 0.7
        visible: !hero.narrow
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
        x: hero.side
        width: hero.narrow ? hero.width - 2 * hero.side : Math.min(520, hero.width * 0.5)
        anchors.bottom: parent.bottom
        anchors.bottomMargin: Theme.huge
        spacing: 10
        Label {
            text: qsTr("TODAY'S PICK")
            color: Theme.accent
            font.pixelSize: 12
            font.weight: Font.Bold
            font.letterSpacing: 1.6
        }
        Label {
            width: parent.width
            wrapMode: Text.WordWrap
            maximumLineCount: 2
            text: hero.valid ? hero.ondemandClass.className : ""
            font.pixelSize: hero.narrow ? Theme.title + 3 : Theme.display
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
            kind: AppButton.Primary
            glyph: "play"
            text: qsTr("View class")
            onClicked: hero.opened()
        }
    }
}
