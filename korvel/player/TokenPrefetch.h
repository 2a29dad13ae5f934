#pragma once

#include <korvel/network/Outcome.h>
#include <korvel/platform/foundation/Clock.h>

#include <memory>
#include <mutex>
#include <optional>

namespace korvel {

class KCSDKOndemandContentToken;
class ServiceOperations;

/// A content token that is asked for before a key wants it. Lives in a `std::shared_ptr`. Any
/// thread.
class TokenPrefetch : public std::enable_shared_from_this<TokenPrefetch> {
public:
    using Token = std::shared_ptr<KCSDKOndemandContentToken>;

    explicit TokenPrefetch(std::shared_ptr<const platform::Clock> clock);
    void begin(const ServiceOperations& service);

    platform::Clock::Instant asked() const;
    /// Hands the token to `done` once it is there. False if it has been taken, or if none was to be
    /// had: then the service is to be asked.
    bool take(OutcomeHandler<Token> done);

private:
    void came(Outcome<Token> outcome);

    const std::shared_ptr<const platform::Clock> clock_;
    mutable std::mutex mutex_;
    platform::Clock::Instant asked_{};
    bool isTaken_ = false;
    std::optional<Outcome<Token>> outcome_;
    OutcomeHandler<Token> waiting_;
};

}  // namespace korvel
