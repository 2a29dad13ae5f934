#pragma once

#include <korvel/client/OutboxEvent.h>
#include <korvel/client/Pending.h>
#include <korvel/network/ClassesPage.h>
#include <korvel/platform/foundation/Clock.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel {

namespace platform {
struct Device;
}

class KCSDKConfig;
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
class Playback;
struct ClientParts;
struct PlayOptions;

struct ClientOptions {
    /// By which each operation has ended, one way or the other.
    platform::Clock::Duration deadline = std::chrono::seconds(30);
    /// How often a read (a GET) is repeated within the deadline while its failure is transient,
    /// after pauses of 0.25 s, 0.5 s, 1 s ... What changes something at the service never is.
    int readRetries = 3;
    /// Keep each performance on disk, sealed, until the service has accepted it or refused it for
    /// good, and send it again meanwhile; 200 of them at most, of which the oldest goes.
    bool outbox = true;
    OutboxObserver outboxObserver = {};
    /// Counts deadlines and pauses; null: the process's pool, by the system's steady clock.
    std::shared_ptr<platform::DispatchQueue> timers = {};
};

/// The service, for hosts that want to know what became of each question: every operation ends,
/// with a value or with a `Failure`, at its deadline at the latest.
///
/// Thread safety: any thread. Lifetime: operations that were begun go on when the client is gone.
/// Sharing: clients with configurations of their own share the device's connections, main queue and
/// analytics (one library per process: the newest key and the newest customer count), and nothing
/// else. All clients without one share the session of `KCSDK`, which is the device's keychain's.
class KORVEL_API ContentClient {
public:
    template <class Record> using PendingRecord = Pending<std::shared_ptr<Record>>;
    template <class Record> using PendingList = Pending<std::vector<std::shared_ptr<Record>>>;

    /// Stands on the configuration and the log-in of `KCSDK`; before `KCSDK::initialize` each
    /// operation ends with `notInitialised`.
    explicit ContentClient(ClientOptions options = {});
    /// With a configuration (not null, kept itself) and a log-in of its own, which ends with the
    /// client. Starts analytics, and writes the device's region into the configuration.
    explicit ContentClient(std::shared_ptr<KCSDKConfig> config, ClientOptions options = {});
    /// The same on a device other than the process's.
    ContentClient(const platform::Device& device, std::shared_ptr<KCSDKConfig> config,
                  ClientOptions options = {});
    ~ContentClient();
    ContentClient(const ContentClient&) = delete;
    ContentClient& operator=(const ContentClient&) = delete;

    /// Goes out half a second later, from the main queue. A value means that the user is logged in;
    /// what the service says to a wrong key, tenant or name is a failure, `refused`.
    PendingRecord<KCSDKUser> logIn(const std::string& userName) const;

    PendingList<KCSDKConsent> consents() const;
    Pending<Done> acceptConsent(const std::string& tag) const;

    /// `collectionId` absent: all collections. `maxResults` below 1: as many as the service likes.
    PendingList<KCSDKOndemandCollection> collections(
        const std::optional<std::string>& collectionId = {}, std::int64_t maxResults = 0) const;
    PendingRecord<KCSDKOndemandClassResponse> classes(const ClassesPage& page = {}) const;
    /// A class that the service does not know is a failure, `notFound`.
    PendingRecord<KCSDKOndemandClass> classDetails(const std::string& classTag) const;
    PendingRecord<KCSDKOndemandMetaData> metaData() const;
    PendingRecord<KCSDKOndemandSearchResult> search(const KCSDKOndemandFilterRequest& filter) const;

    Pending<Done> activateSubscription(const KCSDKUserSubscriptionRequest& subscription) const;
    Pending<Done> cancelSubscription() const;

    /// Starts the class in a player; Playback.h says how, and what becomes of it. The deadline
    /// counts until the player is there: one that would come later is not shown. On the process's
    /// device.
    PendingRecord<Playback> play(const std::shared_ptr<KCSDKOndemandClass>& ondemandClass,
                                 PlayOptions options) const;

    /// The class's record with its stream's link. Starts no player, but counts as a start.
    PendingRecord<KCSDKOndemandClass> perform(const std::string& classTag) const;
    /// Records that so many seconds of the class were performed, now: with an outbox that is on
    /// disk when this returns, and a failure that says `isKept` is not the end of it.
    Pending<Done> recordPerformance(const KCSDKOndemandClass& ondemandClass,
                                    std::int64_t performedSeconds) const;
    /// How many performances of the user that is logged in the service has not accepted yet, those
    /// of earlier runs and of other clients included. Reads the disk.
    std::size_t waitingPerformances() const;
    PendingRecord<KCSDKOndemandContentToken> contentToken(const std::string& contentId) const;

private:
    const std::unique_ptr<const ClientParts> parts_;
};

}  // namespace korvel
