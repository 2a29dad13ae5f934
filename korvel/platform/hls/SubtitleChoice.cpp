#include <korvel/platform/hls/Language.h>
#include <korvel/platform/hls/SubtitleChoice.h>

#include <algorithm>

namespace korvel::platform::hls {

SubtitleChoice::SubtitleChoice(const MasterPlaylist& playlist, const URL& address,
                               const std::vector<const VariantTag*>& variants) {
    for (const RenditionTag& tag : playlist.renditions) {
        const bool isNamed = std::any_of(variants.begin(), variants.end(), [&](const auto* each) {
            return !tag.group.empty() && each->subtitles == tag.group;
        });
        if (tag.type != RenditionTag::Type::subtitles || tag.uri.empty() || !isNamed) continue;
        const auto url = resolved(address, tag.uri);
        if (url && mayLead(address, *url)) add(tag, *url);
    }
}

void SubtitleChoice::add(const RenditionTag& tag, const URL& playlist) {
    auto option = std::find_if(options_.begin(), options_.end(), [&](const Option& each) {
        return each.told.displayName == tag.name && each.told.extendedLanguageTag == tag.language &&
               each.isForced == tag.isForced;
    });
    if (option == options_.end()) {
        options_.push_back({.told = {tag.name, tag.language}, .isForced = tag.isForced});
        option = std::prev(options_.end());
    }
    option->told.isDefault |= tag.isDefault;
    option->isAutoselect |= (tag.isAutoselect || tag.isDefault) && !tag.isForced;
    auto& all = option->playlists;
    const bool isKnown = std::any_of(all.begin(), all.end(), [&](const URL& each) {
        return each.absoluteString() == playlist.absoluteString();
    });
    if (!isKnown) all.push_back(playlist);
}

std::vector<AVMediaSelectionOption> SubtitleChoice::options() const {
    std::vector<AVMediaSelectionOption> all;
    for (const Option& each : options_) all.push_back(each.told);
    return all;
}

std::optional<std::size_t> SubtitleChoice::chosen(const AVSubtitleSelection& selection,
                                                  const std::vector<std::string>& languages) const {
    using Mode = AVSubtitleSelection::Mode;
    if (selection.mode == Mode::byLanguage) return chosenFor(languages);
    if (selection.mode == Mode::none) return std::nullopt;
    const auto found = std::find_if(options_.begin(), options_.end(), [&](const Option& each) {
        return each.told.displayName == selection.option.displayName &&
               each.told.extendedLanguageTag == selection.option.extendedLanguageTag;
    });
    return found == options_.end()
               ? std::nullopt
               : std::optional(static_cast<std::size_t>(found - options_.begin()));
}

std::optional<std::size_t> SubtitleChoice::chosenFor(
    const std::vector<std::string>& languages) const {
    std::vector<Spoken> all;
    for (const Option& each : options_)
        all.push_back({each.told.extendedLanguageTag, each.told.isDefault, each.isAutoselect});
    return bestOf(all, languages);
}

}  // namespace korvel::platform::hls
