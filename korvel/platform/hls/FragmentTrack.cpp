#include <korvel/platform/hls/FragmentTrack.h>
#include <korvel/platform/hls/Language.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;
using Bytes = Fields::Bytes;

namespace {

constexpr std::size_t mostTracks = 16;
constexpr std::size_t mostEntries = 16;
constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t longest = std::int64_t{1} << 32;  ///< seconds

/// Timescale of "mvhd" or "mdhd".
std::uint32_t timescaleIn(const std::optional<Box>& box) {
    if (!box) return 0;
    Fields fields(box->content);
    const bool isLong = fields.byte() == 1;
    fields.skip(isLong ? 3 + 16 : 3 + 8);
    return fields.word();
}

/// Of a track's media: as "elng" says, else "mdhd", whose three letters have five bits each.
std::string languageIn(Bytes media) {
    if (const auto tag = boxIn(media, "elng"); tag && tag->content.size() > 4) {
        const auto bytes = tag->content.subspan(4);
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        auto language = languageTag(text.substr(0, text.find('\0')));
        if (!language.empty()) return language;
    }
    const auto head = boxIn(media, "mdhd");
    if (!head) return {};
    Fields fields(head->content);
    fields.skip(fields.byte() == 1 ? 3 + 28 : 3 + 16);
    const unsigned packed = fields.half();
    std::string code;
    for (const unsigned at : {10U, 5U, 0U})
        code.push_back(static_cast<char>(0x60U + ((packed >> at) & 31U)));
    return languageTag(code);
}

/// By how much an edit list moves the track: later by what is empty in front, earlier by what is
/// left out of its beginning.
nanoseconds shiftOf(Bytes track, std::uint32_t movieScale, const FragmentTrack& scale) {
    const auto edits = boxIn(track, "edts");
    const auto list = edits ? boxIn(edits->content, "elst") : std::nullopt;
    if (!list) return {};
    Fields fields(list->content);
    const bool isLong = fields.byte() == 1;
    fields.skip(3);
    const FragmentTrack movie{.timescale = std::max(movieScale, 1U)};
    nanoseconds shift{};
    for (auto count = fields.word(); count > 0 && !fields.isOver(); --count) {
        const auto duration = static_cast<std::int64_t>(isLong ? fields.number64() : fields.word());
        const auto from = isLong ? static_cast<std::int64_t>(fields.number64())
                                 : static_cast<std::int32_t>(fields.word());
        fields.skip(4);
        if (from >= 0) return shift - scale.time(from).value_or(nanoseconds::zero());
        shift += movie.time(std::clamp<std::int64_t>(duration, 0, longest))
                     .value_or(nanoseconds::zero());
        if (shift > std::chrono::hours(24)) return {};
    }
    return shift;
}

/// The first entry that is of use tells the format of all.
void readEntries(Bytes entries, Kind kind, bool opensSamples, FragmentTrack& track) {
    Boxes boxes(entries);
    while (const auto entry = boxes.next()) {
        if (track.protections.size() == mostEntries) return;
        auto protection = protectionOf(*entry, kind);
        if (!track.format && !protection) track.format = formatOf(*entry, kind);
        if (!track.format && protection && (opensSamples || protection->isPlain))
            track.format = formatOf({protection->type, entry->content}, kind);
        track.protections.push_back(std::move(protection));
    }
}

std::optional<FragmentTrack> trackOf(Bytes content, std::uint32_t movieScale, bool opensSamples) {
    FragmentTrack track;
    const auto head = boxIn(content, "tkhd");
    const auto media = boxIn(content, "mdia");
    if (!head || !media) return std::nullopt;
    Fields fields(head->content);
    const bool isLong = fields.byte() == 1;
    fields.skip(isLong ? 3 + 16 : 3 + 8);
    track.number = fields.word();
    track.timescale = timescaleIn(boxIn(media->content, "mdhd"));
    track.language = languageIn(media->content);
    const auto handler = boxIn(media->content, "hdlr");
    const auto information = boxIn(media->content, "minf");
    if (track.timescale == 0 || !handler || handler->content.size() < 12 || !information)
        return std::nullopt;
    const std::string_view type(reinterpret_cast<const char*>(&handler->content[8]), 4);
    const auto table = boxIn(information->content, "stbl");
    const auto descriptions = table ? boxIn(table->content, "stsd") : std::nullopt;
    if (descriptions && descriptions->content.size() > 8 && (type == "vide" || type == "soun")) {
        readEntries(descriptions->content.subspan(8), type == "vide" ? Kind::picture : Kind::sound,
                    opensSamples, track);
    }
    if (descriptions && descriptions->content.size() > 8 && type == "text")
        track.isWebVTT = boxIn(descriptions->content.subspan(8), "wvtt").has_value();
    track.editShift = shiftOf(content, movieScale, track);
    return track;
}

}  // namespace

std::optional<nanoseconds> FragmentTrack::time(std::int64_t units) const {
    const std::int64_t scale = timescale;
    const std::int64_t seconds = units / scale;
    if (seconds > longest || seconds < -longest) return std::nullopt;
    return nanoseconds(seconds * nanosecondsPerSecond +
                       units % scale * nanosecondsPerSecond / scale);
}

std::vector<FragmentTrack> tracksIn(Bytes movie, bool opensSamples) {
    const auto movieScale = timescaleIn(boxIn(movie, "mvhd"));
    std::vector<FragmentTrack> tracks;
    Boxes boxes(movie);
    while (const auto box = boxes.next()) {
        if (box->type != "trak" || tracks.size() >= mostTracks) continue;
        if (auto track = trackOf(box->content, movieScale, opensSamples))
            tracks.push_back(*std::move(track));
    }
    const auto extension = boxIn(movie, "mvex");
    Boxes defaults(extension ? extension->content : Bytes());
    while (const auto box = defaults.next()) {
        if (box->type != "trex") continue;
        Fields fields(box->content);
        fields.skip(4);
        const auto number = fields.word();
        for (FragmentTrack& track : tracks) {
            if (track.number != number) continue;
            track.defaults.description = fields.word();
            track.defaults.duration = fields.word();
            track.defaults.size = fields.word();
            track.defaults.flags = fields.word();
            break;
        }
    }
    return tracks;
}

}  // namespace korvel::platform::hls
