#pragma once

#include <korvel/platform/hls/CueTrack.h>
#include <korvel/platform/hls/Playlist.h>
#include <korvel/platform/hls/SegmentSource.h>
#include <korvel/platform/hls/Stage.h>
#include <korvel/platform/hls/Statistics.h>
#include <korvel/platform/hls/WebVTT.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace korvel::platform::hls {

/// Loads one subtitle rendition around the position, on a thread of its own, and goes on through
/// seeks. Nothing that goes wrong in it touches the stream: it is written into the error log and
/// tried again later, from the next playlist if there are several. Lives in a `std::shared_ptr`.
class SubtitleLoader : public std::enable_shared_from_this<SubtitleLoader> {
public:
    using Time = std::chrono::nanoseconds;

    /// `playlists`: all have the same words.
    SubtitleLoader(std::shared_ptr<Stage> stage, std::shared_ptr<Statistics> statistics,
                   const std::vector<URL>& playlists, Definitions definitions);
    /// The thread ends once this or the stage is closed.
    void start();

    // Any thread; at once.

    void close();
    /// What is on its way and not wanted there is given up.
    void sought(Time to);
    /// As with `MediaPlayback`.
    std::vector<AVSubtitleCue> cues(Time from) const;

private:
    /// After failures, when to try again.
    struct Pause {
        int failures = 0;
        Clock::Instant until{};
        void failed(Clock::Instant now);
    };
    struct Place {
        URL playlist;
        Pause pause{};
    };
    struct List {
        std::size_t place;
        URL address;
        MediaPlaylist playlist;
        Clock::Instant reload{};
    };
    struct Loaded {
        Segment segment;
        Time began{};  ///< see `placeCues`
        WebVTT file{};
        bool isPlaced = false;
        std::size_t weight = 0;  ///< bytes of memory, about
    };
    using Key = std::pair<std::size_t, std::int64_t>;  ///< place and number of a segment
    struct Task {
        enum class Kind { rest, list, placing, segment };
        Kind kind = Kind::rest;
        std::size_t index = 0;                  ///< of place or segment
        std::optional<Clock::Instant> until{};  ///< how long to rest, if nothing else comes
    };

    void run();
    Task next() const;
    void restEarlier(Task& task, Clock::Instant until) const;
    std::optional<std::size_t> wanted(Task& rest) const;

    void loadList(std::size_t place);
    void adopt(std::size_t place, const URL& address, MediaPlaylist fresh);
    void leave();
    void loadSegment(const Segment& segment);
    FetchResult load(const Segment& segment, Data& body);
    /// What lies there, opened with the key, if there is one.
    FetchResult fetch(const std::string& uri, const std::optional<ByteRange>& range,
                      const KeyTag* key, std::int64_t number, Data& body);
    void take(const Segment& segment, WebVTT file);
    void listFailed(std::size_t place, const FetchResult& result);
    void segmentFailed(const Segment& segment, const FetchResult& result);
    bool hasOther(std::size_t place) const;

    std::optional<Opening> opening(const KeyTag* key, std::int64_t number, FetchResult& result);
    std::optional<Encryption> open(const URL& address, const InitializationVector& vector,
                                   bool waits, FetchResult& result);

    void placeAll();
    void forgetFar();
    void publish();

    Key keyOf(const Segment& segment) const { return {list_->place, segment.number}; }
    Clock::Instant now() const { return stage_->attention().clock().now(); }

    const std::shared_ptr<Stage> stage_;
    const std::shared_ptr<Statistics> statistics_;
    const Definitions definitions_;
    const std::shared_ptr<Attention> attention_;  ///< overtaken by what is not wanted any more
    SegmentSource source_;

    // The thread's own.
    Attention::Generation generation_ = 0;
    Stage::Generation position_ = 0;  ///< that of the stage, for which something is loaded
    std::vector<Place> places_;
    std::optional<List> list_;
    std::map<Key, Loaded> loaded_;
    std::map<Key, Pause> pauses_;          ///< of segments
    std::size_t weight_ = 0;               ///< of what is loaded
    std::shared_ptr<const MapTag> map_{};  ///< of the segment loaded last
    Data mapBytes_;
    int misses_ = 0;  ///< segments in a row that were not to be had
    Pause pause_;     ///< of all loading, after many of them

    mutable std::mutex mutex_;
    CueTrack track_;
    std::optional<std::pair<Time, Time>> loading_;  ///< the segment on its way
};

}  // namespace korvel::platform::hls
