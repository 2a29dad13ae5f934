#pragma once

#include <korvel/network/Completion.h>
#include <korvel/platform/foundation/Export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace korvel {

namespace platform {
struct Device;
class JSONEncoder;
}  // namespace platform

class KCSDKConfig;
class KCSDKConsent;
class KCSDKOndemandClass;
class KCSDKOndemandClassResponse;
class KCSDKOndemandCollection;
class KCSDKOndemandContentToken;
class KCSDKOndemandFilterRequest;
class KCSDKOndemandMetaData;
class KCSDKOndemandSearchResult;
class KCSDKUserSubscriptionRequest;
class ServiceOperations;

/// The service client: one routine per endpoint. Hosts go through `KCSDK`; the player and tests
/// come here. Each operation's outcome is that of `ServiceOperations`; this is the door that tells
/// of it what the contract with hosts tells.
///
/// Thread safety: any thread. Requests are described on the caller's thread before the routine
/// returns, so that a later change of configuration or argument does not alter them; completions
/// run on the session's background threads and are destroyed when their exchange ends, called or
/// not. Errors: a base URL that is no absolute address completes at once, on the caller's thread,
/// with an error of empty domain and code 0, and nothing is sent. See also Completion.h.
class KORVEL_API KCSDKNetworkManager {
public:
    /// The process's manager, on the current device. Made at the first call, never destroyed.
    static const std::shared_ptr<KCSDKNetworkManager>& shared();

    /// Until `setSdkConfig`, the configuration consists of empty texts. `encoder`: null for the
    /// usual one.
    explicit KCSDKNetworkManager(const platform::Device& device,
                                 std::shared_ptr<const platform::JSONEncoder> encoder = nullptr);
    ~KCSDKNetworkManager();

    std::shared_ptr<KCSDKConfig> sdkConfig() const;
    void setSdkConfig(std::shared_ptr<KCSDKConfig> config);  ///< kept itself; not null

    /// Goes out half a second later, from the main queue. Completes without an error also when the
    /// service's answer was no user and nothing was stored.
    void startSession(const std::string& userName, ErrorCompletion completion);

    void getConsent(ListCompletion<KCSDKConsent> completion);
    void acceptConsent(const std::string& tag, ErrorCompletion completion);

    void getOndemandCollections(const std::optional<std::string>& collectionId,
                                std::int64_t maxResults,
                                ListCompletion<KCSDKOndemandCollection> completion);
    void getOndemandClasses(std::int64_t page, std::int64_t pageSize,
                            const std::optional<std::string>& sort,
                            const std::optional<std::string>& order,
                            Completion<KCSDKOndemandClassResponse> completion);
    void getOndemandClassDetails(const std::string& classTag,
                                 Completion<KCSDKOndemandClass> completion);
    void getOndemandMetaData(Completion<KCSDKOndemandMetaData> completion);
    void getOndemandClassesForCriteria(const KCSDKOndemandFilterRequest& filter,
                                       Completion<KCSDKOndemandSearchResult> completion);

    void activateSubscription(const KCSDKUserSubscriptionRequest& subscription,
                              ErrorCompletion completion);
    void cancelSubscription(ErrorCompletion completion);

    /// Records a performed class with the service; nobody is told the outcome.
    void sendClassPerformance(const KCSDKOndemandClass& ondemandClass,
                              std::int64_t performedSeconds);
    void getContentToken(const std::string& contentId,
                         Completion<KCSDKOndemandContentToken> completion);
    /// Asks to perform a class: its record with the stream's link, or nothing for an empty list.
    /// When the user must consent first, the error has code 601 and a `KCSDKConsent`, or "na", as
    /// "consent".
    void performClass(const std::string& classTag, Completion<KCSDKOndemandClass> completion);

    /// The routines themselves, which tell all that became of them. For rooms of the SDK.
    const ServiceOperations& operations() const { return *operations_; }

private:
    const std::unique_ptr<const ServiceOperations> operations_;
};

}  // namespace korvel
