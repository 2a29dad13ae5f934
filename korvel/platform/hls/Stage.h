#pragma once

#include <korvel/platform/hls/Attention.h>
#include <korvel/platform/hls/KeyStore.h>
#include <korvel/platform/hls/Levels.h>
#include <korvel/platform/hls/Presentation.h>
#include <korvel/platform/hls/Timeline.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace korvel::platform::hls {

/// What the loaders of a presentation share: the way to the output, levels, keys, times. Any
/// thread; lives in a `std::shared_ptr`. Locks are taken in this order: `gate_`, `tell_`, all
/// others, of which none is held while somebody is called.
class Stage : public std::enable_shared_from_this<Stage> {
public:
    using Generation = Attention::Generation;
    using Time = std::chrono::nanoseconds;

    explicit Stage(PresentationParts parts);

    Attention& attention() { return *attention_; }
    const std::shared_ptr<Attention>& sharedAttention() const { return attention_; }
    const std::shared_ptr<StreamLoader>& loader() const { return parts_.loader; }
    const std::vector<std::string>& languages() const { return parts_.languages; }
    LineMemory& line() { return *parts_.line; }
    KeyStore& keys() { return keys_; }
    Timeline& timeline() { return timeline_; }
    Levels& levels() { return levels_; }

    /// Calls `deliver` with the output, unless the generation was overtaken: then false.
    bool pass(Generation generation, const std::function<void(SampleOutput&)>& deliver);
    /// Tells the output of kinds that it does not know of yet.
    void addTracks(Generation generation, Tracks tracks);
    bool hasTracks() const { return hasTracks_; }
    void took(MediaStep step);
    void loadedChanged();
    void cuesChanged();
    /// For a loader that seeks do not overtake.
    std::shared_ptr<Attention> makeAttention() const;
    /// Looks at the levels, and tells if that changes whether there is enough.
    void look();
    /// For good; the first one counts.
    void fail(const NSError& error);
    /// The same, and what of the stream it was: a detail "part" of the error.
    void failPlaylist(NSError error) { failPart(std::move(error), "playlist"); }
    void failSegment(NSError error) { failPart(std::move(error), "segment"); }
    /// A playlist names this key.
    void preload(const URL& base, const KeyTag& key);
    bool hasFailed() const { return failed_; }
    void close();

    void seek(Time to);
    /// The same, by a loader; not if its generation was overtaken.
    void leap(Generation generation, Time to);
    /// Where the presentation goes on in this generation; nothing before that is known.
    std::optional<Time> target() const;
    /// Where the stream begins if nobody seeks.
    void beginAt(Time start);
    Time position() const;

    /// The live playlist by whose time line other variants and renditions go; null without one.
    std::shared_ptr<const MediaPlaylist> reference() const;
    void setReference(std::shared_ptr<const MediaPlaylist> playlist);

    std::optional<Time> duration() const;
    void setDuration(std::optional<Time> duration);

    // How the sound of its own keeps to the main rendition.

    void setMain(std::int64_t discontinuity, bool isDone);
    /// False if nobody will anchor this discontinuity any more, or the generation was overtaken.
    bool waitForAnchor(Generation generation, std::int64_t discontinuity);
    bool soundWaits() const { return soundWaits_; }

private:
    void move(Time to);
    void failPart(NSError error, const char* part);

    const PresentationParts parts_;
    const std::shared_ptr<Attention> attention_;
    KeyStore keys_;
    Timeline timeline_;
    Levels levels_;

    std::mutex gate_;
    Tracks tracks_;  ///< guarded by the gate
    std::mutex tell_;
    bool told_ = false;
    bool silent_ = false;  ///< closed or failed: guarded by `tell_`
    std::atomic<bool> hasTracks_ = false;
    std::atomic<bool> failed_ = false;

    mutable std::mutex mutex_;
    std::optional<Time> target_;
    std::optional<Time> duration_;
    std::shared_ptr<const MediaPlaylist> reference_;
    std::int64_t mainDiscontinuity_ = INT64_MIN;
    bool mainIsDone_ = false;
    std::atomic<bool> soundWaits_ = false;
    std::atomic<bool> againAsked_ = false;
};

}  // namespace korvel::platform::hls
