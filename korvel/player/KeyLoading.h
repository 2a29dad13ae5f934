#pragma once

#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/foundation/URL.h>
#include <korvel/player/KeyProgress.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace korvel {

class KCSDKNetworkManager;
class TokenPrefetch;

/// One token, of one content, serves the keys of every class.
inline constexpr const char* keyTokenContent = "50122";

/// Whether the player view that keys are loaded for is still there, and has something to play. The
/// view owns it, other threads look at it weakly, and so never become the view's last owner.
struct PlayerPresence {
    std::atomic<bool> hasViewModel = false;
    std::atomic<int> keysUnderWay = 0;  ///< asked for, and not there yet

    KeyProgress progress() const {
        const std::lock_guard lock(mutex_);
        return progress_;
    }
    /// The first time counts.
    void note(KeyProgress::Moment KeyProgress::*step, platform::Clock::Instant moment) {
        const std::lock_guard lock(mutex_);
        if (!(progress_.*step)) progress_.*step = moment;
    }
    void note(Failure failure) {
        const std::lock_guard lock(mutex_);
        progress_.failure = std::move(failure);
    }

private:
    mutable std::mutex mutex_;
    KeyProgress progress_;
};

/// Where the threads wait that keys of one player's streams are loaded on. They wait for as long as
/// the player is open, answered or not; once it has closed, nobody can tell a thread that waits in
/// vain from one that is gone. Any thread.
class KeyWaiting {
public:
    /// The player is not coming back. Does not wait for the threads.
    void close();
    /// Asks all that wait whether they are done.
    void wake();
    /// Until `isDone(closed)`, which is asked under the lock.
    template <class Done> void wait(Done isDone) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return isDone(closed_); });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool closed_ = false;
};

/// The first "kid" of a key address's query, percent-decoded; "" if there is none or it has no
/// value.
std::string contentIdentifier(const platform::URL& keyURL);

/// What a key server may answer with: a hundred times what a key takes.
inline constexpr std::size_t largestKeyAnswer = std::size_t{64} << 10;

/// The CKC in a key server's answer: its text without the <ckc> tags, base64-decoded. Nothing for
/// anything else, line breaks and blanks included, nor for more than `largestKeyAnswer` bytes.
std::optional<platform::Data> contentKeyContext(const platform::Data& body);

/// Answers the key requests of one protected stream: certificate, SPC, content token, key server,
/// CKC.
///
/// Runs on the resource loader's queue and blocks it until the key was delivered; where the
/// exchange breaks off it blocks it for as long as the player is open, because players wait for
/// their key and never learn of its failure; after that, until the engine has cancelled the
/// request. Nothing is kept from one key to the next.
class KeyLoading final : public platform::AVAssetResourceLoaderDelegate {
public:
    KeyLoading(const platform::Device& device, std::shared_ptr<KCSDKNetworkManager> manager,
               std::weak_ptr<PlayerPresence> player, std::shared_ptr<KeyWaiting> waiting,
               std::shared_ptr<TokenPrefetch> prefetch = nullptr);

    bool shouldWaitForLoadingOfRequestedResource(
        platform::AVAssetResourceLoader& resourceLoader,
        std::shared_ptr<platform::AVAssetResourceLoadingRequest> loadingRequest) override;

private:
    struct Exchange;

    void log(std::string_view item) const;
    /// Nothing, the request being finished or not as the cause wants it, if there is no going on.
    std::shared_ptr<Exchange> begin(
        const std::shared_ptr<platform::AVAssetResourceLoadingRequest>& loadingRequest) const;
    void requestToken(const std::shared_ptr<Exchange>& exchange) const;
    static void requestKey(const std::shared_ptr<Exchange>& exchange, const std::string& token,
                           const platform::Device& device,
                           const std::weak_ptr<PlayerPresence>& player);

    const platform::Device device_;
    const std::shared_ptr<KCSDKNetworkManager> manager_;
    const std::weak_ptr<PlayerPresence> player_;
    const std::shared_ptr<KeyWaiting> waiting_;
    const std::shared_ptr<TokenPrefetch> prefetch_;  ///< null: each token is asked for when wanted
};

}  // namespace korvel
