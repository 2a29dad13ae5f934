import QtQuick

Text {
    color: Theme.text
    font.family: Theme.family
    font.pixelSize: Theme.body
    textFormat: Text.PlainText
    elide: Text.ElideRight
}
