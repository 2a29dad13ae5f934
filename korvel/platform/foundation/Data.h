#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace korvel::platform {

/// Raw bytes: request and response bodies, keychain values, certificates.
using Data = std::vector<std::uint8_t>;

/// The bytes of `text`, copied.
inline Data bytesOf(std::string_view text) { return Data(text.begin(), text.end()); }

/// `data` seen as text without copying or checking it. Borrowed: valid as long as `data` is
/// unchanged.
inline std::string_view viewOf(const Data& data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

}  // namespace korvel::platform
