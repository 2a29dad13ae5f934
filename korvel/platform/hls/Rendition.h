#pragma once

#include <korvel/platform/hls/Feeding.h>
#include <korvel/platform/hls/Ladder.h>
#include <korvel/platform/hls/Playlist.h>
#include <korvel/platform/hls/SegmentReading.h>
#include <korvel/platform/hls/SegmentSource.h>
#include <korvel/platform/hls/SoundChoice.h>
#include <korvel/platform/hls/Stage.h>
#include <korvel/platform/hls/Statistics.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform::hls {

/// One rendition with a loader thread of its own: the main one, with pictures and whatever sound
/// comes with them, or sound that comes apart. Loads segment after segment while too little is
/// queued, and begins anew at each seek.
class Rendition : public std::enable_shared_from_this<Rendition> {
public:
    struct Source {
        bool isMain = true;
        std::vector<URL> playlists{};  ///< one per variant of the ladder
        /// The first of them, if it was loaded already.
        std::optional<MediaPlaylist> first{};
        Definitions definitions{};
        std::shared_ptr<SoundChoice> sound{};
        bool isSoundAlone = false;  ///< no variant has pictures: the sound is in their place
    };

    Rendition(std::shared_ptr<Stage> stage, std::shared_ptr<Ladder> ladder,
              std::shared_ptr<Statistics> statistics, Source source);
    /// Gives it its thread, which ends once the stage is closed.
    void start();

private:
    using Time = std::chrono::nanoseconds;
    /// Segments of two variants need not begin at quite the same time.
    static constexpr Time mismatch = std::chrono::milliseconds(100);
    /// A variant's playlist.
    struct List {
        URL address;
        MediaPlaylist playlist;
        Clock::Instant loaded{};
        bool hasChanged = true;  ///< at the last time that it was loaded
    };

    void run();
    void restart();
    void takeSoundAlone();
    bool needs(Time enough) const;
    void step();

    // Playlists and variants.
    bool openList();
    bool adapt();
    bool change(std::size_t variant, Time level);
    bool canGoOnWith(std::size_t variant, Time level) const;
    bool load(std::size_t variant);
    void take(std::size_t variant, const URL& address, MediaPlaylist fresh);
    bool refreshed();
    std::size_t choice(Time level) const;
    bool hasOther(std::size_t variant) const;
    Clock::Instant reloadTime(const List& list) const;
    void adopt(std::size_t variant);
    Time startOf(const MediaPlaylist& playlist) const;
    void listFailed(std::size_t variant, const FetchResult& result);
    bool isOutside() const;
    void leap();

    // Segments.
    std::optional<std::size_t> next() const;
    bool isUnderWay() const;
    void loadSegment(std::size_t index);
    FetchResult fetch(const URL& url, const Segment& segment, const Opening& opening,
                      SegmentReading& reading);
    bool keepUp(const FetchResult& soFar, std::optional<std::uint64_t> total,
                const Segment& segment);
    void measured(const FetchResult& result);
    void segmentEnded(const Segment& segment, const SegmentReading& reading,
                      const FetchResult& result, bool isEncrypted);
    void segmentFailed(const Segment& segment, const FetchResult& result, const NSError& error);
    void goBack(int steps);
    void pass(const Segment& segment);
    void finishStream();
    std::optional<URL> address(const std::string& uri);

    // Keys and what they open.
    using Wish = std::shared_ptr<const std::shared_ptr<Stage>>;
    std::nullopt_t refuse(const KeyTag& key);
    std::optional<URL> keyAddress(const KeyTag& key);
    std::optional<Opening> opening(const KeyTag& key, std::int64_t number, const Wish& wish);
    std::optional<Encryption> open(const URL& address, Encryption how, bool waits);
    bool loadMap(const Segment& segment, const Wish& wish);
    bool openMap();

    bool isStale() const { return stage_->attention().isStale(generation_); }
    List& list() { return *lists_.at(*variant_); }
    const List& list() const { return *lists_.at(*variant_); }

    const std::shared_ptr<Stage> stage_;
    const std::shared_ptr<Ladder> ladder_;
    const std::shared_ptr<Statistics> statistics_;
    Source source_;
    SegmentSource segments_;
    Feeding feeding_;

    Stage::Generation generation_ = 0;
    std::vector<std::optional<List>> lists_;  ///< by variant
    std::optional<std::size_t> variant_;
    std::optional<std::size_t> referenceOf_;  ///< whose playlist the others go by
    bool isOver_ = false;
    bool hasOtherSound_ = false;  ///< in this generation

    Time time_{};                         ///< where the next segment begins
    std::optional<std::int64_t> number_;  ///< of the next segment, in this playlist
    std::optional<std::int64_t> discontinuity_;
    std::optional<Time> goesOn_;
    int steps_ = 0;        ///< segments gone back for the first picture
    bool learns_ = false;  ///< what the first segment of this discontinuity tells the decoder
    /// What tells the line's speed of the segment on its way.
    struct Download {
        Meter meter{};
        std::pair<std::uint64_t, Time> soFar{};
        /// So far it came as quickly as the line let it; then it waited here.
        std::optional<std::pair<std::uint64_t, Time>> beforePause{};
    };
    Download download_;
    bool hasGivenUp_ = false;  ///< the last segment, for a lesser variant's
    int misses_ = 0;           ///< segments in a row that were not to be had

    std::string mapName_;
    Data map_;
    /// One that is loaded and waits for its key.
    struct UnopenedMap {
        std::string name;
        Data bytes;
        Opening opening;
    };
    std::optional<UnopenedMap> unopenedMap_;
};

}  // namespace korvel::platform::hls
