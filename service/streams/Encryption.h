#pragma once

#include <service/ContentKeys.h>

#include <filesystem>
#include <string>

namespace korvel::service {

/// Copies a stream of transport segments and its playlist from one folder to another with every
/// segment encrypted whole (AES-128, CBC). `keyAddress` goes into the playlist as it stands.
/// Throws std::runtime_error.
void encryptStream(const std::filesystem::path& from, const std::filesystem::path& to,
                   const ContentKey& key, const std::string& keyAddress);

}  // namespace korvel::service
