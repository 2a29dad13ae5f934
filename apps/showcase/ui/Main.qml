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

    // The service is asked before anything that is to show its answer is made.
    property bool asked: false
    CollectionsModel { id: shelves }
    Component.onCompleted: {
        if (KorvelContent.configure(settings) && user) KorvelContent.login(user)
        asked = true
    }
    onShownClassChanged: {
        if (shownClass === null) classPage.source = ""
        else classPage.setSource("ClassPage.qml", { focus: true, ondemandClass: shownClass })
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

    // Read and made when it is wanted, so that the first page need not wait for the others.
    component Page: Loader {
        property string name
        property bool seen: false
        readonly property bool current: window.page === name
        anchors { fill: parent; leftMargin: Theme.narrow ? 0 : navigation.width; bottomMargin: Theme.narrow ? navigation.height : 0 }
        onCurrentChanged: if (current) seen = true
        Component.onCompleted: if (current) seen = true
        active: seen && window.asked
        onLoaded: item.focus = true
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

        Page { id: home; name: "home"; source: "HomePage.qml" }
        Page { id: classes; name: "classes"; source: "ClassesPage.qml" }
        Page { id: search; name: "search"; source: "SearchPage.qml" }
        Page { id: membership; name: "membership"; source: "MembershipPage.qml" }
        Page { id: record; name: "record"; source: "RecordPage.qml" }
        Binding { target: home.item; property: "collections"; value: shelves }
        Binding { target: membership.item; property: "refused"; value: consents.declined }
        Opening { target: home.item }
        Opening { target: classes.item }
        Opening { target: search.item }
        Opening { target: membership.item }

        Loader {
            id: classPage
            objectName: "classPage"
            anchors.fill: home
            focus: window.shownClass !== null
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
        source: "SignInPage.qml"
        onLoaded: item.focus = true
    }
    Connections {
        target: signIn.item
        function onDone() { signIn.shown = false }
    }
}
