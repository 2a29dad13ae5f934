import QtQuick
import Korvel.Content

// All of a class's record, and its player.
FocusScope {
    id: page
    property var ondemandClass
    property bool narrow: false
    property bool ownControls: false
    readonly property int side: narrow ? 20 : Theme.huge
    readonly property alias player: player
    signal closed()
    signal signInWanted()
    signal consentWanted(consent consent, var then)
    signal subscriptionWanted(var then)

    function play(fullScreen) {
        if (!KorvelContent.loggedIn) return signInWanted()
        failure.text = ""
        player.startFullScreen = fullScreen
        player.start()
    }
    function leave() {
        player.stop()
        closed()
    }
    Keys.onEscapePressed: player.fullScreen ? player.exitFullScreen() : leave()

    Rectangle { anchors.fill: parent; color: Theme.background }

    Flickable {
        id: flick
        anchors.fill: parent
        contentHeight: content.y + content.height + Theme.huge
        boundsBehavior: Flickable.StopAtBounds

        AppButton {
            id: back
            objectName: "back"
            x: page.side - 12
            y: 14
            kind: AppButton.Quiet
            glyph: "back"
            text: qsTr("Back")
            onClicked: page.leave()
        }
        Grid {
            id: content
            x: page.side
            y: back.y + back.height + 10
            width: flick.width - 2 * page.side
            columns: page.narrow ? 1 : 2
            columnSpacing: Theme.huge
            rowSpacing: Theme.wide
            readonly property real main: page.narrow ? width : Math.round((width - columnSpacing) * 0.64)

            Column {
                width: content.main
                spacing: 18

                Item {
                    id: stage
                    objectName: "stage"
                    width: parent.width
                    height: Math.round(Math.min(width * 9 / 16, Math.max(240, page.height * 0.66)))
                    ClassImage {
                        anchors.fill: parent
                        source: page.ondemandClass.imageLink
                        caption: page.ondemandClass.className
                    }
                    Rectangle {
                        anchors.fill: parent
                        visible: player.request.busy
                        color: "#b00b0e13"
                        Spinner {
                            anchors.centerIn: parent
                            width: 52
                            height: 52
                            running: player.request.busy
                        }
                    }
                    PlayerItem {
                        id: player
                        objectName: "player"
                        anchors.fill: parent
                        ondemandClass: page.ondemandClass
                        overlay: page.ownControls ? own : null
                        look.themeColor: Theme.accent
                        look.titleColor: Theme.text
                        look.playImage: "qrc:/qt-project.org/imports/Showcase/pictures/play@3x.png"
                        look.pauseImage: "qrc:/qt-project.org/imports/Showcase/pictures/pause@3x.png"
                        look.sliderMaximumColor: "#66ffffff"
                        look.titleFont: Qt.font({ family: Theme.family, pixelSize: 22, weight: Font.Bold })
                        onStarted: { log.note(qsTr("started")); own.wake() }
                        onConsentRequired: (document) => page.consentWanted(document, () => player.start())
                        onFailed: (errorText, errorStatus) => {
                            if (errorStatus === 601) return
                            if (errorStatus === 403) return page.subscriptionWanted(() => player.start())
                            failure.text = errorText
                        }
                        onStreamFailed: (errorText) => { failure.text = errorText; player.stop() }
                        onStatusChanged: (playing) => log.note(playing ? qsTr("status 1: playing") : qsTr("status 0: paused"))
                        onBufferEmpty: log.note(qsTr("buffer empty"))
                        onLikelyToKeepUp: log.note(qsTr("likely to keep up"))
                        onExited: (seconds) => log.note(qsTr("exit after %1 performed").arg(Theme.count(seconds, qsTr("second"), qsTr("seconds"))))
                    }
                    Corners {}
                    Item {  // where the application's controls wait until the player takes them
                        visible: false
                        OwnControls {
                            id: own
                            objectName: "ownControls"
                            player: player
                            title: page.ondemandClass.className
                        }
                    }
                }
                Rectangle {
                    visible: failure.text !== "" && !player.request.busy && !player.active
                    width: parent.width
                    height: 56
                    radius: Theme.radius
                    color: "#2a1719"
                    border.color: "#5c2c2c"
                    Icon {
                        id: failureIcon
                        anchors { left: parent.left; leftMargin: 16; verticalCenter: parent.verticalCenter }
                        name: "offline"
                        color: Theme.danger
                    }
                    Label {
                        id: failure
                        objectName: "failure"
                        anchors { left: failureIcon.right; right: again.left; margins: 12; verticalCenter: parent.verticalCenter }
                        wrapMode: Text.WordWrap
                        maximumLineCount: 2
                        font.pixelSize: Theme.caption + 1
                    }
                    AppButton {
                        id: again
                        anchors { right: parent.right; rightMargin: 6; verticalCenter: parent.verticalCenter }
                        text: qsTr("Try again")
                        onClicked: page.play(player.startFullScreen)
                    }
                }
                Flow {
                    width: parent.width
                    spacing: 12
                    AppButton {
                        id: playButton
                        objectName: "play"
                        focus: true
                        kind: AppButton.Primary
                        glyph: player.active && player.playing ? "pause" : "play"
                        text: player.active ? (player.playing ? qsTr("Pause") : qsTr("Play")) : qsTr("Play class")
                        enabled: !player.request.busy
                        onClicked: player.active ? player.toggle() : page.play(false)
                    }
                    AppButton {
                        objectName: "fullScreen"
                        glyph: "expand"
                        text: qsTr("Full screen")
                        enabled: !player.request.busy
                        onClicked: player.active ? player.enterFullScreen() : page.play(true)
                    }
                    Segments {
                        choices: [qsTr("SDK's controls"), qsTr("Own controls")]
                        current: page.ownControls ? 1 : 0
                        enabled: !player.active && !player.request.busy
                        onChosen: (index) => page.ownControls = index === 1
                    }
                }
                Label {
                    width: parent.width
                    wrapMode: Text.WordWrap
                    text: page.ondemandClass.className
                    font.pixelSize: Theme.title + 3
                    font.weight: Font.ExtraBold
                }
                Flow {
                    width: parent.width
                    spacing: Theme.small
                    Repeater {
                        model: [qsTr("%1 min").arg(page.ondemandClass.durationMinutes),
                                page.ondemandClass.classCategories, page.ondemandClass.languageName,
                                qsTr("Intensity %1").arg(page.ondemandClass.intensity),
                                qsTr("Skill %1").arg(page.ondemandClass.skill),
                                page.ondemandClass.calorieBurn >= 0 ? qsTr("%1 kcal").arg(page.ondemandClass.calorieBurn) : ""
                               ].filter(each => each)
                        Chip {
                            required property string modelData
                            text: modelData
                        }
                    }
                }
                Label {
                    width: parent.width
                    wrapMode: Text.WordWrap
                    text: page.ondemandClass.classDescription
                    color: Theme.muted
                    font.pixelSize: Theme.body + 1
                    lineHeight: 1.35
                }
            }
            Column {
                width: page.narrow ? content.width : content.width - content.main - content.columnSpacing
                spacing: Theme.gap
                EventLog {
                    id: log
                    width: parent.width
                    player: player
                }
                Facts {
                    width: parent.width
                    title: qsTr("About this class")
                    facts: [[qsTr("Studio"), page.ondemandClass.provider], [qsTr("Studio id"), page.ondemandClass.providerID],
                            [qsTr("Equipment"), page.ondemandClass.equipmentNames.join(", ") || (page.ondemandClass.equipmentTypes ? qsTr("yes") : qsTr("none"))],
                            [qsTr("Length"), Theme.clock(page.ondemandClass.durationSecond)],
                            [qsTr("Language"), page.ondemandClass.languageTag],
                            [qsTr("Trailer"), page.ondemandClass.trailerName],
                            [qsTr("Added"), Theme.day(page.ondemandClass.creationDate)],
                            [qsTr("Changed"), Theme.day(page.ondemandClass.lastModifiedDate)],
                            [qsTr("Favourite"), page.ondemandClass.favourite ? qsTr("yes") : qsTr("no")],
                            [qsTr("Class id"), page.ondemandClass.tag]]
                }
            }
        }
    }
}
