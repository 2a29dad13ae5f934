#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/foundation/Export.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace korvel::platform {

/// A folder of resources: images, certificates, storyboards. A value; any thread.
class KORVEL_API Bundle {
public:
    Bundle(std::string identifier, std::filesystem::path folder);

    const std::string& bundleIdentifier() const { return identifier_; }
    const std::filesystem::path& bundlePath() const { return folder_; }

    /// Path of the file `name`.`extension` (no dot if the extension is empty); nothing if there is
    /// none.
    std::optional<std::filesystem::path> path(std::string_view name,
                                              std::string_view extension) const;
    /// Its content; nothing if there is none or it cannot be read.
    std::optional<Data> contents(std::string_view name, std::string_view extension) const;

private:
    std::string identifier_;
    std::filesystem::path folder_;
};

}  // namespace korvel::platform
