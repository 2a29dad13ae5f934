// Any bytes as any record: no crash, and what decodes comes back the same from its own encoding.
#include "Require.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/model/KCSDKConsentRequest.h>
#include <korvel/model/KCSDKLoginRequest.h>
#include <korvel/model/KCSDKOndemandCkcToken.h>
#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/model/KCSDKOndemandResultRequest.h>
#include <korvel/model/KCSDKUser.h>
#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/foundation/JSONEncoder.h>

#include <cstddef>

namespace {

using namespace korvel;
using platform::Data;
using platform::decodeJSON;
using platform::DecodingError;
using platform::JSONEncoder;

template <class T> void tryAs(const Data& body) {
    DecodingError error;
    const auto value = decodeJSON<T>(body, &error);
    require(value || !error.reason.empty(), "a failure has a reason");
    if (!value) return;
    const auto encoded = JSONEncoder().encode(*value);
    require(encoded.has_value(), "what was decoded can be encoded");
    const auto again = decodeJSON<T>(*encoded);
    require(again.has_value(), "what was encoded can be decoded");
    require(JSONEncoder().encode(*again) == encoded, "and is the same");
}

template <class... Records> void tryAsEach(const Data& body) {
    (tryAs<std::shared_ptr<Records>>(body), ...);
    (tryAs<std::vector<std::shared_ptr<Records>>>(body), ...);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const Data body(bytes, bytes + size);
    tryAsEach<KCSDKConsent, KCSDKConsentRequest, KCSDKLoginRequest, KCSDKOndemandCkcToken,
              KCSDKOndemandClass, KCSDKOndemandClassResponse, KCSDKOndemandCollection,
              KCSDKOndemandContentToken, KCSDKOndemandFilterRequest, KCSDKOndemandMetaData,
              KCSDKOndemandResultRequest, KCSDKOndemandSearchResult, KCSDKUser,
              KCSDKUserSubscriptionRequest, LinkDetail, MinMaxType, ValueType>(body);
    return 0;
}
