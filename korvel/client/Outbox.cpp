#include <korvel/client/ClientSurroundings.h>
#include <korvel/client/Outbox.h>
#include <korvel/client/Ticket.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/platform/foundation/JSONDecoder.h>
#include <korvel/platform/foundation/JSONEncoder.h>
#include <korvel/session/KCSDKConfig.h>

#include <algorithm>
#include <utility>

namespace korvel {

using platform::Clock;
using platform::Data;
using platform::DispatchQueue;
using platform::SealedRecords;
using Reason = Failure::Reason;

namespace {

constexpr SealedRecords::Bounds bounds{.records = 200, .bytes = 256 << 10};
constexpr Clock::Duration firstOutboxPause = std::chrono::seconds(2);
constexpr Clock::Duration longestPause = std::chrono::minutes(5);

/// A performance as it lies on disk: what was sent, and to whom.
struct Envelope {
    std::string baseURL;
    std::string tenantID;
    std::string body;
    using JSON = platform::Members<&Envelope::baseURL, &Envelope::tenantID, &Envelope::body>;
};

/// What is asked of a performance's own record.
struct Names {
    std::string userId;
    std::string ID;
    using JSON = platform::Members<&Names::userId, &Names::ID>;
};

bool isForGood(const Failure& failure) {
    const int status = failure.status;
    return status >= 400 && status < 500 && status != 401 && status != 408 && status != 429;
}

/// Whether the next performance would only meet the same.
bool isForAll(const Failure& failure) {
    return failure.status == 0 || failure.isTransient() || failure.reason == Reason::loggedOut;
}

}  // namespace

struct Outbox::Kept {
    Number number = 0;
    Data body = {};
    Names names = {};
    SealedRecords::Claim claim = {};

    /// What lies there; nothing if that is no performance.
    std::optional<Envelope> open(const SealedRecords::Record& record) {
        auto envelope = platform::decodeJSON<Envelope>(record.value);
        if (!envelope) return std::nullopt;
        number = record.number;
        body = platform::bytesOf(envelope->body);
        if (auto found = platform::decodeJSON<Names>(body)) names = std::move(*found);
        return envelope;
    }
};

/// Sends what is left, one after the other.
struct Outbox::Pass {
    Manager manager;
    std::list<Kept> left = {};  ///< oldest first; the first is what was sent
    std::optional<Failure> failure = {};
};

Outbox::Outbox(std::shared_ptr<SealedRecords> records,
               std::shared_ptr<ClientSurroundings> surroundings, Clock::Duration deadline,
               OutboxObserver observer)
    : records_(std::move(records)),
      surroundings_(std::move(surroundings)),
      deadline_(deadline),
      observer_(std::move(observer)) {}

// ------------------------------------------------------------------------------------------
// keeping

void Outbox::deliver(const Manager& manager, const APIEndpoint& request,
                     const std::shared_ptr<Ticket>& ticket, BoxHandler told) {
    const auto& service = manager->operations();
    const auto config = service.endpoints().sdkConfig();
    const Envelope envelope{config->baseURL, config->tenantID,
                            std::string(platform::viewOf(*request.params))};
    const auto value = platform::JSONEncoder().encode(envelope);
    const auto names = platform::decodeJSON<Names>(*request.params);
    std::optional<SealedRecords::Added> added;
    if (value && names && !names->userId.empty()) added = records_->add(*value, bounds);
    if (!added) return service.record(request, std::move(told), ticket);

    if (ticket) ticket->pending->keep();
    bool begins = false;
    {
        const std::lock_guard lock(mutex_);
        auto& own = own_.emplace_back();
        own.number = added->number;
        own.claim = std::move(added->claim);
        own.told = std::move(told);
        own.hearsTheEnd = !ticket;
        begins = mayBegin();
    }
    for (const auto& each : added->crowdedOut) {
        tellOwn(each.number, failureFor(Reason::noAnswer));
        Kept lost;
        lost.open(each);
        observe(OutboxEvent::Kind::crowdedOut, lost.names.ID);
    }
    if (begins) pass(manager);
}

std::list<Outbox::Kept> Outbox::keptFor(const Manager& manager, std::vector<Number>* all) const {
    const auto& endpoints = manager->operations().endpoints();
    const auto config = endpoints.sdkConfig();
    const auto userId = endpoints.userId();
    std::list<Kept> list;
    for (const auto& record : records_->all()) {
        if (all) all->push_back(record.number);
        auto& kept = list.emplace_back();
        const auto envelope = kept.open(record);
        if (!envelope || userId.empty() || kept.names.userId != userId ||
            envelope->baseURL != config->baseURL || envelope->tenantID != config->tenantID)
            list.pop_back();
    }
    return list;
}

std::size_t Outbox::waiting(const Manager& manager) const {
    return keptFor(manager, nullptr).size();
}

// ------------------------------------------------------------------------------------------
// delivering

void Outbox::answered(const Manager& manager) {
    const unsigned logIns = manager->operations().logIns();
    const bool isNewUser = seenLogIns_ != logIns && seenLogIns_.exchange(logIns) != logIns;
    const bool isSign = wakesOnAnswer_ && wakesOnAnswer_.exchange(false);
    if (isNewUser || isSign) beginPassLater(manager);
}

void Outbox::beginPassLater(const Manager& manager) {
    DispatchQueue::global().async([self = shared_from_this(), manager] {
        {
            const std::lock_guard lock(self->mutex_);
            if (!self->mayBegin()) return;
        }
        self->pass(manager);
    });
}

/// One pass at a time; one that is wanted meanwhile follows. Under the lock.
bool Outbox::mayBegin() {
    passesAgain_ = passes_;
    return !std::exchange(passes_, true);
}

/// Under the lock.
std::list<Outbox::Own>::iterator Outbox::find(Number number) {
    auto own = own_.begin();
    while (own != own_.end() && own->number != number) ++own;
    return own;
}

void Outbox::pass(const Manager& manager) {
    const auto pass = std::make_shared<Pass>();
    pass->manager = manager;
    std::vector<Number> all;
    pass->left = keptFor(manager, &all);
    const auto isAmong = [](const std::vector<Number>& numbers, Number number) {
        return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
    };
    {
        const std::lock_guard lock(mutex_);
        // What others have dealt with, nobody can be told of.
        own_.remove_if([&](const Own& each) { return !each.claim && !isAmong(all, each.number); });
        pass->left.remove_if([&](Kept& each) {
            if (const auto own = find(each.number); own != own_.end()) each.claim = own->claim;
            return isAmong(settled_, each.number);
        });
        std::erase_if(settled_, [this](Number number) { return records_->remove(number); });
    }
    sendNext(pass);
}

void Outbox::sendNext(const std::shared_ptr<Pass>& pass) {
    const auto& service = pass->manager->operations();
    for (; !pass->left.empty(); pass->left.pop_front()) {
        auto& next = pass->left.front();
        if (!next.claim) next.claim = records_->claim(next.number);
        if (!next.claim) continue;
        const auto request = service.performanceAgain(next.body, next.names.userId);
        if (!request) {
            pass->failure = failureFor(Reason::loggedOut);
            break;
        }
        const auto ticket = std::make_shared<Ticket>(surroundings_, pass->manager, nullptr);
        ticket->pending->endWithin(deadline_);
        service.record(*request, Ticket::telling(ticket), ticket);
        return ticket->pending->afterwards(
            nullptr, [self = shared_from_this(), pass, sent = ticket->pending] {
                self->settle(pass, sent->take());
            });
    }
    endPass(*pass);
}

void Outbox::settle(const std::shared_ptr<Pass>& pass, Outcome<Box> outcome) {
    const auto& sent = pass->left.front();
    auto kind = OutboxEvent::Kind::accepted;
    if (!outcome) {
        auto& failure = outcome.failure();
        failure.isKept = !isForGood(failure);
        if (failure.isKept && failure.status == 0) wakesOnAnswer_ = true;
        kind = failure.isKept ? OutboxEvent::Kind::kept : OutboxEvent::Kind::refused;
    }
    if (kind != OutboxEvent::Kind::kept && !records_->remove(sent.number)) {
        const std::lock_guard lock(mutex_);
        settled_.push_back(sent.number);
    }
    tellOwn(sent.number, outcome);
    observe(kind, sent.names.ID, &outcome);
    pass->left.pop_front();
    if (kind == OutboxEvent::Kind::kept) {
        pass->failure = std::move(outcome.failure());
        if (isForAll(*pass->failure)) pass->left.clear();
    }
    sendNext(pass);
}

/// Of the first attempt, and later of the end.
void Outbox::tellOwn(Number number, const Outcome<Box>& outcome) {
    const bool isKept = !outcome && outcome.failure().isKept;
    BoxHandler told;
    {
        const std::lock_guard lock(mutex_);
        const auto own = find(number);
        if (own == own_.end()) return;
        own->claim = nullptr;
        if (std::exchange(own->isFirst, false) || !isKept) told = own->told;
        if (!isKept || !own->hearsTheEnd) own_.erase(own);
    }
    if (told) told(outcome);
}

void Outbox::endPass(Pass& pass) {
    pass.left.clear();  // and their claims, which the next pass needs
    std::vector<Number> unheard;
    const bool isThrough = !pass.failure;
    {
        const std::lock_guard lock(mutex_);
        passes_ = false;
        if (isThrough) pause_ = {};
        for (const auto& own : own_) {
            if (own.isFirst && !passesAgain_) unheard.push_back(own.number);
        }
    }
    // Without a failure it is another user's turn by now.
    if (isThrough) pass.failure = failureFor(Reason::loggedOut);
    pass.failure->isKept = true;
    for (const auto number : unheard) tellOwn(number, *pass.failure);
    tryAgain(pass);
    bool again = false;
    {
        const std::lock_guard lock(mutex_);
        again = std::exchange(passesAgain_, false);
    }
    if (again) beginPassLater(pass.manager);
}

void Outbox::tryAgain(const Pass& pass) {
    if (pass.failure->reason == Reason::loggedOut) return;  // the next log-in is the sign
    Clock::Duration pause{};
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(timerRuns_, true)) return;
        pause = pause_ = std::clamp(pause_ * 2, firstOutboxPause, longestPause);
    }
    surroundings_->after(pause, [weak = weak_from_this(), of = std::weak_ptr(pass.manager)] {
        const auto self = weak.lock();
        const auto asked = of.lock();
        if (!self || !asked) return;
        {
            const std::lock_guard lock(self->mutex_);
            self->timerRuns_ = false;
        }
        self->beginPassLater(asked);
    });
}

void Outbox::observe(OutboxEvent::Kind kind, const std::string& performance,
                     const Outcome<Box>* outcome) {
    if (!observer_) return;
    OutboxEvent event{kind, performance};
    if (outcome && !*outcome) event.failure = outcome->failure();
    const std::lock_guard lock(observing_);
    observer_(event);
}

}  // namespace korvel
