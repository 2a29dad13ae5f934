#pragma once

#include <string>
#include <string_view>

namespace korvel::service {

/// 32 hexadecimal digits from the cryptographic random source.
std::string freshCode();
/// Twelve hexadecimal digits that depend on `name` alone.
std::string stableId(std::string_view name);
/// The value of an "Authorization" header for client credentials.
std::string basicCredential(std::string_view apiKey, std::string_view secretKey);

}  // namespace korvel::service
