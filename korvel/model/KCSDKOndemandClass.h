#pragma once

#include <korvel/platform/foundation/JSONRecord.h>
#include <korvel/platform/foundation/Object.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace korvel {

/// One class of the catalogue: what a host lists, and what the player is started with. Only the
/// service's answers make one. Plain data without locks; members left empty were absent from the
/// answer.
class KORVEL_API KCSDKOndemandClass : public platform::Object {
public:
    explicit KCSDKOndemandClass(platform::DecodingKey) {}

    std::string tag;                             ///< the class identifier
    std::string className;                       ///< title
    std::string classDescription;                ///< long description
    std::optional<std::string> classCategories;  ///< one text as the service words it, not a list
    std::optional<std::string> languageTag;      ///< such as "de-DE"
    std::optional<std::string> languageName;     ///< for display
    std::optional<std::string> providerID;
    std::optional<std::string> provider;  ///< for display
    std::int64_t intensity = 0;
    std::int64_t skill = 0;
    std::optional<std::int64_t> calorieBurn;  ///< kilocalories, estimated
    std::int64_t durationSecond = 0;
    std::string durationMinutes;  ///< the service's own text, not derived from `durationSecond`
    std::optional<std::vector<std::string>> equipmentNames;
    bool equipmentTypes = false;   ///< a flag here, a text in `KCSDKSearchItem`
    std::string creationDate;      ///< timestamp as the service's text
    std::string lastModifiedDate;  ///< timestamp as the service's text
    bool favourite = false;        ///< marked by this user
    std::optional<std::string> trailerLinkMobile;
    std::optional<std::string> trailerName;
    std::optional<std::string> imageLink;
    std::optional<std::string> streamingLink;

private:
    friend platform::JSONCoding;
    using C = KCSDKOndemandClass;
    using JSON =
        platform::Members<&C::tag, &C::className, &C::classDescription, &C::classCategories,
                          &C::languageTag, &C::languageName, &C::providerID, &C::provider,
                          &C::intensity, &C::skill, &C::calorieBurn, &C::durationSecond,
                          &C::durationMinutes, &C::equipmentNames, &C::equipmentTypes,
                          &C::creationDate, &C::lastModifiedDate, &C::favourite,
                          &C::trailerLinkMobile, &C::trailerName, &C::imageLink, &C::streamingLink>;
};

}  // namespace korvel
