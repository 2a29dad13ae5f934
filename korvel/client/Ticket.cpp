#include <korvel/client/ClientSurroundings.h>
#include <korvel/client/Ticket.h>

#include <utility>

namespace korvel {

Ticket::Ticket(const std::shared_ptr<ClientSurroundings>& surroundings, Manager of,
               std::shared_ptr<Outbox> outbox)
    : pending(std::make_shared<PendingCore>(surroundings)),
      manager(std::move(of)),
      surroundings_(surroundings),
      outbox_(std::move(outbox)) {}

Ticket::~Ticket() { pending->end(failureFor(Failure::Reason::noAnswer)); }

void Ticket::ended(Outcome<Box> outcome) const {
    const bool isAnswered = outcome.hasValue();
    pending->end(std::move(outcome));
    if (isAnswered && outbox_) outbox_->answered(manager);
}

BoxHandler Ticket::telling(std::shared_ptr<const Ticket> ticket) {
    return
        [ticket = std::move(ticket)](Outcome<Box> outcome) { ticket->ended(std::move(outcome)); };
}

bool Ticket::isOver() const { return pending->isOver(); }

void Ticket::began(std::shared_ptr<platform::URLSessionTask> task, int attempt) {
    pending->began(std::move(task), attempt);
}

bool Ticket::triesAgain(const Failure& failure, std::function<void()> again) {
    if (!failure.isTransient()) return false;
    const auto pause = pending->pauseBeforeNext();
    if (pause) surroundings_->after(*pause, std::move(again));
    return pause.has_value();
}

}  // namespace korvel
