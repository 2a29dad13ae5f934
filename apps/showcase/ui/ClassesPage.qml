import QtQuick
import Korvel.Content
import Showcase

DirectionalFocus {
    id: page
    signal opened(var ondemandClass)

    ClassesModel {
        id: classes
        pageSize: 24
        sort: sorting.value
        order: direction.value
    }
    Label {
        id: title
        x: Theme.side
        y: Theme.top
        heading: true
        text: qsTr("All classes")
        font.pixelSize: Theme.title
        font.weight: Font.ExtraBold
    }
    Label {
        objectName: "counter"
        anchors { left: title.right; leftMargin: Theme.radius; baseline: title.baseline }
        visible: classes.total >= 0
        text: qsTr("%1 of %2").arg(classes.count).arg(classes.total)
        color: Theme.faint
    }
    Row {
        id: chips
        anchors { left: parent.left; leftMargin: Theme.side; top: title.bottom; topMargin: Theme.low ? Theme.small : Theme.radius }
        spacing: Theme.px(10)
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
    DirectionalFocus {
        anchors { left: parent.left; right: parent.right; top: chips.bottom; topMargin: Theme.radius; bottom: parent.bottom }
        focus: true
        ClassGrid {
            id: grid
            objectName: "grid"
            anchors.fill: parent
            focus: true
            model: classes
            onOpened: (ondemandClass) => page.opened(ondemandClass)
        }
        StateView {
            anchors.fill: parent
            request: classes.request
            visible: classes.count === 0 && shown
            empty: classes.total === 0
            emptyTitle: qsTr("No classes yet")
        }
    }
}
