#pragma once

#include <korvel/network/Completion.h>
#include <korvel/platform/foundation/Export.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace korvel {

class KCSDKConfig;
class KCSDKConsent;
class KCSDKNetworkManager;
class KCSDKOndemandClass;
class KCSDKOndemandClassResponse;
class KCSDKOndemandCollection;
class KCSDKOndemandFilterRequest;
class KCSDKOndemandMetaData;
class KCSDKOndemandSearchResult;
class KCSDKUserSubscriptionRequest;

/// The one door for everything but playback: `initialize` once, then `startSession`, then the rest.
///
/// Thread safety: any thread. Completions run on background threads, so a host moves to its own
/// main thread before it touches its interface.
///
/// Completions, for every operation below:
/// - before `initialize`: never called, nothing is sent;
/// - base URL is no absolute address: called at once, on the caller's thread;
///   the error has an empty domain and code 0;
/// - no connection, a broken or timed-out one (60 s without progress), TLS failure: never called;
/// - HTTP status other than 200 and 201: an error of domain "SDK" with the status as code;
///   "message" is the body's text ("na" if it is not UTF-8), "data" its bytes;
/// - 200 or 201 with a body that is no such record: called with neither record nor error;
///   an operation that only reports an error reports none.
class KORVEL_API KCSDK {
public:
    static KCSDK& shared();

    /// Empty until `initialize` has run.
    std::shared_ptr<KCSDKNetworkManager> networkManager() const;

    /// One flag for the whole process: whether a player was shown full screen last. Written by each
    /// start, `enterFullScreen` and `exitFullScreen`, never by a close. It decides how every player
    /// closes, so of two open ones one may end the other's way: an embedded one leaves a black view
    /// behind, a presented one an empty presentation. Read it; writing is the player's.
    std::atomic<bool> enablefullscreenVideo = false;

    /// Makes `config` the configuration in force (the object itself, which also receives the
    /// device's region as `countryCode`), starts analytics, and deletes everything in the
    /// application's keychain, so that no session of an earlier run is ever reused. Each further
    /// call does it all again; let no other operation run meanwhile. Null is ignored.
    static void initialize(std::shared_ptr<KCSDKConfig> config);

    /// Logs the user in; the request goes out half a second later, from the main queue. No error
    /// means only that the service answered: an answer that is no user stores nothing, and calls
    /// that need the user then go out without a credential.
    static void startSession(std::string userName, ErrorCompletion completionBlock);

    /// The consent documents in force.
    static void getConsent(ListCompletion<KCSDKConsent> completionBlock);
    /// Records that the user accepts the document of that `consentTag`.
    static void acceptConsent(std::string tag, ErrorCompletion completionBlock);

    /// `collectionId` absent: all collections. `maxResults` below 1: as many as the service likes.
    static void getOndemandCollections(std::optional<std::string> collectionId,
                                       std::int64_t maxResults,
                                       ListCompletion<KCSDKOndemandCollection> completionBlock);
    /// Pages count from 1. Absent `sort` is "alpha", absent `order` is "asc"; an empty text is sent
    /// empty.
    static void getOndemandClasses(std::int64_t page, std::int64_t pageSize,
                                   std::optional<std::string> sort,
                                   std::optional<std::string> order,
                                   Completion<KCSDKOndemandClassResponse> completionBlock);
    /// Neither record nor error: the service knows no such class.
    static void getOndemandClassDetails(std::string classTag,
                                        Completion<KCSDKOndemandClass> completionBlock);
    /// The values by which classes can be filtered.
    static void getOndemandMetaData(Completion<KCSDKOndemandMetaData> completionBlock);
    /// The request is read before the call returns. Null: an error of empty domain and code 0 at
    /// once.
    static void getOndemandClassesForCriteria(
        std::shared_ptr<KCSDKOndemandFilterRequest> request,
        Completion<KCSDKOndemandSearchResult> completionBlock);

    /// Null: an error of empty domain and code 0 at once.
    static void activateSubscription(std::shared_ptr<KCSDKUserSubscriptionRequest> subscription,
                                     ErrorCompletion completionBlock);
    static void cancelSubscription(ErrorCompletion completionBlock);

    KCSDK(const KCSDK&) = delete;
    KCSDK& operator=(const KCSDK&) = delete;

private:
    KCSDK();
    ~KCSDK();

    mutable std::mutex mutex_;
    std::shared_ptr<KCSDKNetworkManager> networkManager_;
};

}  // namespace korvel
