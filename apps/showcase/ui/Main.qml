import QtQuick
import Korvel.Content
import Showcase

Window {
    id: window
    required property var settings  // for KorvelContent.configure
    property string user            // logged in at the start; empty: the user is asked
    property bool signInFirst: true
    property bool tenFoot: false    // for who sits far away, whatever the window's size
    property bool developer: false  // panels that tell what the player and the service say
    readonly property bool pictured: home.item !== null && home.item.pictured && !signIn.visible
    property string page: "home"
    property var pagesBefore: []
    property var shownClass: null
    property size held: Qt.size(0, 0)  // before the device was turned

    width: 1280
    height: 800
    minimumWidth: 360
    minimumHeight: 400
    visible: true
    visibility: tenFoot ? Window.FullScreen : Window.AutomaticVisibility
    title: qsTr("Korvel Studio")
    color: Theme.background

    Binding { target: Theme; property: "window"; value: Qt.size(window.width, window.height) }
    Binding { target: Theme; property: "fromAfar"; value: window.tenFoot }
    Binding { target: Theme; property: "developer"; value: window.developer }

    Component.onCompleted: {
        if (!KorvelContent.configure(settings)) return
        if (user) KorvelContent.login(user)
    }
    function open(ondemandClass) { shownClass = ondemandClass }
    function show(where) {
        shownClass = null
        page = where
    }
    function go(where) {
        if (where !== page) pagesBefore = pagesBefore.concat(page)
        show(where)
    }
    // From a class to the page that it was opened on, from there to the page before, at last to the pages' names.
    function back() {
        if (shownClass !== null) return classPage.item.goBack()
        if (pagesBefore.length > 0) {
            const before = pagesBefore[pagesBefore.length - 1]
            pagesBefore = pagesBefore.slice(0, -1)
            return show(before)
        }
        if (page !== "home") return show("home")
        navigation.enter()
    }

    // A window is turned as a device would be: only what stands upright can be laid on its side.
    Connections {
        target: KorvelContent
        function onDeviceOrientationChanged() {
            const landscape = KorvelContent.deviceOrientation === 3 || KorvelContent.deviceOrientation === 4
            if (landscape && window.height > window.width) {
                window.held = Qt.size(window.width, window.height)
                window.width = window.held.height
                window.height = window.held.width
            } else if (!landscape && window.held.width > 0) {
                window.width = window.held.width
                window.height = window.held.height
                window.held = Qt.size(0, 0)
            }
        }
    }

    component Page: Loader {
        property string name
        property bool seen: false
        readonly property bool current: window.page === name
        anchors { fill: parent; leftMargin: Theme.narrow ? 0 : navigation.width; bottomMargin: Theme.narrow ? navigation.height : 0 }
        onCurrentChanged: if (current) seen = true
        Component.onCompleted: if (current) seen = true
        active: seen
        visible: current && window.shownClass === null
        focus: visible
    }
    component Opening: Connections {
        ignoreUnknownSignals: true
        function onOpened(ondemandClass) { window.open(ondemandClass) }
        function onSignInWanted() { signIn.shown = true }
        function onConsentWanted(consent, then) { consents.ask(consent, then) }
        function onSubscriptionWanted(then) { subscription.ask(then) }
        function onClosed() { window.shownClass = null }
    }

    DirectionalFocus {
        id: pages
        readonly property bool covered: signIn.visible || consents.shown || subscription.shown
        anchors.fill: parent
        focus: !signIn.shown
        visible: !signIn.visible && !consents.covers && !subscription.covers
        enabled: !covered
        onCoveredChanged: if (!covered) forceActiveFocus(Qt.TabFocusReason)
        Keys.onEscapePressed: window.back()
        Keys.onBackPressed: window.back()
        Keys.onMenuPressed: navigation.enter()

        Page { id: home; name: "home"; sourceComponent: HomePage { focus: true } }
        Page { id: classes; name: "classes"; sourceComponent: ClassesPage { focus: true } }
        Page { id: search; name: "search"; sourceComponent: SearchPage { focus: true } }
        Page { id: membership; name: "membership"; sourceComponent: MembershipPage { focus: true; refused: consents.declined } }
        Page { id: record; name: "record"; sourceComponent: RecordPage { focus: true; service: KorvelContent.baseURL } }
        Opening { target: home.item }
        Opening { target: classes.item }
        Opening { target: search.item }
        Opening { target: membership.item }

        Loader {
            id: classPage
            objectName: "classPage"
            anchors.fill: home
            active: window.shownClass !== null
            focus: active
            sourceComponent: ClassPage {
                focus: true
                ondemandClass: window.shownClass
            }
        }
        Opening { target: classPage.item }

        Navigation {
            id: navigation
            objectName: "navigation"
            anchors.bottom: parent.bottom
            current: window.page
            userName: KorvelContent.loggedIn ? KorvelContent.userName : ""
            pages: [{ page: "home", text: qsTr("Home"), glyph: "home" },
                    { page: "classes", text: qsTr("Classes"), glyph: "grid" },
                    { page: "search", text: qsTr("Search"), glyph: "search" },
                    { page: "membership", text: qsTr("Member"), glyph: "member" }]
                   .concat(window.developer ? [{ page: "record", text: qsTr("Record"), glyph: "record" }] : [])
            onChosen: (where) => window.go(where)
            onUserChosen: KorvelContent.loggedIn ? window.go("membership") : signIn.shown = true
        }
    }
    ConsentDialog {
        id: consents
        objectName: "consentDialog"
    }
    SubscriptionDialog {
        id: subscription
        objectName: "subscriptionDialog"
        onPlansWanted: window.go("membership")
    }
    Loader {
        id: signIn
        property bool shown: window.signInFirst && !window.user
        objectName: "signInPage"
        anchors.fill: parent
        active: shown
        visible: shown
        focus: shown
        Keys.onEscapePressed: shown = false
        Keys.onBackPressed: shown = false
        sourceComponent: SignInPage {
            focus: true
            onDone: signIn.shown = false
        }
    }
}
