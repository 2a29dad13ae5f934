#pragma once

#include <korvel/platform/foundation/JSONRecord.h>
#include <korvel/platform/foundation/Object.h>

#include <cstdint>
#include <optional>
#include <string>

namespace korvel {

/// What the classes of a search have to match. A criterion that holds nothing is not sent; an empty
/// text is. Nothing is checked or formatted: the service gets what the host set, as it is when the
/// search is asked for; later changes do not count.
class KORVEL_API KCSDKOndemandFilterRequest : public platform::Object {
public:
    KCSDKOndemandFilterRequest() = default;

    std::optional<std::string> classLanguage;
    std::optional<std::string> dir;  ///< sort direction
    std::optional<std::string> duration;
    std::optional<std::string> equipment;
    std::optional<std::string> intensity;
    std::optional<std::string> keywords;
    std::optional<std::string> level;
    std::optional<std::string> provider;
    std::int64_t skip = 0;            ///< matches to leave out before the page
    std::optional<std::string> sort;  ///< sort key
    std::optional<std::string> type;  ///< class type
    std::int64_t take = 100;          ///< length of the page
    std::optional<std::string> query;

private:
    friend platform::JSONCoding;
    using C = KCSDKOndemandFilterRequest;

    // Criteria that the service knows and hosts must not set; they only travel through coding.
    std::optional<std::string> favourites;
    std::optional<std::string> languageTag;
    std::optional<std::string> skill;

    using JSON =
        platform::Members<&C::classLanguage, &C::dir, &C::duration, &C::equipment, &C::favourites,
                          &C::intensity, &C::keywords, &C::languageTag, &C::level, &C::provider,
                          &C::skill, &C::skip, &C::sort, &C::type, &C::take, &C::query>;
};

}  // namespace korvel
