#pragma once

#include <korvel/platform/avfoundation/AVMediaSelection.h>
#include <korvel/platform/hls/Media.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform::hls {

/// Which sound track of a container plays. Containers of one stream need not hold the same ones:
/// who was chosen is looked for in each, else somebody of that language, else what would play
/// without a choice. For its owner to lock.
class TrackChoice {
public:
    /// `languages`: of the user, best first.
    explicit TrackChoice(std::vector<std::string> languages) : languages_(std::move(languages)) {}

    /// Of all containers so far; none where there was one alone.
    AVMediaSelectionGroup group() const;
    /// As with `SoundChoice`; kept until the first container.
    bool select(const AVMediaSelectionOption& option);
    /// What was selected counts from here on, and what follows does not continue what came.
    void begin();

    struct Pick {
        std::size_t track = 0;
        bool isOther = false;  ///< than in the container before, which this one continues
    };
    /// The one to be played of a container with these, of which there is at least one.
    Pick pick(const std::vector<SoundTrack>& tracks);
    /// The same where the playlists say which language is to be heard, and it is no choice of ours.
    Pick pick(const std::vector<SoundTrack>& tracks, const std::string& language);

private:
    using Options = std::vector<AVMediaSelectionOption>;
    static Options optionsOf(const std::vector<SoundTrack>& tracks);
    void offer(const Options& there);
    std::optional<std::size_t> wantedOf(const std::vector<SoundTrack>& tracks,
                                        const Options& there) const;
    Pick picked(const Options& there, std::size_t track);
    std::optional<std::size_t> indexOf(std::string_view name) const;

    const std::vector<std::string> languages_;
    Options options_;                             ///< a name is there once
    std::optional<AVMediaSelectionOption> wish_;  ///< of before the first container
    std::optional<std::size_t> wanted_;           ///< of the options; nothing: nobody chose
    std::optional<std::size_t> current_;          ///< who counts since the last beginning
    std::string playing_;                         ///< by name
    bool hasBegun_ = false;                       ///< something was picked since the last beginning
    bool isMixed_ = false;                        ///< and it was not always the same
};

}  // namespace korvel::platform::hls
