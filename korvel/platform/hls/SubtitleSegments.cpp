#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/hls/SubtitleLoader.h>

#include <utility>

// Of a subtitle loader: its segments, from address to text.

namespace korvel::platform::hls {

using namespace std::chrono_literals;

namespace {

FetchResult& failed(FetchResult& result, AVError code, std::string reason) {
    result.end = FetchResult::End::failed;
    result.error = makeAVError(code, std::move(reason));
    return result;
}

}  // namespace

void SubtitleLoader::loadSegment(const Segment& segment) {
    {
        const std::lock_guard lock(mutex_);
        loading_ = {segment.start, segment.end()};
    }
    Data body;
    FetchResult result{.end = FetchResult::End::stale, .address = list_->address};
    // Who seeks has seen what is on its way, or is seen here.
    if (!stage_->attention().isStale(position_)) result = load(segment, body);
    {
        const std::lock_guard lock(mutex_);
        loading_.reset();
    }
    if (result.end == FetchResult::End::stale) return;
    // Where nothing is said some servers have nothing at all.
    auto file = body.empty() ? WebVTT() : readWebVTT(viewOf(body));
    if (!file && segment.map) file = readFragmentedWebVTT(mapBytes_, body);
    if (result.end == FetchResult::End::done && !file) {
        failed(result, AVError::fileFormatNotRecognized,
               "No subtitles that can be read: " + result.address.absoluteString());
    }
    if (result.end != FetchResult::End::done) return segmentFailed(segment, result);
    take(segment, *std::move(file));
}

FetchResult SubtitleLoader::load(const Segment& segment, Data& body) {
    const bool isOther = segment.map && (!map_ || map_->uri != segment.map->uri ||
                                         map_->range != segment.map->range);
    if (isOther) {
        const MapTag& map = *segment.map;
        map_.reset();
        mapBytes_.clear();
        auto result = fetch(map.uri, map.range, map.key.get(), segment.number, mapBytes_);
        if (result.end != FetchResult::End::done) return result;
        map_ = segment.map;
    }
    return fetch(segment.uri, segment.range, segment.key.get(), segment.number, body);
}

FetchResult SubtitleLoader::fetch(const std::string& uri, const std::optional<ByteRange>& range,
                                  const KeyTag* key, std::int64_t number, Data& body) {
    FetchResult result{.address = list_->address};
    const auto url = resolved(list_->address, uri);
    if (!url || !mayLead(list_->address, *url)) {
        return failed(result, AVError::serverIncorrectlyConfigured,
                      "The stream leads to an address that is not loaded: " +
                          (url ? url->absoluteString() : uri));
    }
    result.address = *url;
    const auto opens = opening(key, number, result);
    if (!opens) return result;
    auto got = source_.get(
        {.url = *url, .range = range, .limit = longestWebVTT, .patience = 1, .endurance = 4s},
        *opens, generation_, [&](Fetcher::Bytes bytes, const FetchResult&, auto) {
            if (body.size() + bytes.size() > longestWebVTT) return false;
            body.insert(body.end(), bytes.begin(), bytes.end());
            return true;
        });
    if (got.end != FetchResult::End::stopped) return got;
    if (result.end == FetchResult::End::done)  // nobody else has said why
        return failed(got, AVError::fileFormatNotRecognized,
                      "Too long: " + got.address.absoluteString());
    got.end = result.end;
    got.error = result.error;
    return got;
}

void SubtitleLoader::segmentFailed(const Segment& segment, const FetchResult& result) {
    constexpr int mostMisses = 3;
    statistics_->failed(result, result.error);
    Pause& pause = pauses_[keyOf(segment)];
    pause.failed(now());
    if (pause.failures == 1) ++misses_;
    if (misses_ < mostMisses) return;
    const auto place = list_->place;
    if (!hasOther(place)) return pause_.failed(now());
    places_[place].pause.failed(now());
    leave();
}

// MARK: keys

/// Nothing if there is none, for which `result` has the reason.
std::optional<Opening> SubtitleLoader::opening(const KeyTag* key, std::int64_t number,
                                               FetchResult& result) {
    if (!key) return Opening();
    const auto url =
        key->uri.starts_with("data:") ? URL::parse(key->uri) : resolved(list_->address, key->uri);
    const bool mayBe =
        url && !key->uri.empty() && (!isWebScheme(*url) || mayLead(list_->address, *url));
    if (!isOfBodies(*key) || !mayBe) {
        failed(result, AVError::contentIsProtected,
               "Subtitles are encrypted in a way that cannot be opened here: " +
                   result.address.absoluteString());
        return std::nullopt;
    }
    stage_->keys().obtain(*url, source_.fetcher(), generation_);
    return [this, address = *url, vector = vectorOf(*key, number), &result](bool waits) {
        return open(address, vector, waits, result);
    };
}

std::optional<Encryption> SubtitleLoader::open(const URL& address,
                                               const InitializationVector& vector, bool waits,
                                               FetchResult& result) {
    Attention& attention = stage_->attention();
    auto found = stage_->keys().found(address);
    if (!found && waits) {
        const bool came = attention.wait(attention.current(), std::nullopt, [&] {
            found = stage_->keys().found(address);
            return found || attention_->isStale(generation_);
        });
        if (!came || !found) result.end = FetchResult::End::stale;
    }
    if (!found) return std::nullopt;
    if (const auto* error = std::get_if<NSError>(&*found)) {
        result.end = FetchResult::End::failed;
        result.error = *error;
        return std::nullopt;
    }
    return Encryption{.key = std::get<ContentKey>(*found), .vector = vector};
}

}  // namespace korvel::platform::hls
