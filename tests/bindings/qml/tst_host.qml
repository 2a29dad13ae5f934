import QtQuick
import QtTest
import Korvel.Content

Item {
    id: host
    width: 640
    height: 360

    ClassesModel { id: classes }
    CollectionsModel { id: collections }
    SearchModel { id: search; pageSize: 5 }
    MetaData { id: metadata }
    ClassDetails { id: details }
    ListView {
        id: list
        anchors.fill: parent
        model: classes
        delegate: Text {
            required property var ondemandClass
            height: 40
            text: ondemandClass.className
        }
    }
    Image { id: picture; cache: false }
    PlayerItem { id: player; anchors.fill: parent }
    Component { id: playerComponent; PlayerItem {} }
    Component { id: searchComponent; SearchModel {} }

    SignalSpy { id: consents; target: player; signalName: "consentRequired" }
    SignalSpy { id: failures; target: player; signalName: "failed" }
    SignalSpy { id: exits; target: player; signalName: "exited" }
    SignalSpy { id: closings; target: player; signalName: "closed" }

    // In the order of their names: the SDK is configured once in a process.
    TestCase {
        name: "Host"
        when: windowShown

        function test_1_WithoutConfigurationNothingIsAskedAndThatIsSaid() {
            classes.reload()
            compare(classes.request.busy, false)
            verify(classes.request.errorText !== "")
            ignoreWarning(/there is no setting "baseUrl"/)
            verify(!KorvelContent.configure({ baseUrl: "https://localhost/" }) && !KorvelContent.configured)
            verify(KorvelContent.configure(service.settings))
        }

        function test_2_ListsFillThemselvesAndPageAsTheViewScrolls() {
            tryCompare(classes, "count", 20)
            compare(classes.total, 66)
            list.positionViewAtEnd()
            tryCompare(classes, "count", 40)
            const first = classes.classAt(2)
            verify(first.valid && first.tag !== "" && first.durationSecond > 0 && first.imageLink.toString() !== "")
            compare(classes.classAt(99).valid, false)
            picture.source = first.imageLink  // over TLS, under the configured authority
            tryCompare(picture, "status", Image.Ready)
            picture.source = ""
            classes.order = "desc"
            tryVerify(() => classes.count === 20 && classes.classAt(2).tag !== first.tag)

            tryCompare(collections, "count", 6)
            compare(collections.classesAt(0).length, 11)
            collections.collectionId = "yoga-mobility"
            tryCompare(collections, "count", 1)

            details.tag = "50102"
            tryVerify(() => details.ondemandClass.valid)
            compare(details.ondemandClass.className, "Kurzhantel-Grundkurs für Anfänger")
            details.tag = "no such"
            tryVerify(() => details.request.errorText !== "")
            compare(details.ondemandClass.valid, false)
        }

        function test_3_SearchHoldsAllCriteriaAndPages() {
            tryCompare(search, "total", 66)
            search.type = "Yoga"
            search.duration = "-30"
            tryVerify(() => search.request.succeeded && search.total > 5 && search.total < 11)
            compare(search.count, 5)
            search.fetchMore(search.index(-1, -1))
            tryCompare(search, "count", search.total)
            for (let row = 0; row < search.count; ++row) {
                compare(search.classAt(row).classCategories || "Yoga", "Yoga")
                verify(search.classAt(row).durationSecond <= 31 * 60)
            }
        }

        function test_4_EveryQuestionEndsAndCanBeAskedAgain_data() {
            const path = "/ondemand/v1/filter"
            return [
                { tag: "refused", order: () => service.answer(path, 503, '{"message": "later"}'), text: /503: later/, status: 503 },
                { tag: "broken off", order: () => service.breakOff(path), text: /lost|failed/, status: 0 },
                { tag: "not a result", order: () => service.answer(path, 200, '{"total": "many"}'), text: /not understood.*total/, status: 0 },
                { tag: "silent", order: () => service.hold(path), text: /did not answer within 0.4 s/, status: 0, held: true }]
        }
        function test_4_EveryQuestionEndsAndCanBeAskedAgain(data) {
            KorvelContent.answerTimeout = data.held ? 400 : 15000
            data.order()
            search.reload()
            verify(search.request.busy)
            tryCompare(search.request, "busy", false, 10000)
            verify(data.text.test(search.request.errorText), search.request.errorText)
            compare(search.request.errorStatus, data.status)
            compare(search.count, 0)
            KorvelContent.answerTimeout = 15000
            if (data.held) service.release()
            search.request.retry()
            tryVerify(() => search.request.succeeded && search.count > 0)
            compare(search.request.errorText, "")
        }

        function test_5_WhoGoesBeforeTheAnswerIsLeftAlone() {
            service.hold("/ondemand/v1/filter")
            const model = createTemporaryObject(searchComponent, host)
            verify(service.waitForHeld())
            model.destroy()
            wait(0)
            service.release()
            search.reload()
            tryVerify(() => search.request.succeeded)
        }

        function test_6_ALogInTellsWhetherItTook() {
            service.answer("/oauth/sdk/login", 401, '{"message": "who?"}')
            KorvelContent.login("anna")
            tryCompare(KorvelContent.loginRequest, "errorStatus", 401)
            verify(!KorvelContent.loggedIn)
            compare(KorvelContent.loginRequest.errorText, "The service answered 401: who?")
            verify(!/401|who\?/.test(KorvelContent.loginRequest.message) && KorvelContent.loginRequest.message !== "")
            KorvelContent.loginRequest.retry()
            tryCompare(KorvelContent, "loggedIn", true)
            compare([KorvelContent.userName, KorvelContent.membership], ["anna", KorvelContent.UnknownMembership])
            tryVerify(() => metadata.classTypes.includes("Yoga"))
            verify(metadata.maxDuration > metadata.minDuration)
            KorvelContent.loadConsents()
            tryVerify(() => KorvelContent.consents.length === 2)
        }

        function test_7_AClassPlaysOnceConsentAndMembershipAreThere() {
            player.ondemandClass = details.ondemandClass
            player.start()
            compare(failures.count, 1)
            details.tag = "50102"
            tryVerify(() => details.ondemandClass.valid)
            player.ondemandClass = details.ondemandClass
            player.start()
            tryCompare(consents, "count", 1)
            compare(failures.signalArguments[1][1], 601)
            const consent = consents.signalArguments[0][0]
            verify(consent.isMandatory && consent.urls.length === 2)
            KorvelContent.acceptConsent(consent.consentTag)
            tryVerify(() => KorvelContent.acceptedConsents.includes(consent.consentTag))
            player.start()
            tryCompare(failures, "count", 3)
            compare(failures.signalArguments[2][1], 403)
            compare([player.condition, player.message], [PlayerItem.Failed, "This is for members."])
            compare(KorvelContent.membership, KorvelContent.NoMember)
            KorvelContent.activateSubscription("gold")
            tryCompare(KorvelContent, "subscriptionId", "gold")
            compare(KorvelContent.membership, KorvelContent.Member)

            player.volume = 3
            player.start()
            compare([player.condition, player.message, player.volume], [PlayerItem.Starting, "", 1])
            tryCompare(player, "active", true)
            verify(player.playing)
            tryVerify(() => player.position > 0.2, 20000)
            tryCompare(player, "condition", PlayerItem.Playing)
            verify(Math.abs(player.duration - 30) < 0.5)
        }

        function test_7a_SubtitlesAreChosenByTrackOrLanguageAndKept() {
            const words = player.subtitles
            compare(words.tracks, [{ name: "Deutsch", language: "de" }, { name: "English", language: "en" }])
            compare([words.activeTrack, words.byLanguage, words.text], [-1, false, ""])
            player.pause()
            player.seek(15)
            tryVerify(() => Math.abs(player.position - 15) < 0.1)
            const shot = (visible) => { words.visible = visible; return grabImage(player) }
            words.activeTrack = 1  // at once, though it stands still
            tryVerify(() => /last two are hard[^]*♪ slow beat ♪/.test(words.text))
            compare(words.activeTrack, 1)
            tryVerify(() => {  // once the picture of that time is there
                const plain = shot(false)
                return words.text !== "" && !shot(true).equals(plain) && shot(false).equals(plain)
            })
            words.visible = true
            ignoreWarning(/there is no track 2/)
            words.activeTrack = 2
            compare(words.activeTrack, 1)
            player.start()  // anew
            compare([words.tracks, words.activeTrack, words.text], [[], -1, ""])
            tryVerify(() => words.activeTrack === 1 && /^Welcome! Take two light/.test(words.text), 20000)
            words.byLanguage = true
            tryCompare(words, "activeTrack", 0)  // of the test's environment
            words.activeTrack = 1
            const group = '#EXT-X-MEDIA:TYPE=SUBTITLES,GROUP-ID="g",NAME="Captions",LANGUAGE="en-GB",URI="subtitles/en.m3u8"'
            service.answer("/media/50102/50102.ism/manifest", 200, ["#EXTM3U", group, '#EXT-X-STREAM-INF:BANDWIDTH=900000,SUBTITLES="g"', "360p/index.m3u8", ""].join("\n"))
            player.start()
            tryVerify(() => words.activeTrack === 0 && words.tracks[0].name === "Captions", 20000, "the same language")
            words.activeTrack = -1
            compare([words.byLanguage, words.activeTrack, words.text], [false, -1, ""])
            exits.clear()
            closings.clear()
        }

        function test_8_CommandsSetWhatTheySay() {
            player.pause()
            player.pause()
            compare(player.playing, false)
            tryCompare(player, "condition", PlayerItem.Paused)
            player.seek(20)
            tryVerify(() => Math.abs(player.position - 20) < 0.1, 3000, "at " + player.position)
            player.play()
            player.play()
            compare(player.playing, true)
            const wayBack = [() => player.exitFullScreen(), () => keyClick(Qt.Key_Escape), () => keyClick(Qt.Key_Back)]
            for (const leave of wayBack) {
                player.enterFullScreen()
                verify(player.fullScreen && KorvelContent.deviceOrientation === 4)
                waitForRendering(host)
                leave()
                verify(!player.fullScreen && player.active)
                wait(0)  // it is back with the next turn of the event loop
            }
            compare([exits.count, closings.count], [3, 0])
            tryVerify(() => player.position > 20.3, 20000)
            tryVerify(() => player.performedSeconds > 0)  // while it plays
            compare(player.record, PlayerItem.NoRecord)
            player.stop()
            compare([exits.count, closings.count], [4, 1])
            compare([player.active, player.condition, player.record], [false, PlayerItem.Ended, PlayerItem.Sending])
            tryCompare(player, "record", PlayerItem.Saved)
            compare(service.performances, 3)
        }

        function test_9_APlayerThatGoesIsClosedAndOneThatIsLateDoesNotStart() {
            const shown = createTemporaryObject(playerComponent, host, { ondemandClass: details.ondemandClass })
            shown.start()
            tryCompare(shown, "active", true)
            shown.destroy()
            tryCompare(service, "performances", 4)
            player.startFullScreen = true
            player.start()
            tryCompare(player, "fullScreen", true)
            waitForRendering(host)
            keyClick(Qt.Key_Back)  // it has no place to return to
            compare(player.active, false)
            player.startFullScreen = false
            const open = createTemporaryObject(playerComponent, host, { ondemandClass: details.ondemandClass })
            open.start()
            tryCompare(open, "active", true)
            service.quit()
            compare([open.active, service.performances], [false, 6])

            service.breakOff("/ondemand/v1/ondemandtracking")
            player.start()
            tryCompare(player, "condition", PlayerItem.Playing, 20000)
            player.stop()
            tryCompare(player, "record", PlayerItem.Kept)

            service.hold("/ondemand/v1/perform/")
            player.start()
            tryCompare(player, "condition", PlayerItem.Stalled, 10000)
            verify(player.message !== "" && service.waitForHeld())
            player.stop()
            compare([player.condition, player.message], [PlayerItem.Idle, ""])
            service.release()

            service.hold("/ondemand/v1/perform/")
            const late = createTemporaryObject(playerComponent, host, { ondemandClass: details.ondemandClass, startFullScreen: true })
            late.start()
            wait(0)  // it begins with the next turn of the event loop
            verify(service.waitForHeld())
            late.destroy()
            wait(0)
            service.release()
            KorvelContent.logout()
            verify(!KorvelContent.loggedIn && KorvelContent.subscriptionId === "")
        }
    }
}
