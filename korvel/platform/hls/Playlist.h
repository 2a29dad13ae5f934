#pragma once

#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/URL.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace korvel::platform::hls {

/// Variables of a master playlist that its media playlists may import.
using Definitions = std::map<std::string, std::string, std::less<>>;

struct ByteRange {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
    bool operator==(const ByteRange&) const = default;
};

using InitializationVector = std::array<std::uint8_t, 16>;

struct KeyTag {
    std::string method{};  ///< never "NONE": then there is no tag
    std::string uri{};     ///< as written
    std::optional<InitializationVector> iv{};
    bool operator==(const KeyTag&) const = default;
};

/// The initialization section of fragments.
struct MapTag {
    std::string uri{};
    std::optional<ByteRange> range{};
    std::shared_ptr<const KeyTag> key{};
};

struct Segment {
    std::string uri{};  ///< as written
    std::optional<ByteRange> range{};
    std::int64_t number = 0;           ///< media sequence number, without holes in a playlist
    std::chrono::nanoseconds start{};  ///< on the playlist's time line
    std::chrono::nanoseconds duration{};
    std::int64_t discontinuity = 0;  ///< discontinuity sequence number
    std::shared_ptr<const KeyTag> key{};
    std::shared_ptr<const MapTag> map{};
    bool isGap = false;
    /// When it was recorded, since the beginning of 1970; nothing where nobody tells.
    std::optional<std::chrono::nanoseconds> date{};

    std::chrono::nanoseconds end() const { return start + duration; }
};

struct MediaPlaylist {
    std::vector<Segment> segments{};  ///< in order of time
    std::chrono::nanoseconds targetDuration = std::chrono::seconds(6);
    std::optional<std::chrono::nanoseconds> startOffset{};  ///< negative: from the end
    bool isEnded = false;                                   ///< no segment will be added or removed

    /// Where the last segment ends.
    std::chrono::nanoseconds end() const;
};

struct VariantTag {
    std::string uri{};
    std::int64_t bandwidth = 0;
    int width = 0;
    int height = 0;
    double frameRate = 0;
    std::string codecs{};
    std::string audio{};      ///< group of its sound; empty: none but its own
    std::string subtitles{};  ///< group of its subtitles; empty: none
};

struct RenditionTag {
    enum class Type { audio, subtitles, other };
    Type type = Type::other;
    std::string group{};
    std::string name{};
    std::string language{};
    std::string uri{};  ///< empty: in the variant itself
    bool isDefault = false;
    bool isAutoselect = false;
    bool isForced = false;  ///< subtitles of what nobody who hears the sound understands
};

struct MasterPlaylist {
    std::vector<VariantTag> variants{};
    std::vector<RenditionTag> renditions{};
    std::vector<KeyTag> sessionKeys{};
    Definitions definitions{};
};

using Playlist = std::variant<MasterPlaylist, MediaPlaylist, NSError>;

/// The longest playlist that is read, in bytes.
inline constexpr std::size_t longestPlaylist = std::size_t{8} << 20U;

/// Whether a body that begins so is a playlist.
bool isPlaylist(std::string_view beginning);

/// Reads the playlist that came from `address`. Tags that it does not know are passed over;
/// whatever `text` holds, time and memory stay in proportion to it.
Playlist readPlaylist(std::string_view text, const URL& address, const Definitions& imported = {});

/// `fresh`, loaded after `old` from the same address, brought onto the time line and the
/// discontinuity numbers of `old`: by the numbers of their segments, else by their dates, else by
/// how many were missed. `old` where `fresh` is an older state of it, which another machine of the
/// server still had.
MediaPlaylist merged(const MediaPlaylist& old, MediaPlaylist fresh);

/// `list`, of another variant or rendition, brought onto the line of the live `reference`: by their
/// dates, else by the numbers of their segments, which usually count alike, else by their ends,
/// unless it is placed on that line already.
MediaPlaylist aligned(const MediaPlaylist& reference, MediaPlaylist list, bool isPlaced = false);

/// `reference` of a playlist as an address: what may not stand in one is percent-encoded first.
std::optional<URL> resolved(const URL& base, std::string_view reference);

/// Whether what came from `parent` may lead there: http and https alone, and not from https down to
/// http.
bool mayLead(const URL& parent, const URL& child);
bool isWebScheme(const URL& url);

}  // namespace korvel::platform::hls
