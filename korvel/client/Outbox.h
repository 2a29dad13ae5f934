#pragma once

#include <korvel/client/OutboxEvent.h>
#include <korvel/network/APIEndpoint.h>
#include <korvel/network/Boxed.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/security/SealedRecords.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace korvel {

class ClientSurroundings;
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
           std::shared_ptr<ClientSurroundings> surroundings, platform::Clock::Duration deadline,
           OutboxObserver observer);

    /// Sends the request that records a performance, and keeps it: it is on disk when this returns.
    /// `told` hears what came of the first attempt, and if that failed and nobody waits with a
    /// `ticket`, which may be null, what came of it in the end, as long as this outbox is there to
    /// deliver it. What cannot be kept, be it that nobody is logged in, is sent once.
    void deliver(const Manager& manager, const APIEndpoint& request,
                 const std::shared_ptr<Ticket>& ticket, BoxHandler told);
    /// The service has answered something: a sign that what waits may be tried again. Costs next to
    /// nothing if nothing waits.
    void answered(const Manager& manager);
    /// How many performances of the user that is logged in have not been delivered. Reads the disk.
    std::size_t waiting(const Manager& manager) const;

private:
    struct Kept;
    struct Pass;
    using Number = platform::SealedRecords::Number;
    /// A performance of this client's.
    struct Own {
        Number number = 0;
        platform::SealedRecords::Claim claim = {};  ///< until its first attempt was told of
        BoxHandler told = {};
        bool hearsTheEnd = false;
        bool isFirst = true;  ///< no attempt has been told of
    };

    std::list<Kept> keptFor(const Manager& manager, std::vector<Number>* all) const;
    std::list<Own>::iterator find(Number number);
    bool mayBegin();
    void beginPassLater(const Manager& manager);
    void pass(const Manager& manager);
    void sendNext(const std::shared_ptr<Pass>& pass);
    void settle(const std::shared_ptr<Pass>& pass, Outcome<Box> outcome);
    void endPass(Pass& pass);
    void tryAgain(const Pass& pass);
    void tellOwn(Number number, const Outcome<Box>& outcome);
    void observe(OutboxEvent::Kind kind, const std::string& performance,
                 const Outcome<Box>* outcome = nullptr);

    const std::shared_ptr<platform::SealedRecords> records_;
    const std::shared_ptr<ClientSurroundings> surroundings_;
    const platform::Clock::Duration deadline_;
    const OutboxObserver observer_;
    std::mutex observing_;

    std::atomic<unsigned> seenLogIns_ = 0;
    std::atomic<bool> wakesOnAnswer_ = false;
    std::mutex mutex_;
    std::list<Own> own_;
    std::vector<Number> settled_;  ///< and still on disk
    platform::Clock::Duration pause_{};
    bool passes_ = false;
    bool passesAgain_ = false;
    bool timerRuns_ = false;
};

}  // namespace korvel
