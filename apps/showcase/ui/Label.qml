import QtQuick

// A text; read aloud unless `silent`, because what it stands in says the same.
Text {
    property bool silent: false
    property bool heading: false
    color: Theme.text
    font.family: Theme.family
    font.pixelSize: Theme.body
    textFormat: Text.PlainText
    elide: Text.ElideRight
    Accessible.role: heading ? Accessible.Heading : Accessible.StaticText
    Accessible.name: silent ? "" : text
    Accessible.ignored: silent || text === ""
}
