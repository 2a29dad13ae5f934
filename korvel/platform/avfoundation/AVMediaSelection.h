#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform {

/// One of the alternatives that a stream offers, e.g. its sound in one language.
struct AVMediaSelectionOption {
    std::string displayName{};          ///< as the stream has it; if it has none, by its language
    std::string extendedLanguageTag{};  ///< such as "de-AT"; empty if the stream does not tell
    bool isDefault = false;             ///< of those who choose nothing

    bool operator==(const AVMediaSelectionOption&) const = default;
};

/// Alternatives of which one is in use.
struct AVMediaSelectionGroup {
    std::vector<AVMediaSelectionOption> options{};  ///< in the stream's order; empty: no choice
    std::optional<std::size_t> selected{};          ///< index into them
};

}  // namespace korvel::platform
