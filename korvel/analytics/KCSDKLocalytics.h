#pragma once

#include <korvel/platform/localytics/Localytics.h>

#include <cstdint>
#include <memory>
#include <string>

namespace korvel {

class KCSDKOndemandClass;
class KCSDKOndemandCollection;
class KCSDKOndemandFilterRequest;

/// The SDK's six events. Each operation tags one and asks for an upload at once. Absent values are
/// "N/A". Any thread.
class KCSDKLocalytics {
public:
    explicit KCSDKLocalytics(std::shared_ptr<platform::Localytics> localytics);

    void tagClassListing(const KCSDKOndemandFilterRequest* filter) const;  ///< null: no filter
    void tagUserLogin(std::string userId, std::string clientId) const;
    void tagClassPerformed(const KCSDKOndemandClass& ondemandClass,
                           std::int64_t playDuration) const;
    void tagCollectionListing(
        const KCSDKOndemandCollection* collection) const;  ///< null: none to name
    void tagClassDetail(const KCSDKOndemandClass& ondemandClass) const;
    void tagClassStarted(const KCSDKOndemandClass& ondemandClass) const;

private:
    void tag(std::string_view eventName, const platform::Localytics::Attributes& attributes) const;

    std::shared_ptr<platform::Localytics> localytics_;
};

}  // namespace korvel
