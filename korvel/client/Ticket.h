#pragma once

#include <korvel/client/Outbox.h>
#include <korvel/client/PendingCore.h>
#include <korvel/network/Conduct.h>

#include <memory>

namespace korvel {

/// An operation on its way: goes with its exchange, conducts it, and tells the pending operation
/// what became of it. Let go of unheard, it tells that, too. Any thread.
class Ticket final : public Conduct {
public:
    using Manager = std::shared_ptr<KCSDKNetworkManager>;

    /// `outbox` may be null.
    Ticket(const std::shared_ptr<ClientSurroundings>& surroundings, Manager manager,
           std::shared_ptr<Outbox> outbox);
    Ticket(const Ticket&) = delete;
    Ticket& operator=(const Ticket&) = delete;
    ~Ticket() override;

    void ended(Outcome<Box> outcome) const;
    /// A handler that tells `ticket` of the outcome.
    static BoxHandler telling(std::shared_ptr<const Ticket> ticket);

    bool isOver() const override;
    void began(std::shared_ptr<platform::URLSessionTask> task, int attempt) override;
    bool triesAgain(const Failure& failure, std::function<void()> again) override;

    const std::shared_ptr<PendingCore> pending;
    const Manager manager;  ///< may be null

private:
    const std::shared_ptr<ClientSurroundings> surroundings_;
    const std::shared_ptr<Outbox> outbox_;
};

}  // namespace korvel
