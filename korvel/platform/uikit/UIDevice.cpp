#include <korvel/platform/uikit/UIDevice.h>

#include <utility>

namespace korvel::platform {

namespace {

constexpr std::string_view orientationKey = "orientation";
constexpr std::int64_t lastOrientation = 6;

}  // namespace

UIDevice::UIDevice(std::function<void(std::int64_t)> orientationChanged)
    : orientationChanged_(std::move(orientationChanged)) {}

void UIDevice::setValue(std::int64_t value, std::string_view key) {
    if (key != orientationKey || value < 0 || value > lastOrientation) return;
    if (std::exchange(orientation_, value) != value) orientationChanged_(value);
}

std::optional<std::int64_t> UIDevice::value(std::string_view key) const {
    return key == orientationKey ? std::optional(orientation_) : std::nullopt;
}

}  // namespace korvel::platform
