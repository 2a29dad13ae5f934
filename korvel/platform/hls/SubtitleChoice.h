#pragma once

#include <korvel/platform/avfoundation/AVMediaSelection.h>
#include <korvel/platform/avfoundation/AVSubtitleCue.h>
#include <korvel/platform/hls/Playlist.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform::hls {

/// Which subtitles a stream has, and where each is loaded from: variants name groups of them, which
/// hold the same words. A value.
class SubtitleChoice {
public:
    SubtitleChoice() = default;
    /// `variants`: those that may be played. `address`: of the master playlist.
    SubtitleChoice(const MasterPlaylist& playlist, const URL& address,
                   const std::vector<const VariantTag*>& variants);

    std::vector<AVMediaSelectionOption> options() const;
    /// Which of them that is; `languages`: of the user, best first.
    std::optional<std::size_t> chosen(const AVSubtitleSelection& selection,
                                      const std::vector<std::string>& languages) const;
    /// Their playlists, one per group.
    const std::vector<URL>& playlists(std::size_t option) const {
        return options_.at(option).playlists;
    }

private:
    struct Option {
        AVMediaSelectionOption told{};
        bool isForced = false;
        bool isAutoselect = false;  ///< may be chosen for its language
        std::vector<URL> playlists{};
    };
    void add(const RenditionTag& tag, const URL& playlist);
    std::optional<std::size_t> chosenFor(const std::vector<std::string>& languages) const;

    std::vector<Option> options_;
};

}  // namespace korvel::platform::hls
