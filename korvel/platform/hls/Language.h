#pragma once

#include <string_view>

namespace korvel::platform::hls {

/// Of two language tags. 2: the same language and region; 1: the same language; 0: neither, or one
/// is empty.
int likeness(std::string_view one, std::string_view other);

}  // namespace korvel::platform::hls
