#include <korvel/platform/hls/Language.h>

#include <algorithm>
#include <cctype>

namespace korvel::platform::hls {

int likeness(std::string_view one, std::string_view other) {
    const auto isSame = [](std::string_view first, std::string_view second) {
        return std::equal(
            first.begin(), first.end(), second.begin(), second.end(),
            [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
    };
    if (one.empty() || other.empty()) return 0;
    if (isSame(one, other)) return 2;
    return isSame(one.substr(0, one.find('-')), other.substr(0, other.find('-'))) ? 1 : 0;
}

}  // namespace korvel::platform::hls
