#pragma once

#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/hls/Attention.h>
#include <korvel/platform/hls/Encryption.h>
#include <korvel/platform/hls/Fetcher.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>

namespace korvel::platform::hls {

/// A presentation's content keys, each asked for once: "data:" addresses hold theirs, those of http
/// and https are loaded, all others are the asset's to answer, who may take for ever. Any thread.
class KeyStore {
public:
    using Key = std::variant<ContentKey, NSError>;
    using Refused = std::function<void(const NSError&)>;

    KeyStore(std::shared_ptr<AVAssetResourceLoader> keys, std::shared_ptr<Attention> attention)
        : keys_(std::move(keys)), attention_(std::move(attention)) {}

    /// Whether what is encrypted so can be opened here: bodies always, samples if the device does.
    bool opens(const KeyTag& key) const;
    /// Of the device; null if it has none.
    std::shared_ptr<const SampleCipher> sampleCipher(SampleCipher::Scheme scheme) const {
        return keys_ ? keys_->sampleCipher(scheme) : nullptr;
    }
    /// Waits for the key; nothing if the generation is overtaken first. The asset goes on
    /// answering then, and is not asked again.
    std::optional<Key> key(const URL& address, Fetcher& fetcher, Attention::Generation generation);
    /// Asks for the key, so that what it opens may be loaded meanwhile. Waits for none but those of
    /// http and https. `refused` runs, on any thread, if the asset ends without a key while the
    /// generation lasts; who wants the key last is told.
    void want(const URL& address, Fetcher& fetcher, Attention::Generation generation,
              Refused refused);
    /// The key or why there is none, if that is known by now.
    std::optional<Key> found(const URL& address);
    /// Asks for the key if nobody has. Waits for none but those of http and https, which are loaded
    /// in a generation of the fetcher's.
    void obtain(const URL& address, Fetcher& fetcher, Attention::Generation generation);
    /// Asks the asset for the key before it is wanted, and waits for nothing. False if nobody wants
    /// that, or if it has been asked for.
    bool preload(const URL& address);
    /// Cancels what the asset has not answered yet.
    void close();

private:
    struct Entry {
        std::optional<Key> key{};
        bool isAsked = false;
        std::shared_ptr<AVAssetResourceLoadingRequest> request{};
        Attention::Generation wantedIn = 0;
        Refused refused{};
    };
    struct State {
        std::mutex mutex;
        std::map<std::string, Entry> entries;  ///< by address
        bool closed = false;
    };
    static std::optional<Key> lookAt(Entry& entry);
    static void answered(State& state, Attention& attention, const std::string& address);
    bool claim(const std::string& address);
    void answer(const std::string& address, std::optional<Key> key);
    void ask(const URL& address);
    std::optional<Key> load(const URL& address, Fetcher& fetcher, Attention::Generation generation);

    const std::shared_ptr<AVAssetResourceLoader> keys_;
    const std::shared_ptr<Attention> attention_;
    const std::shared_ptr<State> state_ = std::make_shared<State>();
};

}  // namespace korvel::platform::hls
