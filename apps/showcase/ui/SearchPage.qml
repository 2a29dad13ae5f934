import QtQuick
import Korvel.Content
import Showcase

DirectionalFocus {
    id: page
    readonly property var chips: [type, duration, intensity, equipment, language, provider]
    readonly property bool filtered: chips.some(each => each.value !== "")
    signal opened(var ondemandClass)

    function ranges(least, most, step) {
        const list = []
        for (let from = Math.floor(least / step) * step; from < most; from += step)
            list.push({ text: qsTr("%1 to %2 min").arg(from).arg(from + step), value: from + "-" + (from + step) })
        return list
    }
    function numbers(least, most) {
        const list = []
        for (let each = least; each > 0 && each <= most; ++each)
            list.push({ text: qsTr("Intensity %1").arg(each), value: String(each) })
        return list
    }
    function clearFilters() { for (const each of chips) each.value = "" }

    MetaData { id: metadata }
    SearchModel {
        id: results
        pageSize: 24
        type: type.value
        classLanguage: language.value
        equipment: equipment.value
        provider: provider.value
        duration: duration.value
        intensity: intensity.value
    }
    Timer {  // one search per pause in typing
        id: pause
        interval: 250
        onTriggered: results.keywords = search.text
    }

    Column {
        id: head
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: Theme.side; topMargin: Theme.low ? Math.max(Theme.radius, Theme.safeY) : Theme.top }
        spacing: Theme.low ? Theme.small : Theme.radius
        Field {
            id: search
            inputName: "search"
            width: Math.min(parent.width, Theme.px(640))
            glyph: "search"
            placeholderText: qsTr("Search classes, instructors, studios")
            onEdited: pause.restart()
        }
        Flow {
            width: parent.width
            spacing: Theme.px(Theme.low ? 6 : 10)
            FilterChip {
                id: type
                objectName: "type"
                label: qsTr("Type")
                choices: metadata.classTypes
                onChosen: (chosenValue) => value = chosenValue
            }
            FilterChip {
                id: duration
                objectName: "duration"
                label: qsTr("Length")
                choices: page.ranges(metadata.minDuration, metadata.maxDuration, 15)
                onChosen: (chosenValue) => value = chosenValue
            }
            FilterChip {
                id: intensity
                label: qsTr("Intensity")
                choices: page.numbers(metadata.minIntensity, metadata.maxIntensity)
                onChosen: (chosenValue) => value = chosenValue
            }
            FilterChip {
                id: equipment
                label: qsTr("Equipment")
                choices: metadata.equipments
                onChosen: (chosenValue) => value = chosenValue
            }
            FilterChip {
                id: language
                label: qsTr("Language")
                choices: metadata.languages
                onChosen: (chosenValue) => value = chosenValue
            }
            FilterChip {
                id: provider
                label: qsTr("Studio")
                choices: metadata.providers
                onChosen: (chosenValue) => value = chosenValue
            }
            AppButton {
                visible: page.filtered
                kind: AppButton.Quiet
                text: qsTr("Clear filters")
                onClicked: {
                    page.clearFilters()
                    type.forceActiveFocus(Qt.TabFocusReason)
                }
            }
        }
        Label {
            objectName: "counter"
            text: !KorvelContent.loggedIn ? qsTr("Sign in to filter.")
                  : metadata.request.errorText !== "" ? qsTr("The filters could not be loaded.")
                  : results.total < 0 ? "" : Theme.count(results.total, qsTr("class"), qsTr("classes"))
            color: metadata.request.errorText !== "" ? Theme.danger : Theme.faint
            font.pixelSize: Theme.caption
        }
    }
    DirectionalFocus {
        anchors { left: parent.left; right: parent.right; top: head.bottom; topMargin: Theme.small; bottom: parent.bottom }
        ClassGrid {
            id: grid
            objectName: "grid"
            anchors.fill: parent
            focus: true
            model: results
            opacity: results.request.busy && results.count > 0 ? 0.6 : 1
            onOpened: (ondemandClass) => page.opened(ondemandClass)
        }
        StateView {
            anchors.fill: parent
            request: results.request
            visible: results.count === 0 && shown
            empty: results.total === 0
            emptyTitle: qsTr("Nothing matches")
            emptyText: page.filtered ? qsTr("Try fewer words, or take the filters away.") : qsTr("Try fewer or other words.")
            emptyAction: page.filtered ? qsTr("Clear filters") : qsTr("Clear search")
            onActed: page.filtered ? page.clearFilters() : search.clear()
        }
    }
}
