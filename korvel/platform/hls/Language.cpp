#include <korvel/platform/foundation/Locale.h>
#include <korvel/platform/hls/Language.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace korvel::platform::hls {

namespace {

constexpr std::array<std::string_view, 4> noLanguage{"und", "mul", "mis", "zxx"};

char lower(char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
}

std::string lowered(std::string_view text) {
    std::string all(text);
    std::transform(all.begin(), all.end(), all.begin(), lower);
    return all;
}

std::string languageOf(std::string_view tag) {
    return canonicalLanguage(tag.substr(0, tag.find('-')));
}

std::string regionOf(std::string_view tag) {
    const auto hyphen = tag.find('-');
    return hyphen == tag.npos ? std::string() : std::string(tag.substr(hyphen));
}

}  // namespace

int likeness(std::string_view one, std::string_view other) {
    if (one.empty() || other.empty() || languageOf(one) != languageOf(other)) return 0;
    return lowered(regionOf(one)) == lowered(regionOf(other)) ? 2 : 1;
}

std::string languageTag(std::string_view told) {
    constexpr std::size_t longest = 35;
    const auto isLetter = [](unsigned char each) { return each < 128 && std::isalpha(each) != 0; };
    const auto isInTag = [](unsigned char each) {
        return each < 128 && (std::isalnum(each) != 0 || each == '-');
    };
    if (told.size() > longest) return {};
    // Mostly no language is told, for which the library need not load its data.
    const auto code = lowered(told.substr(0, told.find('-')));
    if (std::find(noLanguage.begin(), noLanguage.end(), code) != noLanguage.end()) return {};
    const auto name = languageOf(told);
    if (name.size() < 2 || name.size() > 8 || !std::all_of(name.begin(), name.end(), isLetter) ||
        !std::all_of(told.begin(), told.end(), isInTag))
        return {};
    return name + regionOf(told);
}

std::optional<std::size_t> bestOf(const std::vector<Spoken>& all,
                                  const std::vector<std::string>& languages) {
    for (const std::string& language : languages) {
        std::optional<std::size_t> best;
        int most = 0;
        for (std::size_t i = 0; i < all.size(); ++i) {
            const int found = likeness(all[i].language, language);
            if (!all[i].isAutoselect || found == 0) continue;
            const int worth = 2 * found + (all[i].isDefault ? 1 : 0);
            if (worth > most) best = i;
            most = std::max(most, worth);
        }
        if (best) return best;
    }
    return std::nullopt;
}

}  // namespace korvel::platform::hls
