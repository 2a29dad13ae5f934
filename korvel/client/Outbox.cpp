#include <korvel/client/Outbox.h>
#include <korvel/client/Telling.h>
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

Names namesIn(const Data& body) { return platform::decodeJSON<Names>(body).value_or(Names()); }

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
    Envelope envelope = {};
    Data body = {};
    Names names = {};
    SealedRecords::Claim claim = {};

    bool isFor(const KCSDKConfig& config, const std::string& userId) const {
        return !userId.empty() && names.userId == userId && envelope.baseURL == config.baseURL &&
               envelope.tenantID == config.tenantID;
    }
};

struct Outbox::Pass {
    Manager manager;
    std::vector<Kept> left;  ///< newest first
    Kept sent;               ///< and not answered yet
    std::optional<Failure> failure;
};

Outbox::Outbox(std::shared_ptr<SealedRecords> records,
               std::shared_ptr<const ClientSurroundings> surroundings, Clock::Duration deadline,
               OutboxObserver observer)
    : records_(std::move(records)),
      surroundings_(std::move(surroundings)),
      deadline_(deadline),
      observer_(std::move(observer)) {}

// ------------------------------------------------------------------------------------------
// keeping

void Outbox::deliver(const Manager& manager, const APIEndpoint& request,
                     const std::shared_ptr<const Ticket>& ticket, OutcomeHandler<Done> first,
                     OutcomeHandler<Done> later) {
    const auto& service = manager->operations();
    const auto config = service.endpoints().sdkConfig();
    const Envelope envelope{config->baseURL, config->tenantID,
                            std::string(platform::viewOf(*request.params))};
    const auto value = platform::JSONEncoder().encode(envelope);
    std::optional<SealedRecords::Added> added;
    if (value && !namesIn(*request.params).userId.empty()) added = records_->add(*value, bounds);
    if (!added)
        return service.record(request, std::move(first), ticket ? ticket->conduct : nullptr);

    if (ticket) ticket->pending->keep();
    bool begins = false;
    {
        const std::lock_guard lock(mutex_);
        own_[added->number] = {std::move(added->claim), std::move(first), std::move(later)};
        begins = mayBegin();
    }
    for (const auto& each : added->crowdedOut) {
        tellOwn(each.number, Failure{.reason = Reason::noAnswer});
        observe({OutboxEvent::Kind::crowdedOut, kept(each).names.ID});
    }
    if (begins) pass(manager);
}

Outbox::Kept Outbox::kept(const SealedRecords::Record& record) {
    Kept kept{.number = record.number};
    kept.envelope = platform::decodeJSON<Envelope>(record.value).value_or(Envelope());
    kept.body = platform::bytesOf(kept.envelope.body);
    kept.names = namesIn(kept.body);
    return kept;
}

std::vector<Outbox::Kept> Outbox::listOf(const Manager& manager, std::set<Number>* all) const {
    const auto& endpoints = manager->operations().endpoints();
    const auto config = endpoints.sdkConfig();
    const auto userId = endpoints.userId();
    std::vector<Kept> list;
    for (const auto& record : records_->all()) {
        if (all) all->insert(record.number);
        auto one = kept(record);
        if (one.isFor(*config, userId)) list.push_back(std::move(one));
    }
    return list;
}

std::size_t Outbox::waiting(const Manager& manager) const {
    return listOf(manager, nullptr).size();
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

void Outbox::pass(const Manager& manager) {
    const auto pass = std::make_shared<Pass>();
    pass->manager = manager;
    std::set<Number> all;
    auto list = listOf(manager, &all);
    {
        const std::lock_guard lock(mutex_);
        // What others have dealt with, nobody can be told of.
        std::erase_if(own_, [&](const auto& each) {
            return !each.second.claim && !all.contains(each.first);
        });
        for (auto& each : list) {
            if (settled_.contains(each.number)) continue;
            if (const auto own = own_.find(each.number); own != own_.end()) {
                each.claim = own->second.claim;
            }
            pass->left.push_back(std::move(each));
        }
        std::reverse(pass->left.begin(), pass->left.end());
        std::erase_if(settled_, [this](Number number) { return records_->remove(number); });
    }
    sendNext(pass);
}

void Outbox::sendNext(const std::shared_ptr<Pass>& pass) {
    while (!pass->left.empty()) {
        auto& next = pass->sent = std::move(pass->left.back());
        pass->left.pop_back();
        if (!next.claim) next.claim = records_->claim(next.number);
        if (!next.claim) continue;
        const auto request =
            pass->manager->operations().performanceAgain(next.body, next.names.userId);
        if (!request) {
            pass->failure = Failure{.reason = Reason::loggedOut};
            break;
        }
        return attempt(pass->manager, *request,
                       [self = shared_from_this(), pass](const Outcome<Done>& outcome) {
                           self->settle(pass, outcome);
                       });
    }
    endPass(*pass);
}

void Outbox::attempt(const Manager& manager, const APIEndpoint& request,
                     OutcomeHandler<Done> done) {
    const auto ticket = std::make_shared<const Ticket>(surroundings_, manager, nullptr);
    ticket->pending->endWithin(deadline_);
    manager->operations().record(request, Telling(ticket), ticket->conduct);
    Pending<Done>(ticket->pending).then(nullptr, std::move(done));
}

void Outbox::settle(const std::shared_ptr<Pass>& pass, const Outcome<Done>& outcome) {
    const auto& sent = pass->sent;
    if (!outcome && !isForGood(outcome.failure())) {
        Failure failure = outcome.failure();
        failure.isKept = true;
        if (failure.status == 0) wakesOnAnswer_ = true;
        tellOwn(sent.number, failure);
        observe({OutboxEvent::Kind::kept, sent.names.ID, failure});
        pass->failure = std::move(failure);
        if (isForAll(*pass->failure)) pass->left.clear();
        return sendNext(pass);
    }
    if (!records_->remove(sent.number)) {
        const std::lock_guard lock(mutex_);
        settled_.insert(sent.number);
    }
    tellOwn(sent.number, outcome);
    if (outcome) {
        observe({OutboxEvent::Kind::accepted, sent.names.ID});
    } else {
        observe({OutboxEvent::Kind::refused, sent.names.ID, outcome.failure()});
    }
    sendNext(pass);
}

/// `first` hears it first, and once it has, `later` does.
void Outbox::tellOwn(Number number, const Outcome<Done>& outcome) {
    OutcomeHandler<Done> told;
    {
        const std::lock_guard lock(mutex_);
        const auto own = own_.find(number);
        if (own == own_.end()) return;
        const bool isKept = !outcome && outcome.failure().isKept;
        auto& [claim, first, later] = own->second;
        claim = nullptr;
        const bool goesOn = isKept && later;
        if (first) {
            told = std::exchange(first, nullptr);
        } else if (!isKept) {
            told = std::exchange(later, nullptr);
        }
        if (!goesOn) own_.erase(own);
    }
    if (told) told(outcome);
}

void Outbox::endPass(const Pass& pass) {
    std::vector<Number> unheard;
    {
        const std::lock_guard lock(mutex_);
        passes_ = false;
        if (!pass.failure) pause_ = {};
        for (const auto& [number, own] : own_) {
            if (own.first && !passesAgain_) unheard.push_back(number);
        }
    }
    // Without a failure it is another user's turn by now.
    auto failure = pass.failure.value_or(Failure{.reason = Reason::loggedOut});
    failure.isKept = true;
    for (const auto number : unheard) tellOwn(number, failure);
    if (pass.failure) tryAgain(pass.manager, *pass.failure);
    bool again = false;
    {
        const std::lock_guard lock(mutex_);
        again = std::exchange(passesAgain_, false);
    }
    if (again) beginPassLater(pass.manager);
}

void Outbox::tryAgain(const Manager& manager, const Failure& failure) {
    if (failure.reason == Reason::loggedOut) return;  // the next log-in is the sign
    Clock::Duration pause{};
    {
        const std::lock_guard lock(mutex_);
        if (std::exchange(timerRuns_, true)) return;
        pause = pause_ = std::clamp(pause_ * 2, firstOutboxPause, longestPause);
    }
    surroundings_->deadlines->after(pause, [weak = weak_from_this(), of = std::weak_ptr(manager)] {
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

void Outbox::observe(const OutboxEvent& event) {
    if (!observer_) return;
    const std::lock_guard lock(observing_);
    observer_(event);
}

}  // namespace korvel
