#pragma once

#include <korvel/platform/avfoundation/AVMediaSelection.h>
#include <korvel/platform/hls/Attention.h>
#include <korvel/platform/hls/Playlist.h>
#include <korvel/platform/hls/TrackChoice.h>

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform::hls {

/// Which of a stream's sounds is loaded, and from where. Variants name groups of them that hold the
/// same ones, each at an address of its own, or, without one, within the variant itself. Where they
/// leave no choice the tracks of the containers are one. Who is chosen changes between generations
/// alone, in which all loaders agree. Any thread.
class SoundChoice {
public:
    /// `variants`: those that may be played. `address`: of the master playlist.
    SoundChoice(const MasterPlaylist& playlist, const URL& address,
                const std::vector<const VariantTag*>& variants,
                const std::vector<std::string>& languages);

    AVMediaSelectionGroup group() const;
    /// Counts from the next generation on. False if it is what counts already, or there is no such
    /// one, or nobody knows yet what there is: then it counts at once when that is known.
    bool select(const AVMediaSelectionOption& option);
    /// That generation begins. Whether its sound comes apart from the variants.
    bool begin(Attention::Generation generation);
    /// Sound is to be of this variant's group.
    void follow(std::size_t variant);

    /// All that sound is loaded from.
    const std::vector<URL>& playlists() const { return playlists_; }
    /// From which of them it is now, if it comes apart.
    std::size_t playlist() const;
    /// Likewise, with this variant; nothing: from the variant itself.
    std::optional<URL> playlistFor(std::size_t variant) const;

    /// A container that is to bring the sound holds these.
    TrackChoice::Pick pick(const std::vector<SoundTrack>& tracks);

private:
    struct Option {
        AVMediaSelectionOption told{};
        bool isAutoselect = false;
        std::vector<std::optional<std::size_t>> places{};  ///< by group; nothing: comes not apart
    };
    void add(const RenditionTag& tag, std::size_t group, const URL& address);
    /// Else the choice is one of tracks.
    bool hasChoice() const { return options_.size() > 1 || !playlists_.empty(); }
    std::size_t chosenFor(const std::vector<std::string>& languages) const;
    std::optional<std::size_t> placeLocked(std::size_t group) const;

    std::vector<URL> playlists_;
    std::vector<Option> options_;
    std::vector<std::string> groups_;
    std::vector<std::size_t> groupOf_;  ///< by variant

    mutable std::mutex mutex_;
    TrackChoice tracks_;
    Attention::Generation generation_ = 0;
    std::size_t wanted_ = 0;
    std::size_t current_ = 0;
    std::size_t group_ = 0;
};

}  // namespace korvel::platform::hls
