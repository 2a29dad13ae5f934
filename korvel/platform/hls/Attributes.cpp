#include <korvel/platform/hls/Attributes.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace korvel::platform::hls {

namespace {

constexpr std::size_t mostAttributes = 64;
constexpr double longestSeconds = 86'400;
constexpr std::size_t longestLine = std::size_t{64} << 10U;
constexpr std::uint64_t largestOffset = std::uint64_t{1} << 62U;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

template <class Number> std::optional<Number> numberIn(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+')) text.remove_prefix(1);
    Number number{};
    const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() ? std::optional(number) : std::nullopt;
}

int digitOf(char character) {
    const auto digits = std::string_view("0123456789abcdef");
    const char lower =
        character >= 'A' && character <= 'F' ? static_cast<char>(character - 'A' + 'a') : character;
    const auto found = digits.find(lower);
    return found == digits.npos ? -1 : static_cast<int>(found);
}

}  // namespace

Attributes::Attributes(std::string_view list) {
    while (!list.empty() && all_.size() < mostAttributes) {
        const auto equals = list.find('=');
        if (equals == list.npos) return;
        const auto name = trimmed(list.substr(0, equals));
        list.remove_prefix(equals + 1);
        list.remove_prefix(std::min(list.find_first_not_of(' '), list.size()));
        const bool isQuoted = list.starts_with('"');
        if (isQuoted) list.remove_prefix(1);
        const auto end = std::min(list.find(isQuoted ? '"' : ','), list.size());
        const auto value = list.substr(0, end);
        all_.emplace_back(name, isQuoted ? value : trimmed(value));
        list.remove_prefix(end);
        list.remove_prefix(std::min(list.find(','), list.size()));
        if (!list.empty()) list.remove_prefix(1);
    }
}

std::optional<std::string_view> Attributes::operator[](std::string_view name) const {
    const auto found = std::find_if(all_.begin(), all_.end(),
                                    [&](const auto& each) { return each.first == name; });
    return found == all_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::int64_t> integerIn(std::string_view text) {
    return numberIn<std::int64_t>(text);
}

std::optional<double> decimalIn(std::string_view text) {
    const auto number = numberIn<double>(text);
    return number && std::isfinite(*number) ? number : std::nullopt;
}

std::optional<std::chrono::nanoseconds> secondsIn(std::string_view text) {
    const auto number = decimalIn(text);
    if (!number || std::abs(*number) > longestSeconds) return std::nullopt;
    return std::chrono::nanoseconds(std::llround(*number * 1e9));
}

std::optional<std::chrono::nanoseconds> dateIn(std::string_view text) {
    using namespace std::chrono;
    const auto number = [&](std::size_t at, std::size_t size) {
        int value = -1;
        const auto part = text.size() < at + size ? std::string_view() : text.substr(at, size);
        const auto [last, error] = std::from_chars(part.data(), part.data() + part.size(), value);
        return error == std::errc() && last == part.data() + part.size() ? value : -1;
    };
    const year_month_day day{year(number(0, 4)), month(static_cast<unsigned>(number(5, 2))),
                             std::chrono::day(static_cast<unsigned>(number(8, 2)))};
    const int hour = number(11, 2);
    const int minute = number(14, 2);
    const auto second = text.size() < 18 ? std::nullopt : decimalIn(text.substr(17));
    if (!day.ok() || day.year() < year(1970) || day.year() > year(2199) || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || !second || *second < 0 || *second > 60)
        return std::nullopt;
    nanoseconds date = sys_days(day).time_since_epoch() + hours(hour) + minutes(minute) +
                       nanoseconds(std::llround(*second * 1e9));
    const auto zone = text.find_first_of("+-", 17);
    if (zone == text.npos) return date;
    const bool hasColon = text.size() > zone + 3 && text[zone + 3] == ':';
    const auto ahead = hours(std::max(number(zone + 1, 2), 0)) +
                       minutes(std::max(number(zone + (hasColon ? 4 : 3), 2), 0));
    return text[zone] == '+' ? date - ahead : date + ahead;
}

std::optional<ByteRange> byteRangeIn(std::string_view text, std::uint64_t next) {
    const auto at = text.find('@');
    const auto length = numberIn<std::uint64_t>(text.substr(0, at));
    const auto offset = at == text.npos ? next : numberIn<std::uint64_t>(text.substr(at + 1));
    if (!length || !offset || *length == 0) return std::nullopt;
    if (*length > largestOffset || *offset > largestOffset) return std::nullopt;
    return ByteRange{*offset, *length};
}

std::optional<InitializationVector> initializationVectorIn(std::string_view text) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) return std::nullopt;
    text.remove_prefix(2);
    InitializationVector vector{};
    if (text.empty() || text.size() > 2 * vector.size()) return std::nullopt;
    std::size_t place = 2 * vector.size();
    for (auto each = text.rbegin(); each != text.rend(); ++each) {
        const int digit = digitOf(*each);
        if (digit < 0) return std::nullopt;
        --place;
        vector.at(place / 2) =
            static_cast<std::uint8_t>(vector.at(place / 2) | (place % 2 == 1 ? digit : digit << 4));
    }
    return vector;
}

std::string substituted(std::string_view line, const Definitions& definitions) {
    std::string whole;
    std::string_view rest = line;
    while (true) {
        const auto begin = rest.find("{$");
        const auto end = begin == rest.npos ? rest.npos : rest.find('}', begin);
        if (end == rest.npos) return whole.append(rest);
        const auto found = definitions.find(rest.substr(begin + 2, end - begin - 2));
        whole.append(rest.substr(0, found == definitions.end() ? end + 1 : begin));
        if (found != definitions.end()) whole.append(found->second);
        rest.remove_prefix(end + 1);
        if (whole.size() > longestLine) return std::string(line);
    }
}

}  // namespace korvel::platform::hls
