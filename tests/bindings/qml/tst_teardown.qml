import QtQuick
import QtTest
import Korvel.Content

Item {
    id: host
    property var row: ({})
    function handle(signal) { if (row.endsAt === signal) player.stop() }

    ClassesModel { id: classes }
    Item { id: controls }
    PlayerItem {
        id: player
        width: 320; height: 180
        startFullScreen: host.row.endsAt === "fullScreen"
        overlay: host.row.overlay ?? null
        onStarted: { host.row.first?.(); host.handle("started") }
        onExited: player.stop()
        onActiveChanged: if (active) host.handle("active")
        onPlayingChanged: host.handle(playing ? "playing" : "paused")
        onBufferingChanged: host.handle("buffering")
        onFullScreenChanged: if (fullScreen) host.handle("fullScreen")
    }
    SignalSpy { id: exits; target: player; signalName: "exited" }
    SignalSpy { id: closings; target: player; signalName: "closed" }
    SignalSpy { id: starts; target: player; signalName: "started" }

    TestCase {
        name: "Teardown"
        when: windowShown

        function initTestCase() {
            verify(KorvelContent.configured || KorvelContent.configure(service.settings))
            tryVerify(() => classes.count > 0)
            player.ondemandClass = classes.classAt(0)
        }
        function test_AHandlerThatEndsThePlayerIsTheLastToHearOfIt_data() {
            const early = ["active", "playing", "buffering", "fullScreen"].map(at => ({ tag: at, endsAt: at, starts: 0 }))
            return early.concat([
                { tag: "paused", endsAt: "paused", first: () => player.pause() },
                { tag: "the stream fails", endsAt: "paused" },
                { tag: "leaves full screen", first: () => { player.enterFullScreen(); player.exitFullScreen() }, exits: 2 },
                { tag: "own controls", overlay: controls, first: () => { player.showOverlay(); player.hideOverlay() }, endsAt: "started" }])
        }
        function test_AHandlerThatEndsThePlayerIsTheLastToHearOfIt(row) {
            const played = { tag: "c", className: "", classDescription: "", intensity: 1, skill: 1, durationSecond: 1,
                             durationMinutes: "1", equipmentTypes: false, creationDate: "", lastModifiedDate: "",
                             favourite: false, streamingLink: service.settings.baseURL + "no/stream.m3u8" }
            service.answer("/ondemand/v1/perform/", 200, JSON.stringify([played]))
            for (const spy of [exits, closings, starts]) spy.clear()
            host.row = row
            player.start()
            tryCompare(closings, "count", 1)
            wait(0)
            compare([player.active, player.playing, player.buffering, player.fullScreen], [false, false, false, false])
            compare([starts.count, exits.count, closings.count], [row.starts ?? 1, row.exits ?? 1, 1])
        }
    }
}
