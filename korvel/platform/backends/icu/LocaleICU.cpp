#include <korvel/platform/backends/icu/LocaleICU.h>

#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace korvel::platform {

namespace {

constexpr const char* withoutRegion = "en_US_POSIX";

struct Fixed final : Locale {
    std::string identifierValue;
    std::optional<std::string> region;
    std::vector<std::string> languages;

    std::string identifier() const override { return identifierValue; }
    std::optional<std::string> regionCode() const override { return region; }
    std::vector<std::string> preferredLanguages() const override { return languages; }
    std::string timeZone() const override { return {}; }
};

/// The first of the variables that is set and not empty.
std::string_view environment(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const char* value =
            std::getenv(name);  // NOLINT(concurrency-mt-unsafe): read once, at start
        if (value && *value) return value;
    }
    return {};
}

/// Scripts and variants that the C library's locale names write as modifiers. Others, such as
/// "euro", say nothing that ICU does not know.
std::string_view subtagOf(std::string_view modifier) {
    constexpr std::pair<std::string_view, std::string_view> known[] = {
        {"cyrillic", "Cyrl"}, {"devanagari", "Deva"}, {"latin", "Latn"}, {"valencia", "VALENCIA"}};
    for (const auto& [name, subtag] : known) {
        if (modifier == name) return subtag;
    }
    return {};
}

/// "de-AT" for "de_AT", without keywords; "und" if it names no language.
std::string languageTagOf(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    auto tag = icu::Locale(locale.getBaseName()).toLanguageTag<std::string>(status);
    return U_SUCCESS(status) ? tag : "und";
}

/// ICU's identifier for a name such as "sr_RS.UTF-8@latin".
std::string identifierOf(std::string_view name) {
    const auto modifierAt = std::min(name.find('@'), name.size());
    const std::string_view modifier = name.substr(std::min(modifierAt + 1, name.size()));
    const std::string_view base = name.substr(0, std::min(name.find('.'), modifierAt));
    if (base.empty() || base == "C" || base == "POSIX") return withoutRegion;

    std::string identifier(base);
    const std::string_view subtag = subtagOf(modifier);
    if (subtag == "VALENCIA") {
        identifier.append("_").append(subtag);
    } else if (!subtag.empty()) {
        identifier.insert(std::min(base.find('_'), base.size()), "_" + std::string(subtag));
    } else if (modifier.find('=') != std::string_view::npos) {
        identifier.append("@").append(modifier);  // ICU's own form
    }
    const icu::Locale locale(identifier.c_str());
    return languageTagOf(locale) == "und" ? withoutRegion : locale.getName();
}

std::vector<std::string> languages() {
    std::vector<std::string> tags;
    const auto add = [&](std::string_view name) {
        const auto identifier = identifierOf(name);
        auto tag =
            identifier == withoutRegion ? "en" : languageTagOf(icu::Locale(identifier.c_str()));
        if (std::find(tags.begin(), tags.end(), tag) == tags.end()) tags.push_back(std::move(tag));
    };
    for (std::string_view list = environment({"LANGUAGE"}); !list.empty();) {
        const auto end = std::min(list.find(':'), list.size());
        if (end > 0) add(list.substr(0, end));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    if (tags.empty()) add(environment({"LC_ALL", "LC_MESSAGES", "LANG"}));
    return tags;
}

}  // namespace

std::shared_ptr<Locale> makeLocaleICU() {
    auto locale = std::make_shared<Fixed>();
    locale->identifierValue = identifierOf(environment({"LC_ALL", "LC_TIME", "LANG"}));
    const std::string region = icu::Locale(locale->identifierValue.c_str()).getCountry();
    if (locale->identifierValue != withoutRegion && region.size() == 2) locale->region = region;
    locale->languages = languages();
    tzset();  // the moment at which the zone is chosen: dates that are written later keep to it
    return locale;
}

std::string canonicalLanguage(std::string_view code) {
    std::string lower(code);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char each) {
        return each >= 'A' && each <= 'Z' ? static_cast<char>(each - 'A' + 'a') : each;
    });
    if (code.size() != 3) return lower;  // tags have codes of three letters where there is no other
    UErrorCode status = U_ZERO_ERROR;
    auto locale = icu::Locale::forLanguageTag(lower, status);
    locale.canonicalize(status);
    const std::string_view found = locale.getLanguage();
    return U_FAILURE(status) || found.empty() ? lower : std::string(found);
}

std::string languageName(const std::string& tag) {
    UErrorCode status = U_ZERO_ERROR;
    const auto locale = icu::Locale::forLanguageTag(tag, status);
    if (U_FAILURE(status) || *locale.getLanguage() == '\0') return tag;
    icu::UnicodeString name;
    std::string text;
    return locale.getDisplayName(locale, name).toUTF8String(text);
}

}  // namespace korvel::platform
