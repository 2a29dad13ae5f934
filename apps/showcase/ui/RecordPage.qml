import QtQuick
import Korvel.Content
import Showcase

// What the development service says it has been told. Another service has no such page.
DirectionalFocus {
    id: page
    property url service: KorvelContent.baseURL
    property var state: null
    property var performances: []
    property var requests: []
    property string error
    property int waiting: 0

    function fetch(path, take) {
        const request = new XMLHttpRequest()
        ++waiting
        request.onreadystatechange = () => {
            if (request.readyState !== XMLHttpRequest.DONE) return
            --page.waiting
            if (request.status !== 200) {
                page.error = request.status === 404 ? qsTr("This service keeps no record that can be read.")
                           : qsTr("The service's record cannot be read.")
                return
            }
            take(JSON.parse(request.responseText))
        }
        request.open("GET", page.service + path)
        request.send()
    }
    function reload() {
        error = ""
        fetch("dev/state", (answer) => state = answer)
        fetch("dev/performances", (answer) => performances = answer.reverse())
        fetch("dev/requests", (answer) => requests = answer.filter(each => !each.target.startsWith("/media/images/"))
                                                       .slice(-60).reverse())
    }
    Component.onCompleted: reload()
    onVisibleChanged: if (visible && !waiting) reload()

    Flickable {
        anchors.fill: parent
        contentHeight: column.y + column.height + Math.max(Theme.huge, Theme.safeY)
        boundsBehavior: Flickable.StopAtBounds
        Column {
            id: column
            x: Theme.side
            y: Theme.top
            width: parent.width - 2 * Theme.side
            spacing: Theme.gap
            Item {
                width: parent.width
                height: Theme.target
                Label {
                    anchors.verticalCenter: parent.verticalCenter
                    heading: true
                    text: qsTr("What the service recorded")
                    font.pixelSize: Theme.narrow ? Theme.heading + 2 : Theme.title
                    font.weight: Font.ExtraBold
                }
                AppButton {
                    anchors.right: parent.right
                    text: qsTr("Refresh")
                    busy: page.waiting > 0
                    onClicked: page.reload()
                }
            }
            Panel {
                width: parent.width
                visible: page.error !== ""
                title: qsTr("Nothing to show")
                Label { text: page.error; color: Theme.muted; width: parent.width; wrapMode: Text.WordWrap }
            }
            Grid {
                id: grid
                width: parent.width
                columns: Theme.narrow ? 1 : 2
                spacing: Theme.gap
                visible: page.state !== null
                readonly property real cell: Theme.narrow ? width : (width - Theme.gap) / 2
                Panel {
                    width: grid.cell
                    title: qsTr("Users")
                    Repeater {
                        model: page.state ? page.state.users : []
                        Column {
                            required property var modelData
                            width: parent.width
                            spacing: 3
                            Label { text: parent.modelData.name; font.weight: Font.DemiBold }
                            Label {
                                width: parent.width
                                color: Theme.muted
                                font.pixelSize: Theme.caption + 1
                                text: qsTr("Accepted: %1").arg(parent.modelData.acceptedConsents.join(", ") || qsTr("nothing"))
                            }
                            Label {
                                width: parent.width
                                color: Theme.muted
                                font.pixelSize: Theme.caption + 1
                                text: parent.modelData.subscription
                                      ? qsTr("Subscribed: %1, from %2").arg(parent.modelData.subscription.subscriptionId)
                                                                      .arg(Theme.day(parent.modelData.subscription.start))
                                      : qsTr("No subscription")
                            }
                        }
                    }
                    Label {
                        visible: !!page.state && page.state.users.length === 0
                        text: qsTr("Nobody has logged in.")
                        color: Theme.faint
                    }
                }
                Panel {
                    width: grid.cell
                    title: qsTr("Performances")
                    Repeater {
                        model: page.performances.slice(0, 6)
                        Item {
                            id: performance
                            required property var modelData
                            width: parent.width
                            height: Theme.px(44)
                            Label {
                                id: performed
                                anchors.right: parent.right
                                text: Theme.length(performance.modelData.actualDurationSecond)
                                font.weight: Font.Bold
                                color: Theme.accent
                            }
                            Label {
                                anchors { left: parent.left; right: performed.left; rightMargin: Theme.px(10) }
                                text: performance.modelData.contentName
                                font.weight: Font.DemiBold
                            }
                            Label {
                                y: Theme.px(21)
                                text: Theme.moment(performance.modelData.performDate)
                                color: Theme.faint
                                font.pixelSize: Theme.caption
                            }
                        }
                    }
                    Label {
                        visible: page.performances.length === 0
                        text: qsTr("No class was performed yet.")
                        color: Theme.faint
                    }
                }
            }
            Panel {
                width: parent.width
                visible: page.requests.length > 0
                title: qsTr("Requests, the newest first")
                Repeater {
                    model: page.requests.slice(0, 24)
                    Item {
                        id: line
                        required property var modelData
                        width: parent.width
                        height: Theme.px(20)
                        Label {
                            id: method
                            width: Theme.px(52)
                            text: line.modelData.method
                            font.pixelSize: Theme.caption
                            font.weight: Font.Bold
                            color: line.modelData.method === "GET" ? Theme.faint : Theme.accent
                        }
                        Label {
                            anchors { left: method.right; right: parent.right }
                            text: line.modelData.target
                            elide: Text.ElideMiddle
                            font.pixelSize: Theme.caption
                            color: Theme.muted
                        }
                    }
                }
            }
        }
    }
    Spinner {
        anchors.centerIn: parent
        running: page.waiting > 0 && page.state === null
    }
}
