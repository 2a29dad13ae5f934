#include <korvel/platform/backends/journal/LocalyticsJournal.h>
#include <korvel/platform/foundation/Random.h>
#include <korvel/platform/foundation/UTF8.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace korvel::platform {

namespace {

constexpr std::chrono::seconds firstDelay{1};
constexpr std::chrono::minutes longestDelay{5};

/// 128 random bits in hexadecimal.
std::string uniqueId() {
    std::array<char, 33> text{};
    std::snprintf(text.data(), text.size(), "%08x%08x%08x%08x", randomUInt32(), randomUInt32(),
                  randomUInt32(), randomUInt32());
    return text.data();
}

/// Twice as long with each failure, and between half and all of that at random, so that the devices
/// that lost a collector together do not come back together.
Clock::Duration delayAfter(int failures) {
    const Clock::Duration ceiling =
        std::min<Clock::Duration>(firstDelay * (1 << std::min(failures - 1, 9)), longestDelay);
    const double share = 0.5 + 0.5 * (randomUInt32() / 4294967296.0);
    return Clock::Duration(
        static_cast<Clock::Duration::rep>(share * static_cast<double>(ceiling.count())));
}

Localytics::Attributes repaired(const Localytics::Attributes& attributes) {
    Localytics::Attributes result;
    result.reserve(attributes.size());
    for (const auto& [name, value] : attributes) {
        result.emplace_back(repairedUTF8(name), repairedUTF8(value));
    }
    return result;
}

std::string described(const JournalEvent& event) {
    std::string line = "tagEvent " + event.name + " {";
    const char* separator = "";
    for (const auto& [name, value] : event.attributes) {
        line.append(separator).append(name).append(": ").append(value);
        separator = ", ";
    }
    return line + "}";
}

}  // namespace

LocalyticsJournal::LocalyticsJournal(LocalyticsJournalOptions options,
                                     std::shared_ptr<URLSession> session,
                                     std::shared_ptr<DispatchQueue> queue,
                                     std::shared_ptr<Clock> clock)
    : collector_(URL::parse(options.collectorURL)),
      eventsPerBatch_(options.eventsPerBatch),
      session_(std::move(session)),
      queue_(std::move(queue)),
      clock_(std::move(clock)),
      store_(options.folder, {options.maximumEvents, options.maximumBytes}, clock_) {}

void LocalyticsJournal::integrate(std::string_view appKey) {
    const std::lock_guard lock(mutex_);
    appKey_ = repairedUTF8(std::string(appKey));
}

void LocalyticsJournal::setLoggingEnabled(bool enabled) { logging_ = enabled; }

void LocalyticsJournal::openSession() {
    const std::lock_guard lock(mutex_);
    sessionId_ = uniqueId();
}

void LocalyticsJournal::setCustomerId(std::string_view customerId) {
    const std::lock_guard lock(mutex_);
    customerId_ = repairedUTF8(std::string(customerId));
}

void LocalyticsJournal::tagEvent(std::string_view eventName, const Attributes& attributes) {
    JournalEvent event{.id = uniqueId(),
                       .name = repairedUTF8(std::string(eventName)),
                       .attributes = repaired(attributes),
                       .appKey = {},
                       .sessionId = {},
                       .customerId = {},
                       .time = clock_->date()};
    {
        const std::lock_guard lock(mutex_);
        event.appKey = appKey_;
        event.sessionId = sessionId_;
        event.customerId = customerId_;
    }
    store_.add(event);
    if (logging_) log(described(event));
}

void LocalyticsJournal::upload() {
    if (!collector_) return;
    {
        const std::lock_guard lock(mutex_);
        if (waiting_) return;
        askedAgain_ = uploading_;
        if (std::exchange(uploading_, true)) return;
    }
    sendNextBatch();
}

void LocalyticsJournal::sendNextBatch() {
    while (true) {
        {
            const std::lock_guard lock(mutex_);
            askedAgain_ = false;
        }
        auto batch = store_.oldest(eventsPerBatch_);
        if (batch.count > 0) return send(std::move(batch));
        if (batch.othersTurn) return retryLater();
        const std::lock_guard lock(mutex_);
        if (!askedAgain_) {
            uploading_ = false;
            return;
        }
    }
}

void LocalyticsJournal::send(EventStore::Batch batch) {
    URLRequest request(*collector_);
    request.method = "POST";
    request.setValue("application/json", "Content-Type");
    auto body = bytesOf(std::exchange(batch.json, {}));
    session_->uploadTask(std::move(request), std::move(body),
                         [weak = weak_from_this(), batch](const Exchange& exchange) mutable {
                             if (const auto self = weak.lock()) {
                                 self->answered(exchange, std::exchange(batch, {}));
                             }
                         });
}

void LocalyticsJournal::answered(const Exchange& exchange, EventStore::Batch batch) {
    const int status = exchange.response ? exchange.response->statusCode : 0;
    if (logging_) {
        log("upload of " + std::to_string(batch.count) +
            (exchange.error ? " events: " + exchange.error->description()
                            : " events: status " + std::to_string(status)));
    }
    const bool taken = !exchange.error && status >= 200 && status <= 299;
    if (!taken || !store_.remove(batch)) return retryLater();
    batch.turn.reset();
    {
        const std::lock_guard lock(mutex_);
        failures_ = 0;
    }
    sendNextBatch();
}

void LocalyticsJournal::retryLater() {
    Clock::Duration delay{};
    {
        const std::lock_guard lock(mutex_);
        uploading_ = false;
        waiting_ = true;
        delay = delayAfter(++failures_);
    }
    queue_->asyncAfter(delay, [weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        {
            const std::lock_guard lock(self->mutex_);
            self->waiting_ = false;
        }
        self->upload();
    });
}

void LocalyticsJournal::log(const std::string& line) const {
    std::fprintf(stderr, "Localytics: %s\n", line.c_str());
}

}  // namespace korvel::platform
