#include <korvel/platform/foundation/Locale.h>
#include <korvel/platform/hls/Language.h>
#include <korvel/platform/hls/TrackChoice.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::hls {

namespace {

/// Who is to be heard of those who may be chosen for their languages. With `isMeant` that is
/// everybody, the commentary last; it never comes by itself.
std::optional<std::size_t> bestTrack(const std::vector<SoundTrack>& tracks,
                                     const std::vector<std::string>& languages, bool isMeant) {
    std::vector<Spoken> all;
    all.reserve(tracks.size());
    for (const SoundTrack& each : tracks)
        all.push_back({each.language, !each.isCommentary, isMeant || !each.isCommentary});
    return bestOf(all, languages);
}

std::size_t defaultOf(const std::vector<SoundTrack>& tracks) {
    const auto first = std::find_if(tracks.begin(), tracks.end(),
                                    [](const SoundTrack& each) { return !each.isCommentary; });
    return first == tracks.end() ? 0 : static_cast<std::size_t>(first - tracks.begin());
}

}  // namespace

/// Containers give their tracks no names but those of the languages. Who sounds the same is told
/// apart by a number.
TrackChoice::Options TrackChoice::optionsOf(const std::vector<SoundTrack>& tracks) {
    Options all;
    for (const SoundTrack& each : tracks) {
        std::string name = languageName(each.language.empty() ? "und" : each.language);
        if (each.isCommentary) name += " (audio description)";
        const auto before = &each - tracks.data();
        const auto same = std::count(tracks.begin(), tracks.begin() + before, each);
        if (same > 0) name += " " + std::to_string(same + 1);
        all.push_back({std::move(name), each.language});
    }
    all[defaultOf(tracks)].isDefault = true;
    return all;
}

void TrackChoice::offer(const Options& there) {
    const bool isFirst = options_.empty();
    for (const AVMediaSelectionOption& each : there) {
        if (options_.size() >= mostSoundTracks) break;
        if (indexOf(each.displayName)) continue;
        options_.push_back(each);
        options_.back().isDefault &= isFirst;
        const bool isWished = wish_ && wish_->displayName == each.displayName &&
                              wish_->extendedLanguageTag == each.extendedLanguageTag;
        if (!isWished) continue;
        wanted_ = current_ = options_.size() - 1;
        wish_.reset();
    }
}

std::optional<std::size_t> TrackChoice::wantedOf(const std::vector<SoundTrack>& tracks,
                                                 const Options& there) const {
    if (!current_) return std::nullopt;
    const AVMediaSelectionOption& wanted = options_[*current_];
    const auto same = std::find_if(there.begin(), there.end(), [&](const auto& each) {
        return each.displayName == wanted.displayName;
    });
    if (same != there.end()) return static_cast<std::size_t>(same - there.begin());
    return bestTrack(tracks, {wanted.extendedLanguageTag}, true);
}

TrackChoice::Pick TrackChoice::pick(const std::vector<SoundTrack>& tracks) {
    const auto there = optionsOf(tracks);
    offer(there);
    if (const auto wanted = wantedOf(tracks, there)) return picked(there, *wanted);
    return picked(there, bestTrack(tracks, languages_, false).value_or(defaultOf(tracks)));
}

TrackChoice::Pick TrackChoice::pick(const std::vector<SoundTrack>& tracks,
                                    const std::string& language) {
    return picked(optionsOf(tracks),
                  bestTrack(tracks, {language}, true).value_or(defaultOf(tracks)));
}

TrackChoice::Pick TrackChoice::picked(const Options& there, std::size_t track) {
    const std::string& name = there[track].displayName;
    const bool isOther = hasBegun_ && name != playing_;
    isMixed_ |= isOther;
    hasBegun_ = true;
    playing_ = name;
    return {track, isOther};
}

AVMediaSelectionGroup TrackChoice::group() const {
    if (options_.size() < 2) return {};
    return {options_, wanted_ ? wanted_ : indexOf(playing_)};
}

bool TrackChoice::select(const AVMediaSelectionOption& option) {
    const auto found = indexOf(option.displayName);
    if (!found || options_[*found].extendedLanguageTag != option.extendedLanguageTag) {
        if (options_.empty()) wish_ = option;
        return false;
    }
    wish_.reset();
    wanted_ = found;
    // What plays by itself, and all along, need not be loaded again to be what was chosen.
    if (hasBegun_ && !isMixed_ && playing_ == option.displayName) current_ = wanted_;
    return wanted_ != current_;
}

void TrackChoice::begin() {
    current_ = wanted_;
    hasBegun_ = isMixed_ = false;
}

std::optional<std::size_t> TrackChoice::indexOf(std::string_view name) const {
    const auto found = std::find_if(options_.begin(), options_.end(),
                                    [&](const auto& each) { return each.displayName == name; });
    return found == options_.end()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(found - options_.begin()));
}

}  // namespace korvel::platform::hls
