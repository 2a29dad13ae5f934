import QtQuick
import QtTest
import Korvel.Content

// Handlers that end the player from within its own signals.
Item {
    id: host
    width: 640
    height: 360

    property var onceStarted: () => {}
    property var onExit: () => {}
    property string endsAt

    function handle(signal) { if (signal === endsAt) player.stop() }

    ClassesModel { id: classes }
    PlayerItem {
        id: player
        anchors.fill: parent
        onStarted: { host.onceStarted(); host.handle("started") }
        onExited: host.onExit()
        onActiveChanged: if (active) host.handle("active")
        onPlayingChanged: host.handle(playing ? "playing" : "paused")
        onBufferingChanged: host.handle("buffering")
        onFullScreenChanged: if (fullScreen) host.handle("fullScreen")
    }
    Rectangle { id: controls }
    SignalSpy { id: started; target: player; signalName: "started" }
    SignalSpy { id: exits; target: player; signalName: "exited" }
    SignalSpy { id: closings; target: player; signalName: "closed" }
    SignalSpy { id: statuses; target: player; signalName: "statusChanged" }

    TestCase {
        name: "Teardown"
        when: windowShown

        function initTestCase() {
            verify(KorvelContent.configured || KorvelContent.configure(service.settings))
            tryVerify(() => classes.count > 0)
            player.ondemandClass = classes.classAt(0)
        }
        function init() {
            for (const spy of [started, exits, closings, statuses]) spy.clear()
            const played = { tag: "c", className: "", classDescription: "", intensity: 1, skill: 1, durationSecond: 1,
                             durationMinutes: "1", equipmentTypes: false, creationDate: "", lastModifiedDate: "",
                             favourite: false, streamingLink: service.settings.baseURL + "no/stream.m3u8" }
            service.answer("/ondemand/v1/perform/", 200, JSON.stringify([played]))
        }
        function cleanup() {
            host.endsAt = ""
            host.onceStarted = host.onExit = () => {}
            player.startFullScreen = false
            player.stop()
        }

        function test_APlayerThatIsStoppedInAHandlerTellsItsEndOnceAndNothingAfterwards_data() {
            return ["active", "playing", "buffering", "fullScreen", "started", "paused", "failing"].map(at => ({ tag: at }))
        }
        function test_APlayerThatIsStoppedInAHandlerTellsItsEndOnceAndNothingAfterwards(data) {
            const failing = data.tag === "failing"  // the stream, by itself
            host.endsAt = failing ? "paused" : data.tag
            if (!failing) host.onceStarted = () => player.pause()
            host.onExit = () => player.stop()
            player.startFullScreen = data.tag === "fullScreen"
            player.start()
            tryCompare(closings, "count", 1)
            wait(0)
            compare([player.active, player.playing, player.buffering, player.fullScreen], [false, false, false, false])
            compare([exits.count, closings.count, statuses.count], [1, 1, data.tag === "started" ? 1 : 0])
            compare(started.count, ["started", "paused", "failing"].includes(data.tag) ? 1 : 0)
        }

        function test_LeavingFullScreenMayBeAnsweredWithTheEnd() {
            host.onceStarted = () => {
                player.enterFullScreen()
                host.onExit = () => player.stop()
                player.exitFullScreen()
            }
            player.start()
            tryCompare(closings, "count", 1)
            wait(0)
            compare([player.active, player.fullScreen, exits.count, closings.count], [false, false, 2, 1])
        }

        function test_OverControlsOfTheHostsOwnThereIsNothingToShowOrHide() {
            player.overlay = controls
            host.onceStarted = () => { player.showOverlay(); player.hideOverlay() }
            player.start()
            tryCompare(started, "count", 1)
            player.stop()
            player.overlay = null
        }
    }
}
