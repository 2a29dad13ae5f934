#include <service/ClassFilter.h>

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <optional>

namespace korvel::service {

namespace {

std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const auto end = std::min(text.find(separator), text.size());
        std::string_view part = text.substr(0, end);
        while (part.starts_with(' ')) part.remove_prefix(1);
        while (part.ends_with(' ')) part.remove_suffix(1);
        if (!part.empty()) parts.emplace_back(part);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

std::string criterion(const nlohmann::json& criteria, const char* name) {
    const auto found = criteria.find(name);
    return found != criteria.end() && found->is_string() ? folded(found->get<std::string>()) : "";
}

std::optional<std::int64_t> number(std::string_view text) {
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ec != std::errc{}) return std::nullopt;
    return value;
}

bool isOneOf(const std::vector<std::string>& wanted, const std::string& value) {
    return wanted.empty() || std::find(wanted.begin(), wanted.end(), value) != wanted.end();
}

bool haveCommon(const std::vector<std::string>& wanted, const std::vector<std::string>& values) {
    return wanted.empty() || std::find_first_of(wanted.begin(), wanted.end(), values.begin(),
                                                values.end()) != wanted.end();
}

}  // namespace

std::string folded(std::string_view text) {
    std::string result(text);
    unsigned char previous = 0;
    for (char& character : result) {
        const auto byte = static_cast<unsigned char>(character);
        const bool ascii = byte >= 'A' && byte <= 'Z';
        // À to Þ, without the multiplication sign
        const bool latin = previous == 0xC3 && byte >= 0x80 && byte <= 0x9E && byte != 0x97;
        // Ō to Ŷ: capitals are the even ones
        const bool extended = previous == 0xC5 && byte >= 0x8C && byte <= 0xB6 && byte % 2 == 0;
        if (ascii || latin) character = static_cast<char>(byte + 0x20);
        if (extended) character = static_cast<char>(byte + 1);
        previous = byte;
    }
    return result;
}

Order Order::named(std::string_view key, std::string_view direction) {
    Order order{.descending = folded(direction) == "desc"};
    if (key == "date") order.key = SortKey::date;
    if (key == "duration") order.key = SortKey::duration;
    if (key == "intensity") order.key = SortKey::intensity;
    if (key == "calories") order.key = SortKey::calories;
    return order;
}

bool Order::before(const ClassTraits& left, const ClassTraits& right) const {
    const ClassTraits& lesser = descending ? right : left;
    const ClassTraits& greater = descending ? left : right;
    switch (key) {
        case SortKey::date:
            return lesser.creationDate < greater.creationDate;
        case SortKey::duration:
            return lesser.minutes < greater.minutes;
        case SortKey::intensity:
            return lesser.intensity < greater.intensity;
        case SortKey::calories:
            return lesser.calories < greater.calories;
        case SortKey::name:
            break;
    }
    return lesser.name < greater.name;
}

ClassFilter::Range ClassFilter::Range::of(std::string_view text) {
    Range range;
    if (text.empty()) return range;
    const auto dash = text.find('-');
    const auto least = number(text.substr(0, dash));
    if (least) range.least = *least;
    const auto most = dash == std::string_view::npos ? least : number(text.substr(dash + 1));
    if (most) range.most = *most;
    return range;
}

ClassFilter::ClassFilter(const nlohmann::json& criteria)
    : words_(split(criterion(criteria, "keywords"), ' ')),
      phrase_(criterion(criteria, "query")),
      types_(split(criterion(criteria, "type"), ',')),
      languages_(split(criterion(criteria, "classLanguage"), ',')),
      providers_(split(criterion(criteria, "provider"), ',')),
      equipments_(split(criterion(criteria, "equipment"), ',')),
      minutes_(Range::of(criterion(criteria, "duration"))),
      intensity_(Range::of(criterion(criteria, "intensity"))),
      skill_(Range::of(criterion(criteria, "level"))),
      order_(Order::named(criterion(criteria, "sort"), criterion(criteria, "dir"))) {}

bool ClassFilter::matches(const ClassTraits& traits) const {
    const bool hasWords = std::all_of(words_.begin(), words_.end(), [&](const std::string& word) {
        return traits.text.find(word) != std::string::npos;
    });
    return hasWords && traits.text.find(phrase_) != std::string::npos &&
           isOneOf(types_, traits.category) && isOneOf(providers_, traits.provider) &&
           haveCommon(languages_, traits.languages) && haveCommon(equipments_, traits.equipments) &&
           minutes_.holds(traits.minutes) && intensity_.holds(traits.intensity) &&
           skill_.holds(traits.skill);
}

}  // namespace korvel::service
