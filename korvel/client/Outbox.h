#pragma once

#include <korvel/client/OperationConduct.h>
#include <korvel/client/OutboxEvent.h>
#include <korvel/network/APIEndpoint.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/network/Outcome.h>
#include <korvel/platform/security/SealedRecords.h>

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

namespace korvel {

class Ticket;

/// Keeps performances on disk until the service has accepted them, or refused them for good, and
/// sends them oldest first, one at a time, always as they were recorded and only while their user
/// is logged in. What could not be delivered goes out again after a log-in, when the service
/// answers something else after the network had failed, and after growing pauses.
///
/// Refused for good: a status of 400 to 499 but 401, 408 and 429. An accepted record may come once
/// more where the process died, or the answer was lost, in between: the service knows it by its
/// "ID".
///
/// Lives in a `std::shared_ptr`. Any thread.
class Outbox : public std::enable_shared_from_this<Outbox> {
public:
    using Manager = std::shared_ptr<KCSDKNetworkManager>;

    /// `records` is the process's, and other processes', too. `deadline`: of each attempt.
    Outbox(std::shared_ptr<platform::SealedRecords> records,
           std::shared_ptr<const ClientSurroundings> surroundings,
           platform::Clock::Duration deadline, OutboxObserver observer);

    /// Sends the request that records a performance, and keeps it: it is on disk when this returns.
    /// `first` hears what came of the first attempt, `later`, if that failed, what came of it in
    /// the end, as long as this outbox is there to deliver it. What cannot be kept, be it that
    /// nobody is logged in, is sent once. `ticket`: of whoever waits for it; may be null.
    void deliver(const Manager& manager, const APIEndpoint& request,
                 const std::shared_ptr<const Ticket>& ticket, OutcomeHandler<Done> first,
                 OutcomeHandler<Done> later);
    /// The service has answered something: a sign that what waits may be tried again. Costs next to
    /// nothing if nothing waits.
    void answered(const Manager& manager);
    /// How many performances of the user that is logged in have not been delivered. Reads the disk.
    std::size_t waiting(const Manager& manager) const;

private:
    struct Kept;
    struct Pass;
    /// A performance of this client's.
    struct Own {
        platform::SealedRecords::Claim claim;  ///< until `first` was told
        OutcomeHandler<Done> first;
        OutcomeHandler<Done> later;
    };
    using Number = platform::SealedRecords::Number;

    static Kept kept(const platform::SealedRecords::Record& record);
    std::vector<Kept> listOf(const Manager& manager, std::set<Number>* all) const;
    bool mayBegin();
    void beginPassLater(const Manager& manager);
    void pass(const Manager& manager);
    void sendNext(const std::shared_ptr<Pass>& pass);
    void settle(const std::shared_ptr<Pass>& pass, const Outcome<Done>& outcome);
    void endPass(const Pass& pass);
    void tryAgain(const Manager& manager, const Failure& failure);
    void attempt(const Manager& manager, const APIEndpoint& request, OutcomeHandler<Done> done);
    void tellOwn(Number number, const Outcome<Done>& outcome);
    void observe(const OutboxEvent& event);

    const std::shared_ptr<platform::SealedRecords> records_;
    const std::shared_ptr<const ClientSurroundings> surroundings_;
    const platform::Clock::Duration deadline_;
    const OutboxObserver observer_;
    std::mutex observing_;

    std::atomic<unsigned> seenLogIns_ = 0;
    std::atomic<bool> wakesOnAnswer_ = false;
    std::mutex mutex_;
    std::map<Number, Own> own_;
    std::set<Number> settled_;  ///< and still on disk
    platform::Clock::Duration pause_{};
    bool passes_ = false;
    bool passesAgain_ = false;
    bool timerRuns_ = false;
};

}  // namespace korvel
