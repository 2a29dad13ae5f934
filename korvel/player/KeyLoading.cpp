#include <korvel/model/KCSDKOndemandContentToken.h>
#include <korvel/network/Conduct.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/network/ServiceOperations.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/FatalError.h>
#include <korvel/platform/foundation/UTF8.h>
#include <korvel/player/KeyLoading.h>
#include <korvel/player/TokenPrefetch.h>
#include <korvel/sdk/SDKResources.h>

#include <utility>

namespace korvel {

using platform::AVAssetResourceLoadingRequest;
using platform::Data;
using platform::URL;
using platform::URLRequest;

namespace {

enum class KeyError : std::int64_t { noURL = -1, noCertificate = -2, noSPC = -3 };

NSError keyError(KeyError code) {
    return {.domain = sdkErrorDomain, .code = static_cast<std::int64_t>(code), .userInfo = {}};
}

/// Lets go of the presence before anything is waited for.
bool hasViewModel(const std::weak_ptr<PlayerPresence>& player) {
    const auto present = player.lock();
    return present && present->hasViewModel;
}

void note(const std::weak_ptr<PlayerPresence>& player, KeyProgress::Moment KeyProgress::*step,
          const platform::Clock& clock) {
    if (const auto present = player.lock()) present->note(step, clock.now());
}

void note(const std::weak_ptr<PlayerPresence>& player, Failure failure) {
    if (const auto present = player.lock()) present->note(std::move(failure));
}

/// What a key server's answer means, which goes by its body alone, to those who want to know.
std::optional<Failure> failureOf(const platform::Exchange& answer) {
    if (answer.error && !answer.isTooLong()) return failureOfTransport(*answer.error);
    const int status = answer.response ? answer.response->statusCode : 0;
    if (status == 200 || status == 201) return std::nullopt;
    return failureOfStatus(status, answer.body);
}

std::string without(std::string_view text, std::string_view part) {
    std::string rest;
    rest.reserve(text.size());
    for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part)) {
        rest.append(text.substr(0, at));
        text.remove_prefix(at + part.size());
    }
    return rest.append(text);
}

}  // namespace

std::string contentIdentifier(const URL& keyURL) {
    for (const auto& [name, value] : keyURL.queryItems()) {
        if (name == "kid") return value.value_or("");
    }
    return "";
}

std::optional<Data> contentKeyContext(const Data& body) {
    const auto text = platform::viewOf(body);
    if (text.size() > largestKeyAnswer || !platform::isValidUTF8(text)) return std::nullopt;
    return platform::base64Decoded(without(without(text, "<ckc>"), "</ckc>"));
}

void KeyWaiting::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
}

void KeyWaiting::wake() {
    const std::lock_guard lock(mutex_);  // so that none sleeps in between asking and waiting
    changed_.notify_all();
}

/// One key request on its way. Kept by the completions that continue it. Accompanies the request
/// for its token.
struct KeyLoading::Exchange final : Conduct {
    Exchange(std::shared_ptr<AVAssetResourceLoadingRequest> loading, std::string kid, Data made,
             URL server, std::shared_ptr<KeyWaiting> room)
        : waiting(std::move(room)),
          loadingRequest(std::move(loading)),
          identifier(std::move(kid)),
          spc(std::move(made)),
          keyServer(std::move(server)) {}

    const std::shared_ptr<KeyWaiting> waiting;
    std::shared_ptr<AVAssetResourceLoadingRequest> loadingRequest;
    std::string identifier;
    Data spc;
    URL keyServer;
    std::atomic<bool> delivered = false;

    bool isOver() const override {
        const std::lock_guard lock(mutex_);
        return over_;
    }
    /// The service has been asked for the token. Its answer may have come meanwhile, and more.
    void began(std::shared_ptr<platform::URLSessionTask> task, int) override {
        keep(token_, std::move(task));
    }
    void keyRequested(std::shared_ptr<platform::URLSessionTask> task) {
        keep(key_, std::move(task));
    }
    bool triesAgain(const Failure&, std::function<void()>) override { return false; }
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
        request.largestBody = largestKeyAnswer;
        request.takesOpenedConnection = true;
        return request;
    }
    /// Main queue. A request without a key is a success to the platform, which then finds none.
    void deliver(std::optional<Data> ckc) {
        loadingRequest->dataRequest()->respond(ckc.value_or(Data()));
        loadingRequest->finishLoading();
        delivered = true;
        waiting->wake();
    }
    /// A service or a key server that is silent would keep a connection until the time-out, for
    /// each player that was closed before its answer.
    void wait() {
        loadingRequest->observeCancel([room = waiting] { room->wake(); });
        waiting->wait(
            [this](bool closed) { return delivered || (closed && loadingRequest->isCancelled()); });
        std::shared_ptr<platform::URLSessionTask> token, key;
        {
            const std::lock_guard lock(mutex_);
            over_ = true;
            token_.swap(token);
            key_.swap(key);
        }
        if (delivered) return;
        if (token) token->cancel();
        if (key) key->cancel();
    }

private:
    using Task = std::shared_ptr<platform::URLSessionTask>;

    void keep(Task& kept, Task begun) {
        {
            const std::lock_guard lock(mutex_);
            if (!over_) return kept.swap(begun);
        }
        if (begun) begun->cancel();
    }

    mutable std::mutex mutex_;  ///< guards what follows
    bool over_ = false;
    Task token_, key_;
};

KeyLoading::KeyLoading(const platform::Device& device, std::shared_ptr<KCSDKNetworkManager> manager,
                       std::weak_ptr<PlayerPresence> player, std::shared_ptr<KeyWaiting> waiting,
                       std::shared_ptr<TokenPrefetch> prefetch)
    : device_(device),
      manager_(std::move(manager)),
      player_(std::move(player)),
      waiting_(std::move(waiting)),
      prefetch_(std::move(prefetch)) {}

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
    if (const auto present = player_.lock()) ++present->keysUnderWay;
    if (hasViewModel(player_)) requestToken(exchange);
    exchange->wait();
    if (const auto present = player_.lock()) --present->keysUnderWay;
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
                                      keyURL.withScheme("https"), waiting_);
}

void KeyLoading::requestToken(const std::shared_ptr<Exchange>& exchange) const {
    device_.urlSession->connect(exchange->keyServer);  // while the token is on its way
    if (prefetch_) prefetch_->servers().noteKey(exchange->keyServer);
    if (const auto present = player_.lock()) {
        present->note(&KeyProgress::tokenAsked,
                      prefetch_ ? prefetch_->asked() : device_.clock->now());
    }
    const Handler<TokenPrefetch::Token> done =
        [exchange, player = player_, device = device_](const Outcome<TokenPrefetch::Token>& token) {
            if (!token) return note(player, token.failure());
            note(player, &KeyProgress::token, *device.clock);
            if (hasViewModel(player)) requestKey(exchange, (*token)->token, device, player);
        };
    if (prefetch_ && prefetch_->take(done)) return;
    manager_->operations().contentToken(keyTokenContent, done, exchange);
}

void KeyLoading::requestKey(const std::shared_ptr<Exchange>& exchange, const std::string& token,
                            const platform::Device& device,
                            const std::weak_ptr<PlayerPresence>& player) {
    if (exchange->isOver()) return;
    note(player, &KeyProgress::requested, *device.clock);
    auto request = exchange->request(token);
    const auto id = platform::Diagnostics::newRequestId();
    if (device.diagnostics) device.diagnostics->requestStarted(id, request);
    auto task = device.urlSession->dataTask(
        std::move(request),
        [exchange, id, player, clock = device.clock, diagnostics = device.diagnostics,
         mainQueue = device.mainQueue](platform::Exchange answer) {
            if (diagnostics) diagnostics->requestEnded(id, answer);
            auto ckc = answer.body ? contentKeyContext(*answer.body) : std::nullopt;
            note(player, &KeyProgress::answered, *clock);
            if (auto failure = failureOf(answer)) note(player, std::move(*failure));
            mainQueue->async([exchange, mainQueue, ckc = std::move(ckc),
                              failed = answer.error && !answer.isTooLong()]() mutable {
                if (failed) return;
                // Behind what the main queue holds by now, as hosts' own work is, too.
                mainQueue->async([exchange, ckc = std::move(ckc)] { exchange->deliver(ckc); });
            });
        });
    exchange->keyRequested(std::move(task));
}

}  // namespace korvel
