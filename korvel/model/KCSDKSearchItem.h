#pragma once

#include <korvel/model/KCSDKOndemandClass.h>

#include <memory>

namespace korvel {

/// One match of a search.
class KORVEL_API KCSDKSearchItem : public platform::Object {
public:
    explicit KCSDKSearchItem(platform::DecodingKey) {}

    std::string equipmentTypes;                        ///< one text here, a flag in `virtualClass`
    std::string classTag;                              ///< need not be `virtualClass->tag`
    std::shared_ptr<KCSDKOndemandClass> virtualClass;  ///< the class to show or play; never null

private:
    friend platform::JSONCoding;
    using C = KCSDKSearchItem;
    using JSON = platform::Members<&C::equipmentTypes, &C::classTag, &C::virtualClass>;
};

}  // namespace korvel
