import QtQuick
import Korvel.Content

FocusScope {
    id: page
    property bool narrow: false
    readonly property int side: narrow ? 20 : Theme.huge
    signal opened(var ondemandClass)

    ClassesModel {
        id: classes
        pageSize: 24
        sort: sorting.value
        order: direction.value
    }
    Label {
        id: title
        x: page.side
        y: Theme.wide
        text: qsTr("All classes")
        font.pixelSize: Theme.title
        font.weight: Font.ExtraBold
    }
    Label {
        objectName: "counter"
        anchors { left: title.right; leftMargin: 14; baseline: title.baseline }
        visible: classes.total >= 0
        text: qsTr("%1 of %2").arg(classes.count).arg(classes.total)
        color: Theme.faint
    }
    Row {
        id: chips
        anchors { left: parent.left; leftMargin: page.side; top: title.bottom; topMargin: Theme.gap }
        spacing: 10
        FilterChip {
            id: sorting
            objectName: "sorting"
            label: qsTr("Sort by name")
            anyText: qsTr("Name")
            choices: [{ text: qsTr("Newest"), value: "date" }, { text: qsTr("Length"), value: "duration" },
                      { text: qsTr("Intensity"), value: "intensity" }, { text: qsTr("Calories"), value: "calories" }]
            onChosen: (chosenValue) => value = chosenValue
        }
        FilterChip {
            id: direction
            label: qsTr("Ascending")
            anyText: qsTr("Ascending")
            choices: [{ text: qsTr("Descending"), value: "desc" }]
            onChosen: (chosenValue) => value = chosenValue
        }
    }
    ClassGrid {
        id: grid
        objectName: "grid"
        anchors { left: parent.left; right: parent.right; top: chips.bottom; topMargin: Theme.gap + 4; bottom: parent.bottom }
        focus: true
        side: page.side
        narrow: page.narrow
        model: classes
        topMargin: 6
        onOpened: (ondemandClass) => page.opened(ondemandClass)
    }
    StateView {
        anchors.fill: grid
        request: classes.request
        visible: classes.count === 0 && shown
        empty: classes.total === 0
        emptyTitle: qsTr("No classes yet")
    }
}
