#pragma once

#include <korvel/client/Pending.h>

#include <memory>
#include <utility>

namespace korvel {

/// Tells the pending operation what became of it; that it was let go of unheard, too.
template <class T> OutcomeHandler<T> telling(std::shared_ptr<PendingState<T>> state) {
    struct Ticket {
        std::shared_ptr<PendingState<T>> state;
        explicit Ticket(std::shared_ptr<PendingState<T>> of) : state(std::move(of)) {}
        Ticket(const Ticket&) = delete;
        Ticket& operator=(const Ticket&) = delete;
        ~Ticket() { state->end(Failure{.reason = Failure::Reason::noAnswer}); }
    };
    return [ticket = std::make_shared<Ticket>(std::move(state))](Outcome<T> outcome) {
        ticket->state->end(std::move(outcome));
    };
}

}  // namespace korvel
