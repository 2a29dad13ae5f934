#include <korvel/platform/hls/Statistics.h>

#include <utility>

namespace korvel::platform::hls {

namespace {

constexpr std::size_t mostEntries = 1000;

template <class Entry> void append(std::vector<Entry>& entries, Entry entry) {
    if (entries.size() >= mostEntries) entries.erase(entries.begin());
    entries.push_back(std::move(entry));
}

}  // namespace

void Statistics::chosen(std::size_t variant) {
    const std::lock_guard lock(mutex_);
    if (entries_.empty() || entries_.back().variant != variant)
        append(entries_, Entry{.variant = variant});
}

void Statistics::loaded(std::uint64_t bytes, std::chrono::nanoseconds busy, int stalls) {
    const std::lock_guard lock(mutex_);
    if (entries_.empty()) return;
    Entry& entry = entries_.back();
    entry.bytes += bytes;
    entry.busy += busy;
    ++entry.requests;
    entry.stalls += stalls - std::exchange(stalls_, stalls);
}

void Statistics::loadedBeside(std::uint64_t bytes) {
    const std::lock_guard lock(mutex_);
    if (entries_.empty()) return;
    entries_.back().beside += bytes;
    ++entries_.back().requests;
}

void Statistics::failed(const FetchResult& result, const NSError& error) {
    const std::lock_guard lock(mutex_);
    append(errors_,
           AVPlayerItemErrorLogEvent{result.address.absoluteString(), result.status, error});
}

std::vector<AVPlayerItemAccessLogEvent> Statistics::accesses(const std::vector<Variant>& variants,
                                                             int stalls) const {
    const std::lock_guard lock(mutex_);
    std::vector<AVPlayerItemAccessLogEvent> events;
    for (const Entry& each : entries_) {
        AVPlayerItemAccessLogEvent& event = events.emplace_back();
        if (each.variant < variants.size()) {
            const Variant& variant = variants[each.variant];
            event.URI = variant.address;
            if (variant.bitRate > 0) event.indicatedBitrate = static_cast<double>(variant.bitRate);
        }
        if (each.bytes > 0 && each.busy.count() > 0) {
            event.observedBitrate = static_cast<double>(each.bytes) * 8 /
                                    std::chrono::duration<double>(each.busy).count();
        }
        event.numberOfBytesTransferred = static_cast<std::int64_t>(each.bytes + each.beside);
        event.numberOfMediaRequests = each.requests;
        event.numberOfStalls = each.stalls;
        event.transferDuration = each.busy;
    }
    if (!events.empty()) events.back().numberOfStalls += stalls - stalls_;
    return events;
}

std::vector<AVPlayerItemErrorLogEvent> Statistics::errors() const {
    const std::lock_guard lock(mutex_);
    return errors_;
}

}  // namespace korvel::platform::hls
