#include <korvel/client/Telling.h>
#include <korvel/network/KCSDKNetworkManager.h>

#include <utility>

namespace korvel {

Ticket::Ticket(const std::shared_ptr<const ClientSurroundings>& surroundings, Manager of,
               std::shared_ptr<Outbox> outbox)
    : pending(std::make_shared<PendingCore>(surroundings)),
      conduct(pending->conduct()),
      manager(std::move(of)),
      outbox_(std::move(outbox)) {}

Ticket::~Ticket() { failed({.reason = Failure::Reason::noAnswer}); }

const ServiceOperations& Ticket::service() const { return manager->operations(); }

void Ticket::answered(PendingCore::Value&& value) const {
    pending->end(std::move(value));
    if (outbox_) outbox_->answered(manager);
}

void Ticket::failed(Failure&& failure) const { pending->end(std::move(failure)); }

}  // namespace korvel
