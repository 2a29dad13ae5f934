#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/hls/Rendition.h>

#include <utility>

// Of a rendition: its keys, and the maps of its segments. What a key opens is loaded while the key
// is on its way.

namespace korvel::platform::hls {

std::nullopt_t Rendition::refuse(const KeyTag& key) {
    stage_->fail(
        makeAVError(AVError::contentIsProtected,
                    "The stream is encrypted by " + key.method + ", which cannot be opened here."));
    return std::nullopt;
}

/// Nothing if the stream has failed of it.
std::optional<URL> Rendition::keyAddress(const KeyTag& key) {
    if (!stage_->keys().opens(key)) return refuse(key);
    const auto url =
        key.uri.starts_with("data:") ? URL::parse(key.uri) : resolved(list().address, key.uri);
    if (!url || key.uri.empty()) {
        stage_->fail(makeAVError(AVError::contentIsNotAuthorized, "The key has no valid address."));
        return std::nullopt;
    }
    return isWebScheme(*url) ? address(key.uri) : url;
}

/// Asks for the key. As long as the wish lasts its refusal is the stream's failure.
std::optional<Opening> Rendition::opening(const KeyTag& key, std::int64_t number,
                                          const Wish& wish) {
    const auto url = keyAddress(key);
    if (!url) return std::nullopt;
    Encryption how{.vector = vectorOf(key, number)};
    if (const auto scheme = sampleScheme(key)) {
        how.scheme = *scheme;
        how.samples = stage_->keys().sampleCipher(*scheme);
        if (!how.samples) return refuse(key);
    }
    stage_->took(MediaStep::keyAsked);
    stage_->keys().want(*url, segments_.fetcher(), generation_,
                        [weak = std::weak_ptr(wish)](const NSError& error) {
                            if (const auto wished = weak.lock()) (*wished)->fail(error);
                        });
    return [this, url = *url, how = std::move(how)](bool waits) { return open(url, how, waits); };
}

std::optional<Encryption> Rendition::open(const URL& address, Encryption how, bool waits) {
    KeyStore& keys = stage_->keys();
    if (waits && !download_.beforePause) download_.beforePause = download_.soFar;
    const auto found =
        waits ? keys.key(address, segments_.fetcher(), generation_) : keys.found(address);
    if (!found) return std::nullopt;
    if (const auto* error = std::get_if<NSError>(&*found)) {
        stage_->fail(*error);
        return std::nullopt;
    }
    stage_->took(MediaStep::key);
    how.key = std::get<ContentKey>(*found);
    return how;
}

bool Rendition::loadMap(const Segment& segment, const Wish& wish) {
    constexpr std::uint64_t longestMap = std::uint64_t{16} << 20U;
    const MapTag& map = *segment.map;
    const auto url = address(map.uri);
    if (!url) return false;
    std::string name = url->absoluteString();
    if (map.range) {
        name += '@' + std::to_string(map.range->offset) + '+' + std::to_string(map.range->length);
    }
    if (name == mapName_) {
        unopenedMap_.reset();
        return true;
    }
    const bool isPlain = !map.key || sampleScheme(*map.key);  // there are no samples in it
    if (map.key && isPlain && !keyAddress(*map.key)) return false;
    auto key = isPlain ? std::optional(Opening()) : opening(*map.key, segment.number, wish);
    if (!key) return false;
    if (!unopenedMap_ || unopenedMap_->name != name) {
        auto [result, bytes] = segments_.fetcher().whole(
            {.url = *url, .range = map.range, .limit = longestMap}, generation_);
        if (result.end == FetchResult::End::failed) segmentFailed(segment, result, result.error);
        if (result.end != FetchResult::End::done) return false;
        unopenedMap_ = {std::move(name), std::move(bytes), {}};
    }
    unopenedMap_->opening = std::move(*key);
    return unopenedMap_->opening || openMap();
}

/// Before the first of a segment's bytes is read. False if there is no key to it.
bool Rendition::openMap() {
    if (!unopenedMap_) return true;
    if (unopenedMap_->opening) {
        const auto encryption = unopenedMap_->opening(true);
        if (!encryption) return false;
        const auto cipher = makeCipher(encryption->key, encryption->vector);
        map_ = cipher->update(unopenedMap_->bytes);
        if (const auto last = cipher->finish()) map_.insert(map_.end(), last->begin(), last->end());
    } else {
        map_ = std::move(unopenedMap_->bytes);
    }
    mapName_ = std::move(unopenedMap_->name);
    unopenedMap_.reset();
    return true;
}

}  // namespace korvel::platform::hls
