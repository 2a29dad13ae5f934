#pragma once

#include <korvel/platform/foundation/URL.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace korvel::platform::gst {

/// How an HLS stream says it is encrypted.
struct Encryption {
    bool sampleAES = false;
    std::set<std::string> keySchemes;  ///< of AES-128 keys, in lower case

    bool operator==(const Encryption&) const = default;
};

/// What stands in one playlist; `variant` becomes the first variant's address if it is a master's.
Encryption encryptionIn(std::string_view playlist, const URL& address, std::optional<URL>& variant);

/// Loads the playlist, and its first variant if it is a master's: why a demuxer failed, it does not
/// say. Waits for the network, some seconds at most; `cancelled` is asked meanwhile.
Encryption inspectPlaylist(const URL& address, const std::function<bool()>& cancelled);

}  // namespace korvel::platform::gst
