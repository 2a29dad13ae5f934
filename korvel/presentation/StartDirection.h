#pragma once

#include <korvel/network/Outcome.h>

#include <cstdint>
#include <memory>
#include <utility>

namespace korvel {

class KCSDKNetworkManager;
class KCSDKOndemandClass;
class KCSDKPlayerEvents;
class TokenPrefetch;

/// Who hears what becomes of a player's start, and records what was performed. The start holds it,
/// and the player that came of it.
class StartDirection {
public:
    explicit StartDirection(std::shared_ptr<KCSDKNetworkManager> of) : manager(std::move(of)) {}
    virtual ~StartDirection() = default;

    /// The service has answered. Main queue.
    virtual void answered() {}
    /// Main queue, at most once.
    virtual void done(Outcome<std::shared_ptr<KCSDKPlayerEvents>> outcome) = 0;
    /// The player closes. False: it has before, which is all that counts. Main queue.
    virtual bool closes(std::int64_t /*performedSeconds*/) { return true; }
    /// Records the performance when the player has closed; on a background thread.
    virtual void record(const KCSDKOndemandClass& performed, std::int64_t performedSeconds) = 0;

    const std::shared_ptr<KCSDKNetworkManager> manager;
    std::shared_ptr<TokenPrefetch> tokens;  ///< of `KCSDKPlayerView`; may be null
    bool endsWithoutStream = false;         ///< where the record's stream has no address
};

}  // namespace korvel
