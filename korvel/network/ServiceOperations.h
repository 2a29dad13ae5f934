#pragma once

#include <korvel/network/Boxed.h>
#include <korvel/network/ClassesPage.h>
#include <korvel/network/Conduct.h>
#include <korvel/network/EndpointCatalogue.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel {

namespace platform {
struct Device;
class JSONEncoder;
}  // namespace platform

class KCSDKConsent;
class KCSDKOndemandClass;
class KCSDKOndemandClassResponse;
class KCSDKOndemandCollection;
class KCSDKOndemandContentToken;
class KCSDKOndemandFilterRequest;
class KCSDKOndemandMetaData;
class KCSDKOndemandSearchResult;
class KCSDKUser;
class KCSDKUserSubscriptionRequest;
struct KCSDKOndemandResultRequest;

template <class Record> using RecordList = std::vector<std::shared_ptr<Record>>;

/// What the service can be asked, one routine each, and what became of it. All doors of the SDK
/// stand on these; they differ in what they tell.
///
/// Thread safety: any thread. Requests are described on the caller's thread before the routine
/// returns. A handler is called at most once: not at all if its exchange is never begun (the main
/// queue stands still, the conduct is over) or ends unheard (cancelled, session destroyed); it is
/// destroyed when that is certain. On the caller's thread if the base URL is no absolute address,
/// else on a background thread.
class ServiceOperations {
public:
    using Conducting = std::shared_ptr<Conduct>;
    template <class Record> using RecordHandler = Handler<std::shared_ptr<Record>>;
    template <class Record> using ListHandler = Handler<RecordList<Record>>;

    explicit ServiceOperations(const platform::Device& device,
                               std::shared_ptr<const platform::JSONEncoder> encoder = nullptr);
    ~ServiceOperations();

    /// How many log-ins have succeeded so far.
    unsigned logIns() const;
    /// Holds the configuration in force.
    EndpointCatalogue& endpoints() const;

    /// Goes out half a second later, from the main queue. Stores the user.
    void logIn(const std::string& userName, RecordHandler<KCSDKUser> done,
               const Conducting& conduct = {}) const;
    void consents(ListHandler<KCSDKConsent> done, const Conducting& conduct = {}) const;
    void acceptConsent(const std::string& tag, Handler<Done> done,
                       const Conducting& conduct = {}) const;
    void collections(const std::optional<std::string>& collectionId, std::int64_t maxResults,
                     ListHandler<KCSDKOndemandCollection> done,
                     const Conducting& conduct = {}) const;
    void classes(const ClassesPage& page, RecordHandler<KCSDKOndemandClassResponse> done,
                 const Conducting& conduct = {}) const;
    void classDetails(const std::string& classTag, RecordHandler<KCSDKOndemandClass> done,
                      const Conducting& conduct = {}) const;
    void metaData(RecordHandler<KCSDKOndemandMetaData> done, const Conducting& conduct = {}) const;
    void search(const KCSDKOndemandFilterRequest& filter,
                RecordHandler<KCSDKOndemandSearchResult> done,
                const Conducting& conduct = {}) const;
    void activateSubscription(const KCSDKUserSubscriptionRequest& subscription, Handler<Done> done,
                              const Conducting& conduct = {}) const;
    void cancelSubscription(Handler<Done> done, const Conducting& conduct = {}) const;
    /// A performance and the request that records it.
    struct Performance {
        APIEndpoint request;
        std::shared_ptr<const KCSDKOndemandResultRequest> record;
    };
    /// Prints and tags it; nothing if there is no such request.
    std::optional<Performance> performance(const KCSDKOndemandClass& ondemandClass,
                                           std::int64_t performedSeconds) const;
    /// The request that sends `body`, a performance of before, once more: nothing unless its user
    /// is the one who is logged in.
    EndpointCatalogue::Result performanceAgain(const platform::Data& body,
                                               const std::string& userId) const;
    void record(const APIEndpoint& performance, Handler<Done> done,
                const Conducting& conduct = {}) const;
    void contentToken(const std::string& contentId, RecordHandler<KCSDKOndemandContentToken> done,
                      const Conducting& conduct = {}) const;
    /// The class's record with the stream's link.
    void perform(const std::string& classTag, RecordHandler<KCSDKOndemandClass> done,
                 const Conducting& conduct = {}) const;

private:
    struct Parts;
    const std::shared_ptr<Parts>
        parts_;  // shared, so that an answer can tell whether the operations are gone
};

}  // namespace korvel
