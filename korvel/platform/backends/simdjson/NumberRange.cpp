#include <korvel/platform/backends/simdjson/NumberRange.h>

#include <simdjson.h>

#include <algorithm>
#include <string_view>

namespace korvel::platform {
namespace {

constexpr std::string_view replacement = "0.5";

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isNumberCharacter(char character) {
    return isDigit(character) || character == '-' || character == '+' || character == '.' ||
           character == 'e' || character == 'E';
}

/// Drops the leading digits; false if there are none.
bool skipDigits(std::string_view& text) {
    const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
    const bool any = end != text.begin();
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    return any;
}

bool skipOneOf(std::string_view& text, std::string_view characters) {
    const bool found = !text.empty() && characters.find(text.front()) != std::string_view::npos;
    if (found) text.remove_prefix(1);
    return found;
}

bool isNumber(std::string_view text) {
    skipOneOf(text, "-");
    if (!skipOneOf(text, "0") && !skipDigits(text)) return false;
    if (skipOneOf(text, ".") && !skipDigits(text)) return false;
    if (skipOneOf(text, "eE")) {
        skipOneOf(text, "+-");
        if (!skipDigits(text)) return false;
    }
    return text.empty();
}

char* endOfText(char* text, char* end) {
    while (++text < end && *text != '"') {
        if (*text == '\\') ++text;
    }
    return std::min(text + 1, end);
}

}  // namespace

bool replaceNumbersOutOfRange(char* text, std::size_t size) {
    simdjson::dom::parser parser;  // the judge of range is the parser that complained
    simdjson::dom::element ignored;
    char* const end = text + size;
    bool replaced = false;
    while (text < end) {
        if (*text == '"') {
            text = endOfText(text, end);
        } else if (!isNumberCharacter(*text)) {
            ++text;
        } else {
            char* const token = text;
            text = std::find_if_not(token, end, isNumberCharacter);
            const std::string_view number(token, static_cast<std::size_t>(text - token));
            if (number.size() > replacement.size() && isNumber(number) &&
                parser.parse(number.data(), number.size()).get(ignored) != simdjson::SUCCESS) {
                std::fill(std::copy(replacement.begin(), replacement.end(), token), text, ' ');
                replaced = true;
            }
        }
    }
    return replaced;
}

}  // namespace korvel::platform
