#pragma once

#include <korvel/platform/foundation/URL.h>

#include <optional>
#include <string>
#include <string_view>

namespace korvel::platform::gst {

/// Schemes of our own, which no other part of the process uses: with "http" or "https" behind it,
/// or in front of a key's whole address.
inline constexpr std::string_view routedPrefix = "korvel+";
inline constexpr std::string_view keyScheme = "korvel-key";

/// The address under which our source loads `url`; nothing if that is for others to load.
std::optional<std::string> routedAddress(const URL& url);
/// The other way round.
std::optional<URL> originalAddress(std::string_view routed);

/// Whether a body that begins so is an HLS playlist.
bool isPlaylist(std::string_view beginning);

struct Playlist {
    std::string text;        ///< with every address complete and led to our source
    bool sampleAES = false;  ///< encrypted in a way that the demuxer would not notice
};

/// The playlist found at `address`, for a demuxer.
Playlist routedPlaylist(std::string_view text, const URL& address);

}  // namespace korvel::platform::gst
