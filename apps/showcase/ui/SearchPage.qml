import QtQuick
import Korvel.Content

FocusScope {
    id: page
    property bool narrow: false
    readonly property int side: narrow ? 20 : Theme.huge
    readonly property bool filtered: type.value || language.value || equipment.value || provider.value
                                     || duration.value || intensity.value || search.text
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
        anchors { left: parent.left; right: parent.right; top: parent.top; margins: page.side; topMargin: Theme.wide }
        spacing: Theme.gap
        Field {
            id: search
            objectName: "search"
            focus: true
            width: Math.min(parent.width, 640)
            glyph: "search"
            placeholderText: qsTr("Search classes, instructors, studios")
            onTextEdited: pause.restart()
            onTextChanged: if (text === "") pause.restart()
            Keys.onDownPressed: grid.forceActiveFocus()
        }
        Flow {
            width: parent.width
            spacing: 10
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
                implicitHeight: 38
                text: qsTr("Clear all")
                onClicked: {
                    for (const each of [type, duration, intensity, equipment, language, provider]) each.value = ""
                    search.clear()
                }
            }
        }
        Row {
            spacing: 10
            height: counter.implicitHeight
            Label {
                id: counter
                objectName: "counter"
                text: results.total < 0 ? "" : Theme.count(results.total, qsTr("class"), qsTr("classes"))
                color: Theme.faint
                font.pixelSize: Theme.caption
            }
            Label {
                visible: !KorvelContent.loggedIn
                text: qsTr("Sign in to filter.")
                color: Theme.faint
                font.pixelSize: Theme.caption
            }
            Label {
                visible: metadata.request.errorText !== ""
                text: qsTr("The filters could not be loaded.")
                color: Theme.danger
                font.pixelSize: Theme.caption
            }
        }
    }
    ClassGrid {
        id: grid
        objectName: "grid"
        anchors { left: parent.left; right: parent.right; top: head.bottom; topMargin: 12; bottom: parent.bottom }
        side: page.side
        narrow: page.narrow
        model: results
        topMargin: 6
        opacity: results.request.busy && results.count > 0 ? 0.6 : 1
        onOpened: (ondemandClass) => page.opened(ondemandClass)
    }
    StateView {
        anchors.fill: grid
        request: results.request
        visible: results.count === 0 && shown
        empty: results.total === 0
        emptyTitle: qsTr("Nothing matches")
        emptyText: qsTr("Try fewer words, or take a filter away.")
    }
}
