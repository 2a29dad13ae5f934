#pragma once

#include <korvel/platform/Device.h>
#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/foundation/URL.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace korvel {

class KCSDKNetworkManager;

/// Whether the player view that keys are loaded for is still there, and has something to play. The
/// view owns it, other threads look at it weakly, and so never become the view's last owner.
struct PlayerPresence {
    std::atomic<bool> hasViewModel = false;
};

/// The first "kid" of a key address's query, percent-decoded; "" if there is none or it has no
/// value.
std::string contentIdentifier(const platform::URL& keyURL);

/// The CKC in a key server's answer: its text without the <ckc> tags, base64-decoded. Nothing for
/// anything else, line breaks and blanks included.
std::optional<platform::Data> contentKeyContext(const platform::Data& body);

/// Answers the key requests of one protected stream: certificate, SPC, content token, key server,
/// CKC.
///
/// Runs on the resource loader's queue and blocks it until the key was delivered; where the
/// exchange breaks off it blocks it for ever, because players wait for their key and never learn of
/// its failure. Nothing is kept from one key to the next.
class KeyLoading final : public platform::AVAssetResourceLoaderDelegate {
public:
    KeyLoading(const platform::Device& device, std::shared_ptr<KCSDKNetworkManager> manager,
               std::weak_ptr<PlayerPresence> player);

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
                           const platform::Device& device);

    const platform::Device device_;
    const std::shared_ptr<KCSDKNetworkManager> manager_;
    const std::weak_ptr<PlayerPresence> player_;
};

}  // namespace korvel
