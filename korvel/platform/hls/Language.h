#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform::hls {

/// Of two language tags. 2: the same language and region; 1: the same language; 0: neither, or one
/// is empty. "de", "deu" and "ger" are the same.
int likeness(std::string_view one, std::string_view other);

/// The tag of what a container calls its language, a code of ISO 639-2 or a tag itself: "de" for
/// "ger", "de-AT" for "DEU-AT". Empty for what names no language, and for nonsense.
std::string languageTag(std::string_view told);

/// One of several that are told apart by their languages.
struct Spoken {
    std::string_view language;
    bool isDefault = false;
    bool isAutoselect = false;  ///< may be chosen for its language
};

/// The one that a user understands best who understands these `languages`, best first.
std::optional<std::size_t> bestOf(const std::vector<Spoken>& all,
                                  const std::vector<std::string>& languages);

}  // namespace korvel::platform::hls
