#pragma once

#include <korvel/platform/foundation/Locale.h>

namespace korvel::doubles {

/// Says what the test set, before it hands the locale over.
struct FakeLocale final : platform::Locale {
    std::string chosenIdentifier = "en_US";
    std::optional<std::string> chosenRegionCode = "US";
    std::vector<std::string> chosenLanguages = {"en-US"};
    std::string chosenTimeZone = "Etc/UTC";

    std::string identifier() const override { return chosenIdentifier; }
    std::optional<std::string> regionCode() const override { return chosenRegionCode; }
    std::vector<std::string> preferredLanguages() const override { return chosenLanguages; }
    std::string timeZone() const override { return chosenTimeZone; }
};

}  // namespace korvel::doubles
