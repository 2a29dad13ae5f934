#pragma once

#include <korvel/platform/foundation/Export.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace korvel::platform {

/// Main queue.
class KORVEL_API UIDevice {
public:
    static constexpr std::int64_t orientationPortrait = 1;
    static constexpr std::int64_t orientationLandscapeRight = 4;

    /// That of the device's screen.
    static UIDevice& current();

    explicit UIDevice(std::function<void(std::int64_t)> orientationChanged);

    std::int64_t orientation() const { return orientation_; }
    /// The only key is "orientation", 0 (unknown) to 6; everything else is ignored. The screen's
    /// observers are told of a change.
    void setValue(std::int64_t value, std::string_view key);
    std::optional<std::int64_t> value(std::string_view key) const;

private:
    std::int64_t orientation_ = orientationPortrait;
    std::function<void(std::int64_t)> orientationChanged_;
};

}  // namespace korvel::platform
