#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/hls/KeyStore.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace korvel::platform::hls {

namespace {

constexpr std::size_t mostKeys = 1000;
constexpr std::uint64_t longestKeyAnswer = 4096;

KeyStore::Key keyOf(const Data& bytes) {
    ContentKey key;
    if (bytes.size() != key.size()) {
        return makeAVError(AVError::contentIsNotAuthorized,
                           "A key has 16 bytes, not " + std::to_string(bytes.size()) + ".");
    }
    std::copy(bytes.begin(), bytes.end(), key.begin());
    return key;
}

KeyStore::Key keyInAddress(const std::string& address) {
    const auto comma = address.find(',');
    const bool isBase64 =
        comma != address.npos && comma >= 7 && address.compare(comma - 7, 7, ";base64") == 0;
    const auto bytes =
        isBase64 ? base64Decoded(std::string_view(address).substr(comma + 1)) : std::nullopt;
    return keyOf(bytes.value_or(Data()));
}

}  // namespace

bool KeyStore::opens(const KeyTag& key) const {
    const auto scheme = sampleScheme(key);
    return scheme ? sampleCipher(*scheme) != nullptr : isOfBodies(key);
}

bool KeyStore::claim(const std::string& address) {
    const std::lock_guard lock(state_->mutex);
    if (state_->closed) return false;
    auto& entries = state_->entries;
    if (entries.size() > mostKeys)
        std::erase_if(entries, [](const auto& each) { return each.second.key.has_value(); });
    return !std::exchange(entries[address].isAsked, true);
}

void KeyStore::answer(const std::string& address, std::optional<Key> key) {
    {
        const std::lock_guard lock(state_->mutex);
        Entry& entry = state_->entries[address];
        entry.isAsked = key.has_value();
        entry.key = std::move(key);
    }
    attention_->notify();
}

/// Whoever wants to know looks at the request itself, so that it does not matter whether the answer
/// comes before the request is kept here.
std::optional<KeyStore::Key> KeyStore::lookAt(Entry& entry) {
    if (entry.request && entry.request->isFinished())
        entry.key = std::exchange(entry.request, nullptr)->key();
    return entry.key;
}

void KeyStore::answered(State& state, Attention& attention, const std::string& address) {
    attention.notify();
    Refused refused;
    std::optional<Key> found;
    {
        const std::lock_guard lock(state.mutex);
        const auto entry = state.entries.find(address);
        if (state.closed || entry == state.entries.end()) return;
        found = lookAt(entry->second);
        if (!found) return;
        refused = std::exchange(entry->second.refused, nullptr);
        if (attention.isStale(entry->second.wantedIn)) return;
    }
    const auto* error = std::get_if<NSError>(&*found);
    if (error && refused) refused(*error);
}

void KeyStore::obtain(const URL& address, Fetcher& fetcher, Attention::Generation generation) {
    const std::string& text = address.absoluteString();
    if (!claim(text)) return;
    if (text.starts_with("data:")) {
        answer(text, keyInAddress(text));
    } else if (isWebScheme(address)) {
        answer(text, load(address, fetcher, generation));
    } else {
        ask(address);
    }
}

void KeyStore::want(const URL& address, Fetcher& fetcher, Attention::Generation generation,
                    Refused refused) {
    const std::string& text = address.absoluteString();
    obtain(address, fetcher, generation);
    {
        const std::lock_guard lock(state_->mutex);
        const auto entry = state_->entries.find(text);
        if (entry == state_->entries.end() || entry->second.key) return;
        entry->second.wantedIn = generation;
        entry->second.refused = std::move(refused);
    }
    answered(*state_, *attention_, text);
}

std::optional<KeyStore::Key> KeyStore::found(const URL& address) {
    const std::lock_guard lock(state_->mutex);
    const auto entry = state_->entries.find(address.absoluteString());
    return entry == state_->entries.end() ? std::nullopt : lookAt(entry->second);
}

std::optional<KeyStore::Key> KeyStore::key(const URL& address, Fetcher& fetcher,
                                           Attention::Generation generation) {
    while (true) {
        obtain(address, fetcher, generation);
        std::optional<Key> key;
        const bool goesOn = attention_->wait(generation, std::nullopt, [&] {
            const std::lock_guard lock(state_->mutex);
            Entry& entry = state_->entries[address.absoluteString()];
            key = lookAt(entry);
            return key || !entry.isAsked;
        });
        if (!goesOn) return std::nullopt;
        if (key) return key;
    }
}

bool KeyStore::preload(const URL& address) {
    const std::string& text = address.absoluteString();
    if (!keys_ || !keys_->preloadsEligibleContentKeys() || isWebScheme(address)) return false;
    if (text.starts_with("data:") || !claim(text)) return false;
    ask(address);
    return true;
}

void KeyStore::ask(const URL& address) {
    const auto& text = address.absoluteString();
    const auto request =
        keys_->load(URLRequest(address), [state = state_, weak = std::weak_ptr(attention_), text] {
            if (const auto attention = weak.lock()) answered(*state, *attention, text);
        });
    {
        const std::lock_guard lock(state_->mutex);
        if (!state_->closed) {
            state_->entries[text].request = request;
            return;
        }
    }
    request->cancel();
}

std::optional<KeyStore::Key> KeyStore::load(const URL& address, Fetcher& fetcher,
                                            Attention::Generation generation) {
    const auto [result, body] =
        fetcher.whole({.url = address, .limit = longestKeyAnswer}, generation);
    if (result.end == FetchResult::End::done) return keyOf(body);
    if (result.end == FetchResult::End::stale) return std::nullopt;
    NSError error = result.error;
    error.code = static_cast<std::int64_t>(AVError::contentIsNotAuthorized);
    return error;
}

void KeyStore::close() {
    std::vector<std::shared_ptr<AVAssetResourceLoadingRequest>> pending;
    {
        const std::lock_guard lock(state_->mutex);
        state_->closed = true;
        for (auto& [address, entry] : state_->entries) {
            entry.refused = nullptr;
            if (auto request = std::exchange(entry.request, nullptr))
                pending.push_back(std::move(request));
        }
    }
    for (const auto& request : pending) request->cancel();
}

}  // namespace korvel::platform::hls
