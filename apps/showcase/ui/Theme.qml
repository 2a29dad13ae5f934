pragma Singleton
import QtQuick

// One dark look: an even scale of spaces, five sizes of text, and a single accent. All sizes follow
// `unit`, and with it how far away the screen is.
QtObject {
    id: theme
    property size window: Qt.size(1280, 800)  // set by whoever shows it
    property bool fromAfar: false             // asked for; else the window's size decides
    property bool developer: false            // what the player says, ids, records

    readonly property bool tenFoot: fromAfar || (window.width >= 1800 && window.height >= 1000)
    readonly property real unit: tenFoot ? Math.max(1, Math.min(window.width / 1920, window.height / 1080)) * 1.85 : 1
    readonly property bool narrow: window.height > window.width || window.width < 700 * unit
    readonly property bool low: window.height < 600 * unit
    // Televisions hide the outermost twentieth.
    readonly property int safeX: tenFoot ? Math.round(window.width * 0.05) : 0
    readonly property int safeY: tenFoot ? Math.round(window.height * 0.05) : 0
    readonly property int side: tenFoot ? safeX : narrow ? 20 : low ? wide : huge
    readonly property int top: Math.max(wide, safeY)

    readonly property color background: "#0b0e13"
    readonly property color surface: "#141a23"
    readonly property color raised: "#1e2632"
    readonly property color line: "#2c3646"
    readonly property color text: "#f3f6fa"
    readonly property color muted: "#a9b4c3"
    readonly property color faint: "#929eae"
    readonly property color accent: "#c8f24a"
    readonly property color accentInk: "#11170a"
    readonly property color danger: "#ff9c93"
    readonly property color dangerSurface: "#2a1719"

    readonly property int tiny: px(4)
    readonly property int small: px(8)
    readonly property int gap: px(16)
    readonly property int wide: px(24)
    readonly property int huge: px(40)
    readonly property int radius: px(12)
    readonly property int target: px(48)  // what a finger hits
    readonly property int icon: px(20)
    readonly property int card: px(narrow || low ? 216 : 256)
    readonly property int between: px(18)  // cards

    readonly property string family: "Inter"
    readonly property int caption: px(13)
    readonly property int body: px(15)
    readonly property int heading: px(19)
    readonly property int title: px(27)
    readonly property int display: px(low ? 30 : 40)

    readonly property int quick: 140
    readonly property int calm: 260

    function px(number) { return Math.round(number * unit) }
    function clock(seconds) {
        const whole = Math.max(0, Math.floor(seconds))
        const rest = whole % 60
        return Math.floor(whole / 60) + ":" + (rest < 10 ? "0" : "") + rest
    }
    // As one would say it.
    function length(seconds) {
        const minutes = Math.floor(seconds / 60)
        const rest = Math.floor(seconds % 60)
        if (minutes === 0) return count(rest, qsTr("second"), qsTr("seconds"))
        return count(minutes, qsTr("minute"), qsTr("minutes"))
               + (rest > 0 ? " " + count(rest, qsTr("second"), qsTr("seconds")) : "")
    }
    function count(number, one, many) { return number + " " + (number === 1 ? one : many) }
    // The service's timestamps are ISO 8601 but for the colon in the offset.
    function date(timestamp) { return new Date(timestamp.replace(/([+-]\d\d)(\d\d)$/, "$1:$2")) }
    function day(timestamp) {
        const when = date(timestamp)
        return isNaN(when) ? "" : when.toLocaleDateString(Qt.locale("en_GB"), "d MMM yyyy")
    }
    function moment(timestamp) {
        const when = date(timestamp)
        return isNaN(when) ? "" : when.toLocaleString(Qt.locale("en_GB"), "d MMM yyyy, HH:mm")
    }
}
