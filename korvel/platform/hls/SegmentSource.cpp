#include <korvel/platform/hls/SegmentSource.h>

#include <deque>

namespace korvel::platform::hls {

/// What came before its key.
struct SegmentSource::Unopened {
    using Total = std::optional<std::uint64_t>;

    const Opening& opening;
    const Fetcher::Sink& sink;
    bool isOpen = false;
    std::unique_ptr<Cipher> cipher{};  ///< null: the body is as it is
    std::deque<Data> pieces{};
    std::size_t size = 0;

    bool open(bool waits) {
        if (isOpen) return true;
        const auto found = opening(waits);
        if (found && !found->samples) cipher = makeCipher(found->key, found->vector);
        return isOpen = found.has_value();
    }
    bool take(Fetcher::Bytes bytes, const FetchResult& soFar, Total total) {
        const bool waits = size + bytes.size() > mostUnopened;
        if (open(waits)) return release(soFar, total) && give(bytes, soFar, total);
        if (waits) return false;
        pieces.emplace_back(bytes.begin(), bytes.end());
        size += bytes.size();
        return sink({}, soFar, total);
    }
    bool release(const FetchResult& soFar, Total total) {
        for (; !pieces.empty(); pieces.pop_front()) {
            if (!give(pieces.front(), soFar, total)) return false;
        }
        return true;
    }
    bool give(Fetcher::Bytes bytes, const FetchResult& soFar, Total total) {
        if (!cipher) return sink(bytes, soFar, total);
        const Data plain = cipher->update(bytes);
        return plain.empty() || sink(plain, soFar, total);
    }
    bool finish(const FetchResult& result) {
        if (!open(true) || !release(result, result.bytes)) return false;
        const auto last = cipher ? cipher->finish() : std::nullopt;
        return !last || last->empty() || sink(*last, result, result.bytes);
    }
};

FetchResult SegmentSource::get(const FetchRequest& request, const Opening& opening,
                               Attention::Generation generation, const Fetcher::Sink& sink) {
    if (!opening) return fetcher_.get(request, generation, sink);
    Unopened body{opening, sink};
    auto result = fetcher_.get(request, generation,
                               [&](Fetcher::Bytes bytes, const FetchResult& soFar, auto total) {
                                   return body.take(bytes, soFar, total);
                               });
    if (result.end == FetchResult::End::done && !body.finish(result))
        result.end = FetchResult::End::stopped;
    return result;
}

}  // namespace korvel::platform::hls
