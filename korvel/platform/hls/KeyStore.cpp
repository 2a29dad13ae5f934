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

bool KeyStore::claim(const std::string& address) {
    const std::lock_guard lock(mutex_);
    if (closed_) return false;
    if (entries_.size() > mostKeys) {
        std::erase_if(entries_, [](const auto& each) { return each.second.key.has_value(); });
    }
    return !std::exchange(entries_[address].isAsked, true);
}

void KeyStore::answer(const std::string& address, std::optional<Key> key) {
    {
        const std::lock_guard lock(mutex_);
        Entry& entry = entries_[address];
        entry.isAsked = key.has_value();
        entry.key = std::move(key);
    }
    attention_->notify();
}

std::optional<KeyStore::Key> KeyStore::key(const URL& address, Fetcher& fetcher,
                                           Attention::Generation generation) {
    const std::string& text = address.absoluteString();
    while (true) {
        if (claim(text)) {
            if (text.starts_with("data:")) {
                answer(text, keyInAddress(text));
            } else if (isWebScheme(address)) {
                answer(text, load(address, fetcher, generation));
            } else {
                ask(address);
            }
        }
        std::optional<Key> found;
        const bool goesOn = attention_->wait(generation, std::nullopt, [&] {
            const std::lock_guard lock(mutex_);
            Entry& entry = entries_[text];
            if (entry.request && entry.request->isFinished())
                entry.key = std::exchange(entry.request, nullptr)->key();
            found = entry.key;
            return found || !entry.isAsked;
        });
        if (!goesOn) return std::nullopt;
        if (found) return found;
    }
}

bool KeyStore::preload(const URL& address) {
    const std::string& text = address.absoluteString();
    if (!keys_ || !keys_->preloadsEligibleContentKeys() || isWebScheme(address)) return false;
    if (text.starts_with("data:") || !claim(text)) return false;
    ask(address);
    return true;
}

/// Whoever waits looks at the request itself, so that it does not matter whether the answer comes
/// before the request is kept here.
void KeyStore::ask(const URL& address) {
    const auto request = keys_->load(URLRequest(address), [weak = std::weak_ptr(attention_)] {
        if (const auto attention = weak.lock()) attention->notify();
    });
    {
        const std::lock_guard lock(mutex_);
        if (!closed_) {
            entries_[address.absoluteString()].request = request;
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
        const std::lock_guard lock(mutex_);
        closed_ = true;
        for (auto& [address, entry] : entries_) {
            if (auto request = std::exchange(entry.request, nullptr))
                pending.push_back(std::move(request));
        }
    }
    for (const auto& request : pending) request->cancel();
}

}  // namespace korvel::platform::hls
