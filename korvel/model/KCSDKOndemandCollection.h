#pragma once

#include <korvel/model/KCSDKOndemandClass.h>

#include <memory>

namespace korvel {

/// A named group of classes.
class KORVEL_API KCSDKOndemandCollection : public platform::Object {
public:
    explicit KCSDKOndemandCollection(platform::DecodingKey) {}

    std::string collectionType;  ///< kind, as the service names it
    std::string collectionName;  ///< for display
    std::string collectionTag;   ///< the collection id of a collections request
    std::string creationDate;    ///< timestamp as the service's text
    std::int64_t itemCount =
        0;  ///< as the service counts; need not be the length of `collectionItems`
    /// Nothing where the service sent none, which is not the same as an empty list.
    std::optional<std::vector<std::shared_ptr<KCSDKOndemandClass>>> collectionItems;

private:
    friend platform::JSONCoding;
    using C = KCSDKOndemandCollection;
    using JSON = platform::Members<&C::collectionType, &C::collectionName, &C::collectionTag,
                                   &C::creationDate, &C::itemCount, &C::collectionItems>;
};

}  // namespace korvel
