#include <korvel/platform/foundation/UTF8.h>
#include <korvel/platform/hls/Attributes.h>
#include <korvel/platform/hls/WebVTT.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

constexpr std::string_view fileMark = "\xEF\xBB\xBF";
constexpr std::string_view fileSignature = "WEBVTT";
constexpr std::string_view arrow = "-->";
constexpr std::string_view mapName = "X-TIMESTAMP-MAP=";
constexpr std::size_t mostCues = 10'000;
constexpr std::size_t longestText = std::size_t{16} << 10U;  ///< of a cue, with its tags
/// Of a line, in heights of the picture: of what lines are counted in, nobody tells the size.
constexpr double lineHeight = 0.06;

class Lines {
public:
    explicit Lines(std::string_view text) : rest_(text) {}
    std::optional<std::string_view> next() {
        if (rest_.empty()) return std::nullopt;
        const auto end = std::min(rest_.find_first_of("\r\n"), rest_.size());
        const auto line = rest_.substr(0, end);
        const bool isPair = rest_.substr(end).starts_with("\r\n");
        rest_.remove_prefix(std::min(end + (isPair ? 2 : 1), rest_.size()));
        return line;
    }

private:
    std::string_view rest_;
};

std::string_view withoutBlanks(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return text;
}

bool take(std::string_view& text, char wanted) {
    if (!text.starts_with(wanted)) return false;
    text.remove_prefix(1);
    return true;
}

std::optional<std::uint64_t> takeNumber(std::string_view& text, std::uint64_t most) {
    std::uint64_t number = 0;
    const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number > most) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(last - text.data()));
    return number;
}

/// "01:02.345" or "1:01:02.345", to the thousandth.
std::optional<nanoseconds> takeTime(std::string_view& text) {
    text = withoutBlanks(text);
    constexpr std::uint64_t mostHours = 9999;
    auto minutes = takeNumber(text, mostHours);
    if (!minutes || !take(text, ':')) return std::nullopt;
    auto seconds = takeNumber(text, 59);
    std::uint64_t hours = 0;
    if (seconds && take(text, ':')) {
        hours = *minutes;
        minutes = seconds;
        seconds = takeNumber(text, 59);
    }
    if (!seconds || *minutes > 59) return std::nullopt;
    nanoseconds time =
        std::chrono::hours(hours) + std::chrono::minutes(*minutes) + std::chrono::seconds(*seconds);
    if (!take(text, '.') && !take(text, ',')) return time;
    const auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
    nanoseconds unit = std::chrono::seconds(1);
    for (const char digit : text.substr(0, std::min<std::size_t>(digits, 3)))
        time += (unit /= 10) * (digit - '0');
    text.remove_prefix(digits);
    return time;
}

std::optional<WebVTT::Map> mapIn(std::string_view text) {
    constexpr std::uint64_t largest = std::uint64_t{1} << 33U;
    std::optional<nanoseconds> local;
    std::optional<std::uint64_t> media;
    while (!text.empty()) {
        const auto end = std::min(text.find(','), text.size());
        auto part = withoutBlanks(text.substr(0, end));
        const auto colon = std::min(part.find(':'), part.size());
        const auto name = part.substr(0, colon);
        part = withoutBlanks(part.substr(std::min(colon + 1, part.size())));
        if (name == "LOCAL") local = takeTime(part);
        if (name == "MPEGTS") media = takeNumber(part, UINT64_MAX);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (!local || !media) return std::nullopt;
    const auto ticks = static_cast<std::int64_t>(*media % largest);
    return WebVTT::Map{*local, nanoseconds(ticks * 100'000 / 9)};
}

/// A share of the whole; nothing if it is none.
std::optional<double> shareIn(std::string_view text) {
    if (!text.ends_with('%')) return std::nullopt;
    const auto number = decimalIn(text.substr(0, text.size() - 1));
    return number && *number >= 0 && *number <= 100 ? std::optional(*number / 100) : std::nullopt;
}

/// Where a cue is to be shown.
struct Settings {
    enum class Edge { automatic, start, center, end };
    std::optional<double> line{};  ///< number of the line, or share of the height
    bool isShare = false;
    Edge lineEdge = Edge::start;  ///< of the box, that lies there
    std::optional<double> position{};
    Edge positionEdge = Edge::automatic;
    double size = 1;
    Edge alignment = Edge::center;
    bool isVertical = false;
};

std::optional<Settings::Edge> edgeIn(std::string_view name) {
    using Edge = Settings::Edge;
    if (name == "start" || name == "left" || name == "line-left") return Edge::start;
    if (name == "center" || name == "middle") return Edge::center;
    if (name == "end" || name == "right" || name == "line-right") return Edge::end;
    return std::nullopt;
}

void readSetting(Settings& settings, std::string_view name, std::string_view value) {
    const auto comma = std::min(value.find(','), value.size());
    const auto first = value.substr(0, comma);
    const auto edge = edgeIn(value.substr(std::min(comma + 1, value.size())));
    if (name == "align") {
        settings.alignment = edgeIn(value).value_or(settings.alignment);
    } else if (name == "size") {
        settings.size = shareIn(value).value_or(settings.size);
    } else if (name == "position") {
        settings.position = shareIn(first);
        settings.positionEdge = edge.value_or(Settings::Edge::automatic);
    } else if (name == "line") {
        const auto share = shareIn(first);
        settings.isShare = share.has_value();
        settings.line = share ? share : decimalIn(first);
        settings.lineEdge = edge.value_or(Settings::Edge::start);
    } else if (name == "vertical") {
        settings.isVertical = true;
    }
}

Settings settingsIn(std::string_view text) {
    Settings settings;
    while (!(text = withoutBlanks(text)).empty()) {
        const auto end = std::min(text.find_first_of(" \t"), text.size());
        const auto each = text.substr(0, end);
        const auto colon = each.find(':');
        if (colon != each.npos)
            readSetting(settings, each.substr(0, colon), each.substr(colon + 1));
        text.remove_prefix(end);
    }
    // Columns are shown as lines, whose places mean nothing there.
    return settings.isVertical ? Settings{.alignment = settings.alignment} : settings;
}

std::optional<double> topOf(const Settings& settings, double height) {
    if (!settings.line) return std::nullopt;
    double top = *settings.line;
    if (settings.isShare) {
        if (settings.lineEdge == Settings::Edge::center) top -= height / 2;
        if (settings.lineEdge == Settings::Edge::end) top -= height;
    } else {
        // The last line is where all go that do not say.
        if (top == -1) return std::nullopt;
        top = top * lineHeight + (top < 0 ? 1 : 0);
    }
    return std::clamp(top, 0., std::max(1 - height, 0.));
}

void lay(AVSubtitleCue& cue, const Settings& settings) {
    using Edge = Settings::Edge;
    std::ptrdiff_t lines = 1;
    for (const auto& run : cue.runs) lines += std::count(run.text.begin(), run.text.end(), '\n');
    cue.top = topOf(settings, static_cast<double>(lines) * lineHeight);
    const Edge edge =
        settings.positionEdge == Edge::automatic ? settings.alignment : settings.positionEdge;
    const double usual = edge == Edge::start ? 0 : edge == Edge::end ? 1 : 0.5;
    const double at = settings.position.value_or(usual);
    const double room = edge == Edge::start ? 1 - at
                        : edge == Edge::end ? at
                                            : 2 * std::min(at, 1 - at);
    cue.width = std::min(settings.size, room);
    if (cue.width <= 0) return void(cue.width = 1);  // nothing could be read there
    const double left = edge == Edge::start ? at
                        : edge == Edge::end ? at - cue.width
                                            : at - cue.width / 2;
    cue.center = left + cue.width / 2;
    cue.alignment = settings.alignment == Edge::start ? AVSubtitleCue::Alignment::start
                    : settings.alignment == Edge::end ? AVSubtitleCue::Alignment::end
                                                      : AVSubtitleCue::Alignment::center;
}

/// `timing`: the line with the arrow.
std::optional<AVSubtitleCue> cueIn(std::string_view timing, std::string_view text) {
    const auto start = takeTime(timing);
    timing = withoutBlanks(timing);
    if (!start || !timing.starts_with(arrow)) return std::nullopt;
    timing.remove_prefix(arrow.size());
    const auto end = takeTime(timing);
    return end ? cueOf(*start, *end, timing, text) : std::nullopt;
}

bool hasArrow(std::string_view line) { return line.find(arrow) != line.npos; }

}  // namespace

std::optional<AVSubtitleCue> cueOf(nanoseconds start, nanoseconds end, std::string_view settings,
                                   std::string_view text) {
    if (end <= start) return std::nullopt;
    AVSubtitleCue cue{.start = start, .end = end, .runs = wordsIn(text)};
    if (cue.runs.empty()) return std::nullopt;
    lay(cue, settingsIn(settings));
    return cue;
}

std::optional<WebVTT> readWebVTT(std::string_view bytes) {
    const std::string repaired = repairedUTF8(std::string(bytes.substr(0, longestWebVTT)));
    std::string_view text = repaired;
    if (text.starts_with(fileMark)) text.remove_prefix(fileMark.size());
    if (!text.starts_with(fileSignature)) return std::nullopt;
    const auto behind = text.substr(fileSignature.size(), 1);
    if (!behind.empty() && std::string_view(" \t\r\n").find(behind) == behind.npos)
        return std::nullopt;
    WebVTT file;
    Lines lines(text);
    auto line = lines.next();
    // Only lines with an arrow begin a cue, and so does one within the words of another.
    while (line && file.cues.size() < mostCues) {
        if (!hasArrow(*line)) {
            if (line->starts_with(mapName) && !file.map)
                file.map = mapIn(line->substr(mapName.size()));
            line = lines.next();
            continue;
        }
        const auto timing = *line;
        std::string words;
        while ((line = lines.next()) && !line->empty() && !hasArrow(*line)) {
            if (words.size() < longestText) words.append(line->substr(0, longestText)) += '\n';
        }
        if (auto cue = cueIn(timing, words)) file.cues.push_back(*std::move(cue));
    }
    return file;
}

}  // namespace korvel::platform::hls
