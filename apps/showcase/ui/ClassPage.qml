import QtQuick
import Korvel.Content
import Showcase

// All of a class's record, and its player.
DirectionalFocus {
    id: page
    property var ondemandClass
    property bool ownControls: false
    readonly property bool onePane: Theme.narrow || width < 900 * Theme.unit
    readonly property alias player: player
    signal closed()
    signal signInWanted()
    signal consentWanted(consent consent, var then)
    signal subscriptionWanted(var then)

    function play(fullScreen) {
        if (!KorvelContent.loggedIn) return signInWanted()
        player.startFullScreen = fullScreen
        player.start()
    }
    function leave() {
        player.stop()
        closed()
    }
    function goBack() { player.fullScreen ? player.exitFullScreen() : leave() }
    Keys.onEscapePressed: goBack()
    Keys.onBackPressed: goBack()

    Rectangle { anchors.fill: parent; color: Theme.background }

    Flickable {
        id: flick
        anchors.fill: parent
        contentHeight: content.y + content.height + Math.max(Theme.huge, Theme.safeY)
        boundsBehavior: Flickable.StopAtBounds

        AppButton {
            id: back
            objectName: "back"
            x: Theme.side - Theme.radius
            y: Math.max(Theme.low ? Theme.tiny : Theme.radius, Theme.safeY)
            kind: AppButton.Quiet
            glyph: "back"
            text: qsTr("Back")
            onClicked: page.leave()
        }
        Grid {
            id: content
            x: Theme.side
            y: back.y + back.height + (Theme.low ? Theme.tiny : Theme.px(10))
            width: flick.width - 2 * Theme.side
            columns: page.onePane ? 1 : 2
            columnSpacing: Theme.huge
            rowSpacing: Theme.wide
            readonly property real main: page.onePane ? width : Math.round((width - columnSpacing) * 0.64)

            Column {
                width: content.main
                spacing: Theme.between

                Item {
                    id: stage
                    objectName: "stage"
                    width: parent.width
                    height: Math.round(Math.min(width * 9 / 16, Math.max(Theme.px(240), page.height * 0.66)))
                    ClassImage {
                        anchors.fill: parent
                        source: page.ondemandClass.imageLink
                    }
                    PlayerItem {
                        id: player
                        objectName: "player"
                        anchors.fill: parent
                        ondemandClass: page.ondemandClass
                        overlay: page.ownControls ? own : null
                        subtitles.inset: own.covered
                        look.themeColor: Theme.accent
                        look.titleColor: Theme.text
                        look.playImage: "qrc:/qt-project.org/imports/Showcase/pictures/play@3x.png"
                        look.pauseImage: "qrc:/qt-project.org/imports/Showcase/pictures/pause@3x.png"
                        look.sliderMaximumColor: "#66ffffff"
                        look.titleFont: Qt.font({ family: Theme.family, pixelSize: Theme.px(22), weight: Font.Bold })
                        onStarted: { log.note(qsTr("started")); own.wake() }
                        onConsentRequired: (document) => page.consentWanted(document, () => player.start())
                        onFailed: (errorText, errorStatus) => {
                            if (errorStatus === 403) page.subscriptionWanted(() => player.start())
                        }
                        onStreamFailed: (errorText) => { log.note(errorText); player.stop() }
                        onStatusChanged: (playing) => log.note(playing ? qsTr("status 1: playing") : qsTr("status 0: paused"))
                        onBufferEmpty: log.note(qsTr("buffer empty"))
                        onLikelyToKeepUp: log.note(qsTr("likely to keep up"))
                        onExited: (seconds) => {
                            const performed = Theme.count(seconds, qsTr("second"), qsTr("seconds"))
                            log.note((active ? qsTr("left full screen, %1 performed so far") : qsTr("closed, %1 performed")).arg(performed))
                        }
                    }
                    Starting {
                        id: starting
                        parent: player.fullScreen || (player.startFullScreen && player.request.busy) ? page.Window.contentItem : stage
                        anchors.fill: parent
                        z: 2e6  // above what plays full screen
                        player: player
                        onAgain: page.play(player.startFullScreen)
                    }
                    Corners { visible: !player.fullScreen }
                    Column {  // in the picture, so that nothing moves away below
                        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: Theme.radius }
                        visible: !player.active && !player.request.busy
                        spacing: Theme.small
                        Notice {
                            width: parent.width
                            // Consent and membership are asked for instead.
                            text: player.condition === PlayerItem.Failed && player.request.errorStatus !== 601
                                  && player.request.errorStatus !== 403 ? player.message : ""
                            detail: player.request.errorText
                            onActed: page.play(player.startFullScreen)
                        }
                        Summary {
                            width: parent.width
                            player: player
                        }
                    }
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
                Flow {
                    width: parent.width
                    spacing: Theme.radius
                    AppButton {
                        id: playButton
                        objectName: "play"
                        focus: true
                        kind: AppButton.Primary
                        glyph: player.active && player.playing ? "pause" : "play"
                        text: player.active ? (player.playing ? qsTr("Pause") : qsTr("Play")) : qsTr("Play class")
                        busy: player.request.busy
                        onClicked: player.active ? player.toggle() : busy ? undefined : page.play(Theme.tenFoot)
                    }
                    AppButton {
                        objectName: "fullScreen"
                        glyph: "expand"
                        text: qsTr("Full screen")
                        onClicked: player.active ? player.enterFullScreen() : player.request.busy ? undefined : page.play(true)
                    }
                    Segments {
                        choices: [qsTr("SDK's controls"), qsTr("Own controls")]
                        current: page.ownControls ? 1 : 0
                        enabled: !player.active && !player.request.busy
                        onChosen: (index) => page.ownControls = index === 1
                    }
                    FilterChip {
                        objectName: "subtitles"
                        visible: player.subtitles.tracks.length > 0 && player.overlay !== own
                        label: qsTr("Subtitles")
                        anyText: qsTr("Off")
                        choices: player.subtitles.tracks.map((track, index) => ({ text: track.name || track.language, value: String(index) }))
                        value: player.subtitles.activeTrack < 0 ? "" : String(player.subtitles.activeTrack)
                        onChosen: (value) => player.subtitles.activeTrack = value === "" ? -1 : Number(value)
                    }
                }
                Label {
                    width: parent.width
                    heading: true
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
                width: page.onePane ? content.width : content.width - content.main - content.columnSpacing
                spacing: Theme.gap
                EventLog {
                    id: log
                    visible: Theme.developer
                    width: parent.width
                    player: player
                }
                Facts {
                    width: parent.width
                    title: qsTr("About this class")
                    readonly property var known: [[qsTr("Studio"), page.ondemandClass.provider],
                            [qsTr("Equipment"), page.ondemandClass.equipmentNames.join(", ") || (page.ondemandClass.equipmentTypes ? qsTr("yes") : qsTr("none"))],
                            [qsTr("Length"), Theme.length(page.ondemandClass.durationSecond)],
                            [qsTr("Language"), page.ondemandClass.languageName || page.ondemandClass.languageTag],
                            [qsTr("Trailer"), page.ondemandClass.trailerName],
                            [qsTr("Added"), Theme.day(page.ondemandClass.creationDate)],
                            [qsTr("Changed"), Theme.day(page.ondemandClass.lastModifiedDate)],
                            [qsTr("Favourite"), page.ondemandClass.favourite ? qsTr("yes") : qsTr("no")]]
                    readonly property var ids: [[qsTr("Studio id"), page.ondemandClass.providerID],
                                                [qsTr("Language tag"), page.ondemandClass.languageTag],
                                                [qsTr("Class id"), page.ondemandClass.tag]]
                    facts: Theme.developer ? known.concat(ids) : known
                }
            }
        }
    }
}
