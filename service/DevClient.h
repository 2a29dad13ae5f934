#pragma once

#include <filesystem>
#include <string>

namespace korvel::service {

/// What a running service says at `path` ("/dev/state") of its development interface. Throws
/// std::runtime_error if it says nothing. `caFile`: the service's authority; empty for plain HTTP.
std::string readDevInterface(const std::string& baseURL, const std::filesystem::path& caFile,
                             const std::string& path);

}  // namespace korvel::service
