#include <korvel/platform/hls/Language.h>
#include <korvel/platform/hls/SoundChoice.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::hls {

SoundChoice::SoundChoice(const MasterPlaylist& playlist, const URL& address,
                         const std::vector<const VariantTag*>& variants,
                         const std::vector<std::string>& languages)
    : tracks_(languages) {
    for (const VariantTag* variant : variants) {
        const auto known = std::find(groups_.begin(), groups_.end(), variant->audio);
        groupOf_.push_back(static_cast<std::size_t>(known - groups_.begin()));
        if (known == groups_.end()) groups_.push_back(variant->audio);
    }
    for (const RenditionTag& tag : playlist.renditions) {
        const auto group = std::find(groups_.begin(), groups_.end(), tag.group);
        if (tag.type != RenditionTag::Type::audio || tag.group.empty() || group == groups_.end())
            continue;
        add(tag, static_cast<std::size_t>(group - groups_.begin()), address);
    }
    wanted_ = current_ = chosenFor(languages);
}

void SoundChoice::add(const RenditionTag& tag, std::size_t group, const URL& address) {
    std::optional<URL> url;
    if (!tag.uri.empty()) {
        url = resolved(address, tag.uri);
        if (!url || !mayLead(address, *url)) return;
    }
    auto option = std::find_if(options_.begin(), options_.end(), [&](const Option& each) {
        return each.told.displayName == tag.name && each.told.extendedLanguageTag == tag.language;
    });
    if (option == options_.end()) {
        options_.push_back({.told = {tag.name, tag.language, tag.isDefault}});
        option = std::prev(options_.end());
        option->places.resize(groups_.size());
    }
    option->told.isDefault |= tag.isDefault;
    option->isAutoselect |= tag.isAutoselect || tag.isDefault;
    if (!url) return;
    option->places[group] = playlists_.size();
    playlists_.push_back(*url);
}

/// What the device's user understands best of those that may be chosen for that; else the default,
/// else the first that may be chosen by itself.
std::size_t SoundChoice::chosenFor(const std::vector<std::string>& languages) const {
    std::vector<Spoken> all;
    for (const Option& each : options_)
        all.push_back({each.told.extendedLanguageTag, each.told.isDefault, each.isAutoselect});
    if (const auto best = bestOf(all, languages)) return *best;
    const auto first = [&](auto&& fits) {
        return static_cast<std::size_t>(std::find_if(options_.begin(), options_.end(), fits) -
                                        options_.begin());
    };
    const auto isDefault = first([](const Option& each) { return each.told.isDefault; });
    if (isDefault < options_.size()) return isDefault;
    const auto isAutoselect = first([](const Option& each) { return each.isAutoselect; });
    return isAutoselect < options_.size() ? isAutoselect : 0;
}

AVMediaSelectionGroup SoundChoice::group() const {
    const std::lock_guard lock(mutex_);
    AVMediaSelectionGroup group = hasChoice() ? AVMediaSelectionGroup() : tracks_.group();
    if (!group.options.empty()) return group;
    for (const Option& each : options_) group.options.push_back(each.told);
    if (!options_.empty()) group.selected = wanted_;
    return group;
}

bool SoundChoice::select(const AVMediaSelectionOption& option) {
    const std::lock_guard lock(mutex_);
    if (!hasChoice()) return tracks_.select(option);
    for (std::size_t i = 0; i < options_.size(); ++i) {
        const AVMediaSelectionOption& told = options_[i].told;
        if (told.displayName != option.displayName ||
            told.extendedLanguageTag != option.extendedLanguageTag)
            continue;
        wanted_ = i;
        return wanted_ != current_;
    }
    return false;
}

bool SoundChoice::begin(Attention::Generation generation) {
    const std::lock_guard lock(mutex_);
    if (generation > generation_) {
        generation_ = generation;
        current_ = wanted_;
        tracks_.begin();
    }
    return placeLocked(group_).has_value();
}

void SoundChoice::follow(std::size_t variant) {
    const std::lock_guard lock(mutex_);
    group_ = groupOf_.at(variant);
}

/// A sound that the variant's group does not hold goes on from another one's.
std::optional<std::size_t> SoundChoice::placeLocked(std::size_t group) const {
    if (options_.empty()) return std::nullopt;
    const auto& places = options_[current_].places;
    if (places[group]) return places[group];
    const auto other = std::find_if(places.begin(), places.end(),
                                    [](const auto& each) { return each.has_value(); });
    return other == places.end() ? std::nullopt : *other;
}

std::size_t SoundChoice::playlist() const {
    const std::lock_guard lock(mutex_);
    return placeLocked(group_).value_or(0);
}

std::optional<URL> SoundChoice::playlistFor(std::size_t variant) const {
    const std::lock_guard lock(mutex_);
    const auto place = placeLocked(groupOf_.at(variant));
    return place ? std::optional(playlists_[*place]) : std::nullopt;
}

TrackChoice::Pick SoundChoice::pick(const std::vector<SoundTrack>& tracks) {
    const std::lock_guard lock(mutex_);
    if (!hasChoice()) return tracks_.pick(tracks);
    return tracks_.pick(tracks, options_[current_].told.extendedLanguageTag);
}

}  // namespace korvel::platform::hls
