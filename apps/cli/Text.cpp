#include "Text.h"

#include <korvel/platform/foundation/UTF8.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cwchar>

namespace cli {

namespace {

/// wcwidth knows characters only under a locale, and the process's own need not be a UTF-8 one.
class UnicodeLocale {
public:
    UnicodeLocale() : before_(uselocale(unicode())) {}
    ~UnicodeLocale() { uselocale(before_); }
    UnicodeLocale(const UnicodeLocale&) = delete;
    UnicodeLocale& operator=(const UnicodeLocale&) = delete;

private:
    static locale_t unicode() {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }
    locale_t before_;
};

std::size_t sizeOf(char first) {
    const auto byte = static_cast<unsigned char>(first);
    if (byte < 0x80) return 1;
    if (byte < 0xE0) return 2;
    return byte < 0xF0 ? 3 : 4;
}

/// Of the first character of well-formed UTF-8.
char32_t codePoint(std::string_view text) {
    const auto size = sizeOf(text.front());
    if (size == 1) return static_cast<unsigned char>(text.front());
    char32_t value = static_cast<unsigned char>(text.front()) & (0x7FU >> size);
    for (const char byte : text.substr(1, size - 1)) {
        value = (value << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    return value;
}

bool isHarmful(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x2028 ||
           character == 0x2029 || (character >= 0x202A && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

std::size_t columnsOf(char32_t character) {
    const int width = wcwidth(static_cast<wchar_t>(character));
    return width < 0 ? 1 : static_cast<std::size_t>(width);  // newer than the table
}

/// The longest beginning of at most `width` columns, with the accents of its last character.
std::string_view beginning(std::string_view text, std::size_t width) {
    const UnicodeLocale locale;
    std::size_t end = 0;
    for (std::size_t used = 0; end < text.size(); end += sizeOf(text[end])) {
        used += columnsOf(codePoint(text.substr(end)));
        if (used > width) break;
    }
    return text.substr(0, end);
}

}  // namespace

std::string printable(std::string_view text) {
    const auto repaired = korvel::platform::repairedUTF8(std::string(text));
    std::string_view rest = repaired;
    std::string result;
    while (!rest.empty()) {
        const auto size = sizeOf(rest.front());
        if (isHarmful(codePoint(rest))) {
            result += ' ';
        } else {
            result += rest.substr(0, size);
        }
        rest.remove_prefix(size);
    }
    return result;
}

std::size_t columns(std::string_view text) {
    const UnicodeLocale locale;
    std::size_t sum = 0;
    for (; !text.empty(); text.remove_prefix(sizeOf(text.front())))
        sum += columnsOf(codePoint(text));
    return sum;
}

std::string fitted(std::string_view text, std::size_t width) {
    if (columns(text) <= width) return std::string(text);
    if (width == 0) return {};
    return std::string(beginning(text, width - 1)) + "…";
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
    width = std::max<std::size_t>(width, 2);  // room for the widest character
    std::vector<std::string> lines;
    while (columns(text) > width) {
        auto line = beginning(text, width);
        const bool betweenWords = text[line.size()] == ' ';
        const auto blank = line.rfind(' ');
        if (!betweenWords && blank != std::string_view::npos && blank > 0) {
            line = line.substr(0, blank);
        }
        text.remove_prefix(line.size());
        while (text.starts_with(' ')) text.remove_prefix(1);
        lines.emplace_back(line);
    }
    lines.emplace_back(text);
    return lines;
}

std::string lengthOf(std::int64_t seconds) {
    std::string result;
    const auto add = [&](std::int64_t number, const char* unit) {
        if (number == 0) return;
        result += (result.empty() ? "" : " ") + std::to_string(number) + unit;
    };
    add(seconds / 3600, " h");
    add(seconds / 60 % 60, " min");
    add(seconds % 60, " s");
    return result.empty() ? "0 s" : result;
}

std::string clockTime(double seconds) {
    constexpr long minute = 60;
    constexpr long hour = 60 * minute;
    const long whole = std::lround(std::floor(seconds));
    char text[48];
    if (whole >= hour) {
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / hour, whole % hour / minute,
                      whole % minute);
    } else {
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / minute, whole % minute);
    }
    return text;
}

}  // namespace cli
