#pragma once

#include <korvel/platform/foundation/Export.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::platform {

/// What the device's user chose. Any thread.
class KORVEL_API Locale {
public:
    virtual ~Locale();
    /// ICU identifier such as "de_AT" or "ar_EG@calendar=islamic"; decides digits and calendar of
    /// dates.
    virtual std::string identifier() const = 0;
    /// Two-letter region such as "AT"; nothing if the locale names none.
    virtual std::optional<std::string> regionCode() const = 0;
    /// Language codes such as "de-AT", most wanted first; at least one.
    virtual std::vector<std::string> preferredLanguages() const = 0;
    /// Olson name such as "Europe/Vienna"; empty: the zone that the C library keeps, which has a
    /// name only by chance.
    virtual std::string timeZone() const = 0;
};

/// What tags call a language ("de"), by any of its codes ("ger", "deu", "DE"). What is no code that
/// is known comes back in lower case. Any thread.
KORVEL_API std::string canonicalLanguage(std::string_view code);
/// What its speakers call the language of a tag: "Deutsch (Österreich)" for "de-AT"; the tag itself
/// where that is not known. Any thread.
KORVEL_API std::string languageName(const std::string& tag);

}  // namespace korvel::platform
