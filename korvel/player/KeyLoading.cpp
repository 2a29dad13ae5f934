#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/foundation/Semaphore.h>
#include <korvel/platform/foundation/UTF8.h>
#include <korvel/player/KeyLoading.h>
#include <korvel/sdk/SDKResources.h>

#include <utility>

namespace korvel {

using platform::AVAssetResourceLoadingRequest;
using platform::Data;
using platform::URL;
using platform::URLRequest;

namespace {

enum class KeyError : std::int64_t { noURL = -1, noCertificate = -2, noSPC = -3 };

constexpr const char* keyTokenContent = "50122";  // one token serves the keys of every class

NSError keyError(KeyError code) {
    return {.domain = sdkErrorDomain, .code = static_cast<std::int64_t>(code), .userInfo = {}};
}

/// Lets go of the presence before anything is waited for.
bool hasViewModel(const std::weak_ptr<PlayerPresence>& player) {
    const auto present = player.lock();
    return present && present->hasViewModel;
}

void removeAll(std::string& text, std::string_view part) {
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at)) {
        text.erase(at, part.size());
    }
}

}  // namespace

std::string contentIdentifier(const URL& keyURL) {
    for (const auto& [name, value] : keyURL.queryItems()) {
        if (name == "kid") return value.value_or("");
    }
    return "";
}

std::optional<Data> contentKeyContext(const Data& body) {
    std::string text(platform::viewOf(body));
    if (!platform::isValidUTF8(text)) return std::nullopt;
    removeAll(text, "<ckc>");
    removeAll(text, "</ckc>");
    return platform::base64Decoded(text);
}

/// One key request on its way. Kept by the completions that continue it.
struct KeyLoading::Exchange {
    Exchange(std::shared_ptr<AVAssetResourceLoadingRequest> loading, std::string kid, Data made,
             URL server)
        : loadingRequest(std::move(loading)),
          identifier(std::move(kid)),
          spc(std::move(made)),
          keyServer(std::move(server)) {}

    std::shared_ptr<AVAssetResourceLoadingRequest> loadingRequest;
    std::string identifier;
    Data spc;
    URL keyServer;
    platform::Semaphore delivered{0};

    /// What the key server reads: nothing in it is percent-encoded, "+" and "/" included.
    Data body() const {
        return platform::bytesOf("spc=" + platform::base64Encoded(platform::viewOf(spc)) +
                                 "&assetId=" + platform::lossyASCII(identifier));
    }
    URLRequest request(const std::string& token) const {
        URLRequest request(keyServer);
        request.method = "POST";
        request.body = body();
        request.setValue(std::to_string(request.body->size()), "Content-Length");
        request.setValue("application/x-www-form-urlencoded", "Content-Type");
        request.setValue("Bearer " + token, "Authorization");
        return request;
    }
    /// Main queue. A request without a key is a success to the platform, which then finds none.
    void deliver(std::optional<Data> ckc) {
        loadingRequest->dataRequest()->respond(ckc.value_or(Data()));
        loadingRequest->finishLoading();
        delivered.signal();
    }
};

KeyLoading::KeyLoading(const platform::Device& device, std::shared_ptr<KCSDKNetworkManager> manager,
                       std::weak_ptr<PlayerPresence> player)
    : device_(device), manager_(std::move(manager)), player_(std::move(player)) {}

void KeyLoading::log(std::string_view item) const {
    device_.console->print(
        "\U0001F511 resourceLoader(_:shouldWaitForLoadingOfRequestedResource:) " +
        std::string(item));
}

bool KeyLoading::shouldWaitForLoadingOfRequestedResource(
    platform::AVAssetResourceLoader&,
    std::shared_ptr<AVAssetResourceLoadingRequest> loadingRequest) {
    const auto exchange = begin(loadingRequest);
    if (!exchange) return false;
    if (hasViewModel(player_)) requestToken(exchange);
    exchange->delivered.wait();
    return true;
}

std::shared_ptr<KeyLoading::Exchange> KeyLoading::begin(
    const std::shared_ptr<AVAssetResourceLoadingRequest>& loadingRequest) const {
    if (!loadingRequest->request()) {
        log("Unable to read the url/host data.");
        loadingRequest->finishLoading(keyError(KeyError::noURL));
        return nullptr;
    }
    const auto& keyURL = loadingRequest->request()->url;
    log(keyURL.absoluteString());

    const auto* bundle = device_.bundle(sdkBundleIdentifier);
    if (!bundle || !bundle->path("fairplay", "cer")) return nullptr;
    const auto certificate = bundle->contents("fairplay", "cer");
    if (!certificate) {
        log("Unable to read the certificate data.");
        loadingRequest->finishLoading(keyError(KeyError::noCertificate));
        return nullptr;
    }

    auto identifier = contentIdentifier(keyURL);
    std::optional<Data> spc;
    if (platform::isValidUTF8(identifier)) {
        NSError reason;
        spc = loadingRequest->streamingContentKeyRequestData(
            *certificate, platform::bytesOf(identifier), &reason);
    }
    if (!spc || !loadingRequest->dataRequest()) {
        loadingRequest->finishLoading(keyError(KeyError::noSPC));
        log("Unable to read the SPC data.");
        return nullptr;
    }
    return std::make_shared<Exchange>(loadingRequest, std::move(identifier), std::move(*spc),
                                      keyURL.withScheme("https"));
}

void KeyLoading::requestToken(const std::shared_ptr<Exchange>& exchange) const {
    manager_->getContentToken(keyTokenContent,
                              [exchange, player = player_, device = device_](auto token, auto) {
                                  if (token && hasViewModel(player))
                                      requestKey(exchange, token->token, device);
                              });
}

void KeyLoading::requestKey(const std::shared_ptr<Exchange>& exchange, const std::string& token,
                            const platform::Device& device) {
    auto request = exchange->request(token);
    const auto id = platform::Diagnostics::newRequestId();
    if (device.diagnostics) device.diagnostics->requestStarted(id, request);
    device.urlSession->dataTask(
        std::move(request), [exchange, id, diagnostics = device.diagnostics,
                             mainQueue = device.mainQueue](platform::Exchange answer) {
            if (diagnostics) diagnostics->requestEnded(id, answer);
            auto ckc = answer.body ? contentKeyContext(*answer.body) : std::nullopt;
            mainQueue->async([exchange, mainQueue, ckc = std::move(ckc),
                              failed = answer.error.has_value()]() mutable {
                if (failed) return;
                // Behind what the main queue holds by now, as hosts' own work is, too.
                mainQueue->async([exchange, ckc = std::move(ckc)] { exchange->deliver(ckc); });
            });
        });
}

}  // namespace korvel
