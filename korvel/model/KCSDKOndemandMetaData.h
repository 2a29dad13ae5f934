#pragma once

#include <korvel/model/MinMaxType.h>
#include <korvel/model/ValueType.h>
#include <korvel/platform/foundation/Object.h>

#include <string>
#include <vector>

namespace korvel {

/// The values by which classes can be filtered.
class KORVEL_API KCSDKOndemandMetaData : public platform::Object {
public:
    explicit KCSDKOndemandMetaData(platform::DecodingKey) {}

    std::vector<std::string> classTypes;
    std::vector<ValueType> equipments;
    std::vector<ValueType> language;  ///< a list, although the service's key is singular
    std::vector<std::string> providers;
    MinMaxType duration;  ///< shortest and longest class
    MinMaxType intensity;

private:
    friend platform::JSONCoding;
    using C = KCSDKOndemandMetaData;
    using JSON = platform::Members<&C::classTypes, &C::equipments, &C::language, &C::providers,
                                   &C::duration, &C::intensity>;
};

}  // namespace korvel
