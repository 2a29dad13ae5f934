#pragma once

#include <korvel/platform/foundation/DispatchQueue.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace korvel {

class PendingCore;

/// The moments at which operations end at the latest. However many there are, one task at a time
/// waits in the queue for the earliest. Lives in a `std::shared_ptr`. Any thread.
class Deadlines : public std::enable_shared_from_this<Deadlines> {
public:
    using Instant = platform::Clock::Instant;
    using Token = std::pair<Instant, std::uint64_t>;

    /// `timers` counts by `clock`, and keeps neither this nor an operation alive.
    Deadlines(std::shared_ptr<const platform::Clock> clock,
              std::shared_ptr<platform::DispatchQueue> timers);

    Token add(platform::Clock::Duration limit, const std::shared_ptr<PendingCore>& operation);
    void remove(const Token& token);

    platform::Clock::Duration until(const Token& token) const;
    /// Runs `task` after `delay` on the same queue.
    void after(platform::Clock::Duration delay, platform::DispatchQueue::Task task) const;

private:
    void wakeFor(Instant instant);
    void sweep();

    const std::shared_ptr<const platform::Clock> clock_;
    const std::shared_ptr<platform::DispatchQueue> timers_;
    std::mutex mutex_;
    std::map<Token, std::weak_ptr<PendingCore>> operations_;
    std::optional<Instant> wakesAt_;
    std::uint64_t newest_ = 0;
};

}  // namespace korvel
