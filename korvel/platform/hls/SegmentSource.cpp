#include <korvel/platform/hls/SegmentSource.h>

namespace korvel::platform::hls {

InitializationVector vectorOf(const KeyTag& key, std::int64_t segmentNumber) {
    if (key.iv) return *key.iv;
    InitializationVector vector{};
    auto number = static_cast<std::uint64_t>(segmentNumber);
    for (std::size_t i = vector.size(); number > 0; number >>= 8U) {
        vector.at(--i) = static_cast<std::uint8_t>(number & 255U);
    }
    return vector;
}

bool isSupported(const KeyTag& key) { return key.method == "AES-128"; }

FetchResult SegmentSource::get(const FetchRequest& request,
                               const std::optional<Encryption>& encryption,
                               Attention::Generation generation, const Fetcher::Sink& sink) {
    if (!encryption) return fetcher_.get(request, generation, sink);
    const auto cipher = makeCipher(encryption->key, encryption->vector);
    auto result = fetcher_.get(request, generation,
                               [&](Fetcher::Bytes bytes, const FetchResult& soFar, auto total) {
                                   const Data plain = cipher->update(bytes);
                                   return plain.empty() || sink(plain, soFar, total);
                               });
    if (result.end != FetchResult::End::done) return result;
    const auto last = cipher->finish();
    if (last && !last->empty() && !sink(*last, result, result.bytes))
        result.end = FetchResult::End::stopped;
    return result;
}

}  // namespace korvel::platform::hls
