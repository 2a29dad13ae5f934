#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace korvel::service {

using ContentKey = std::array<std::uint8_t, 16>;

/// The key of the stream with that identifier; the same on every machine. For development: whoever
/// reads this source can make it too.
ContentKey contentKey(std::string_view identifier);

}  // namespace korvel::service
