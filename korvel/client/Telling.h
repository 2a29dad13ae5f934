#pragma once

#include <korvel/client/Outbox.h>
#include <korvel/client/Pending.h>

#include <memory>
#include <utility>

namespace korvel {

class ServiceOperations;

/// An operation on its way: goes with its handlers, and keeps alive what it needs. Let go of
/// unheard, it tells that, too.
class Ticket {
public:
    using Manager = std::shared_ptr<KCSDKNetworkManager>;

    /// `outbox` may be null.
    Ticket(const std::shared_ptr<const ClientSurroundings>& surroundings, Manager manager,
           std::shared_ptr<Outbox> outbox);
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;
    ~Ticket();

    void answered(PendingCore::Value&& value) const;
    void failed(Failure&& failure) const;

    /// Of the manager, which there must be.
    const ServiceOperations& service() const;

    const std::shared_ptr<PendingCore> pending;
    const std::shared_ptr<Conduct> conduct;  ///< the pending operation's
    const Manager manager;                   ///< may be null

private:
    const std::shared_ptr<Outbox> outbox_;
};

/// The handler of an operation, whatever that yields: tells the ticket's pending operation what
/// became of it. One type for all keeps the SDK small.
class Telling {
public:
    explicit Telling(std::shared_ptr<const Ticket> ticket) : ticket_(std::move(ticket)) {}

    template <class T> void operator()(Outcome<T> outcome) const {
        if (!outcome) return ticket_->failed(std::move(outcome.failure()));
        ticket_->answered(PendingValue<T>::boxed(std::move(*outcome)));
    }

private:
    std::shared_ptr<const Ticket> ticket_;
};

}  // namespace korvel
