#include <bindings/qml/Reasons.h>
#include <bindings/qml/RequestWatch.h>
#include <bindings/qml/Text.h>

#include <utility>

namespace korvel::qml {

namespace {
thread_local std::shared_ptr<Ticket> asking;
constexpr std::size_t mostTickets = 1024;  // those of exchanges that end without a decoding
}  // namespace

RequestWatch::Asking::Asking(std::shared_ptr<Ticket> ticket)
    : before_(std::exchange(asking, std::move(ticket))) {}
RequestWatch::Asking::~Asking() { asking = std::move(before_); }

RequestWatch::RequestWatch(std::shared_ptr<platform::MainQueue> queue) : queue_(std::move(queue)) {}

void RequestWatch::expectLogin() {
    const std::lock_guard lock(mutex_);
    login_ = asking;
}

void RequestWatch::requestStarted(RequestId id, const platform::URLRequest& request) {
    const std::lock_guard lock(mutex_);
    const auto address = request.url.absoluteString();
    if (address.ends_with("/ondemandtracking")) records_.insert(id);
    const bool isLogin = address.ends_with("/oauth/sdk/login");
    auto ticket = isLogin ? login_ : std::weak_ptr(asking);
    if (ticket.expired()) return;
    tickets_[id] = std::move(ticket);
    if (tickets_.size() > mostTickets) tickets_.erase(tickets_.begin());
}

std::shared_ptr<Ticket> RequestWatch::ticketOf(RequestId id) {
    const std::lock_guard lock(mutex_);
    const auto found = tickets_.find(id);
    return found == tickets_.end() ? nullptr : found->second.lock();
}

void RequestWatch::requestEnded(RequestId id, const platform::Exchange& exchange) {
    {
        const std::lock_guard lock(mutex_);
        if (records_.erase(id) > 0) ++endedRecords_;
    }
    const auto ticket = ticketOf(id);
    if (!ticket) return;
    if (exchange.error && !exchange.isTooLong()) {
        queue_->async([ticket, why = reasonOfLoss(*exchange.error)] {
            if (ticket->asker) ticket->asker->fail(why);
        });
    } else if (const auto status = exchange.response->statusCode; status != 200 && status != 201) {
        const auto said = exchange.body ? std::string(platform::viewOf(*exchange.body)) : "";
        queue_->async([ticket, status, said] {
            ticket->refusal = NSError{"SDK", status, {{"message", said}}};
        });
    }
}

void RequestWatch::decodingFailed(RequestId id, const std::string& record, const std::string& path,
                                  const std::string& reason) {
    const auto ticket = ticketOf(id);
    if (!ticket) return;
    auto what = text(path.empty() ? record + ": " + reason : path + ": " + reason);
    queue_->async([ticket, what = std::move(what)] { ticket->undecodable = what; });
}

}  // namespace korvel::qml
