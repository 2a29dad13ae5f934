#pragma once

#include <korvel/platform/hls/Fetcher.h>
#include <korvel/platform/hls/Presentation.h>

#include <mutex>
#include <vector>

namespace korvel::platform::hls {

/// Keeps the logs. Any thread.
class Statistics {
public:
    void chosen(std::size_t variant);
    /// `stalls`: of the presentation, so far.
    void loaded(std::uint64_t bytes, std::chrono::nanoseconds busy, int stalls);
    /// By another loader than that of the variant, at the same time.
    void loadedBeside(std::uint64_t bytes);
    void failed(const FetchResult& result, const NSError& error);

    std::vector<AVPlayerItemAccessLogEvent> accesses(const std::vector<Variant>& variants,
                                                     int stalls) const;
    std::vector<AVPlayerItemErrorLogEvent> errors() const;

private:
    struct Entry {
        std::size_t variant = 0;
        std::uint64_t bytes = 0;
        std::uint64_t beside = 0;
        std::chrono::nanoseconds busy{};
        int requests = 0;
        int stalls = 0;
    };
    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
    std::vector<AVPlayerItemErrorLogEvent> errors_;
    int stalls_ = 0;  ///< that are in the entries
};

}  // namespace korvel::platform::hls
