#include <korvel/analytics/KCSDKLocalytics.h>
#include <korvel/model/KCSDKOndemandClass.h>
#include <korvel/model/KCSDKOndemandCollection.h>
#include <korvel/model/KCSDKOndemandFilterRequest.h>

#include <optional>
#include <utility>

namespace korvel {

namespace {

using Attributes = platform::Localytics::Attributes;

constexpr const char* notAvailable = "N/A";

/// Only absence is "not available": an empty text is sent as it is.
std::string orNotAvailable(const std::optional<std::string>& value) {
    return value.value_or(notAvailable);
}

Attributes classAttributes(const KCSDKOndemandClass& ondemandClass) {
    return {{"Class ID", ondemandClass.tag},
            {"Class Name", ondemandClass.className},
            {"Class Duration", std::to_string(ondemandClass.durationSecond)}};
}

void appendCategory(Attributes& attributes, const KCSDKOndemandClass& ondemandClass) {
    attributes.emplace_back("Class Category", orNotAvailable(ondemandClass.classCategories));
}

void appendProvider(Attributes& attributes, const KCSDKOndemandClass& ondemandClass) {
    attributes.emplace_back("Provider ID", orNotAvailable(ondemandClass.providerID));
    attributes.emplace_back("Provider Name", orNotAvailable(ondemandClass.provider));
}

Attributes playbackAttributes(const KCSDKOndemandClass& ondemandClass) {
    auto attributes = classAttributes(ondemandClass);
    appendCategory(attributes, ondemandClass);
    appendProvider(attributes, ondemandClass);
    return attributes;
}

}  // namespace

KCSDKLocalytics::KCSDKLocalytics(std::shared_ptr<platform::Localytics> localytics)
    : localytics_(std::move(localytics)) {}

void KCSDKLocalytics::tag(std::string_view eventName, const Attributes& attributes) const {
    localytics_->tagEvent(eventName, attributes);
    localytics_->upload();
}

void KCSDKLocalytics::tagClassListing(const KCSDKOndemandFilterRequest* filter) const {
    const std::optional<std::string> none;
    tag("View On Demand Class Listing",
        {{"Search Text", orNotAvailable(filter ? filter->query : none)},
         {"Duration", orNotAvailable(filter ? filter->duration : none)},
         {"Provider", orNotAvailable(filter ? filter->provider : none)},
         {"keywords", orNotAvailable(filter ? filter->keywords : none)}});
}

void KCSDKLocalytics::tagUserLogin(std::string userId, std::string clientId) const {
    tag("User Login", {{"Client ID", std::move(clientId)}, {"User ID", std::move(userId)}});
}

void KCSDKLocalytics::tagClassPerformed(const KCSDKOndemandClass& ondemandClass,
                                        std::int64_t playDuration) const {
    auto attributes = playbackAttributes(ondemandClass);
    attributes.emplace_back("Play Duration", std::to_string(playDuration));
    tag("On Demand Class Performed", attributes);
}

void KCSDKLocalytics::tagCollectionListing(const KCSDKOndemandCollection* collection) const {
    tag("View On Demand Collection Listing",
        {{"Collection ID", collection ? collection->collectionTag : notAvailable},
         {"Collection Name", collection ? collection->collectionName : notAvailable}});
}

void KCSDKLocalytics::tagClassDetail(const KCSDKOndemandClass& ondemandClass) const {
    auto attributes = classAttributes(ondemandClass);
    appendProvider(attributes, ondemandClass);
    tag("View On Demand Class Detail", attributes);
}

void KCSDKLocalytics::tagClassStarted(const KCSDKOndemandClass& ondemandClass) const {
    tag("On Demand Class Started", playbackAttributes(ondemandClass));
}

}  // namespace korvel
