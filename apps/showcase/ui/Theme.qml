pragma Singleton
import QtQuick

// One dark look: an even scale of spaces, five sizes of text, and a single accent.
QtObject {
    readonly property color background: "#0b0e13"
    readonly property color surface: "#141a23"
    readonly property color raised: "#1e2632"
    readonly property color line: "#2c3646"
    readonly property color text: "#f3f6fa"
    readonly property color muted: "#9ca8b8"
    readonly property color faint: "#66727f"
    readonly property color accent: "#c8f24a"
    readonly property color accentInk: "#11170a"
    readonly property color danger: "#ff8d83"

    readonly property int tiny: 4
    readonly property int small: 8
    readonly property int gap: 16
    readonly property int wide: 24
    readonly property int huge: 40
    readonly property int radius: 12

    readonly property string family: "Inter"
    readonly property int caption: 13
    readonly property int body: 15
    readonly property int heading: 19
    readonly property int title: 27
    readonly property int display: 40

    readonly property int quick: 140
    readonly property int calm: 260

    function clock(seconds) {
        const whole = Math.max(0, Math.floor(seconds))
        const rest = whole % 60
        return Math.floor(whole / 60) + ":" + (rest < 10 ? "0" : "") + rest
    }
    function count(number, one, many) { return number + " " + (number === 1 ? one : many) }
    // The service's timestamps are ISO 8601 but for the colon in the offset.
    function day(timestamp) {
        const date = new Date(timestamp.replace(/([+-]\d\d)(\d\d)$/, "$1:$2"))
        return isNaN(date) ? timestamp : date.toLocaleDateString(Qt.locale("en_GB"), "d MMM yyyy")
    }
}
