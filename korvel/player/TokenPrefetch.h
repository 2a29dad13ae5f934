#pragma once

#include <korvel/network/Boxed.h>
#include <korvel/platform/foundation/Clock.h>
#include <korvel/player/KnownServers.h>

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

    TokenPrefetch(std::shared_ptr<const platform::Clock> clock,
                  std::shared_ptr<KnownServers> servers);
    void begin(const ServiceOperations& service);

    /// Learns where this class's stream and keys come from.
    KnownServers& servers() const { return *servers_; }

    platform::Clock::Instant asked() const;
    /// Hands the token to `done` once it is there. False if it has been taken, or if none was to be
    /// had: then the service is to be asked.
    bool take(Handler<Token> done);

private:
    void came(Outcome<Box> outcome);

    const std::shared_ptr<const platform::Clock> clock_;
    const std::shared_ptr<KnownServers> servers_;
    mutable std::mutex mutex_;
    platform::Clock::Instant asked_{};
    bool isTaken_ = false;
    std::optional<Outcome<Box>> outcome_;
    BoxHandler waiting_;
};

}  // namespace korvel
