#include <korvel/platform/uikit/UIColor.h>

#include <array>
#include <charconv>
#include <cstdint>

namespace korvel::platform {

std::optional<UIColor> UIColor::parse(std::string_view hexadecimal) {
    if (!hexadecimal.starts_with('#')) return std::nullopt;
    hexadecimal.remove_prefix(1);
    if (hexadecimal.size() != 6 && hexadecimal.size() != 8) return std::nullopt;
    std::array<float, 4> parts{0, 0, 0, 1};
    for (std::size_t index = 0; index < hexadecimal.size() / 2; ++index) {
        const char* first = hexadecimal.data() + 2 * index;
        std::uint8_t value = 0;
        if (std::from_chars(first, first + 2, value, 16).ptr != first + 2) return std::nullopt;
        parts[index] = static_cast<float>(value) / 255;
    }
    return UIColor{parts[0], parts[1], parts[2], parts[3]};
}

}  // namespace korvel::platform
