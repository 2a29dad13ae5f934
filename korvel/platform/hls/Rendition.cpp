#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/hls/Rendition.h>

#include <algorithm>
#include <tuple>
#include <utility>

namespace korvel::platform::hls {

using namespace std::chrono_literals;

namespace {

/// With so much in store no segment is begun, ...
constexpr std::chrono::nanoseconds store = 10s;
/// ... and with so much none is read on: a whole class may be one segment.
constexpr std::chrono::nanoseconds mostStore = 2 * store;
constexpr std::size_t mostBytesInStore = std::size_t{24} << 20U;
constexpr int mostSteps = 12;

}  // namespace

Rendition::Rendition(std::shared_ptr<Stage> stage, std::shared_ptr<Ladder> ladder,
                     std::shared_ptr<Statistics> statistics, Source source)
    : stage_(std::move(stage)),
      ladder_(std::move(ladder)),
      statistics_(std::move(statistics)),
      source_(std::move(source)),
      segments_(stage_->loader(), stage_->sharedAttention()),
      feeding_(*stage_),
      lists_(source_.playlists.size()) {
    if (source_.first) {
        referenceOf_ = 0;
        lists_[0] = List{source_.playlists[0], *std::exchange(source_.first, std::nullopt),
                         stage_->attention().clock().now()};
    }
}

void Rendition::start() {
    DispatchQueue::serial(source_.isMain ? "korvel stream" : "korvel sound")
        ->async([self = shared_from_this()] { self->run(); });
}

void Rendition::run() {
    Attention& attention = stage_->attention();
    while (!attention.isClosed()) {
        generation_ = attention.current();
        // Sound that comes apart begins where the main rendition finds the beginning to be.
        if (!source_.isMain)
            attention.wait(generation_, std::nullopt,
                           [this] { return stage_->target().has_value(); });
        restart();
        if (!source_.isMain && !hasOtherSound_) isOver_ = true;
        while (!isOver_ &&
               attention.wait(generation_, std::nullopt, [this] { return needs(store); }))
            step();
        if (!attention.waitForNext(generation_)) return;
    }
}

void Rendition::restart() {
    number_.reset();
    discontinuity_.reset();
    goesOn_.reset();
    isOver_ = learns_ = hasGivenUp_ = false;
    steps_ = misses_ = 0;
    // While nobody loaded, it went by an estimate.
    const auto reference = stage_->reference();
    if (!source_.isMain && reference && variant_ && lists_[*variant_])
        list().playlist = aligned(*reference, std::move(list().playlist), true);
    const bool isApart = source_.sound->begin(generation_);
    hasOtherSound_ = isApart && !source_.isSoundAlone;
    if (source_.isSoundAlone) takeSoundAlone();
    feeding_.own({source_.isMain, source_.isMain != hasOtherSound_});
    time_ = stage_->target().value_or(Time::zero());
    feeding_.restart(generation_, time_);
}

/// The variants are those of the sound that counts in this generation.
void Rendition::takeSoundAlone() {
    for (std::size_t i = 0; i < lists_.size(); ++i) {
        const auto url = source_.sound->playlistFor(i);
        if (!url || url->absoluteString() == source_.playlists[i].absoluteString()) continue;
        source_.playlists[i] = *url;
        lists_[i].reset();
        if (variant_ == i) variant_.reset();
    }
}

bool Rendition::needs(Time enough) const {
    if (!feeding_.hasJoined() || !stage_->hasTracks()) return true;
    if (source_.isMain && stage_->soundWaits()) return true;
    const Levels& levels = stage_->levels();
    const Time position = stage_->position();
    Time least = Time::max();
    std::size_t bytes = 0;
    for (const Kind kind : {Kind::picture, Kind::sound}) {
        if (!feeding_.owns(kind) || !levels.isThere(kind)) continue;
        least = std::min(least, levels.level(kind, position).value_or(Time::max()));
        bytes += levels.bytes(kind);
    }
    // A fragment may hold all pictures in front of all sound: while one kind is short of samples,
    // the other is let grow.
    return least < enough &&
           bytes < (least < Levels::toGoOn ? Levels::mostBytes : mostBytesInStore);
}

void Rendition::step() {
    if (!openList() || !adapt()) return;
    if (source_.isMain && isOutside()) return leap();
    if (const auto index = next()) return loadSegment(*index);
    if (list().playlist.isEnded) return finishStream();
    Attention& attention = stage_->attention();
    if (attention.wait(generation_, reloadTime(list()), [] { return false; })) refreshed();
}

// MARK: segments

std::optional<std::size_t> Rendition::next() const {
    const auto& segments = list().playlist.segments;
    if (segments.empty()) return std::nullopt;
    std::size_t index = 0;
    if (number_ && *number_ >= segments.front().number) {
        const auto offset = *number_ - segments.front().number;
        index = static_cast<std::size_t>(
            std::min<std::int64_t>(offset, static_cast<std::int64_t>(segments.size())));
    } else {
        const bool goesOn = isUnderWay();
        const auto found = std::find_if(segments.begin(), segments.end(), [&](const Segment& each) {
            const Time slack = goesOn ? std::min(mismatch, each.duration / 2) : Time::zero();
            return each.end() > time_ + slack;
        });
        index = static_cast<std::size_t>(found - segments.begin());
        if (index == segments.size() && list().playlist.isEnded && !goesOn) --index;
    }
    if (index == segments.size()) return std::nullopt;
    if (!learns_) return index - std::min<std::size_t>(index, static_cast<std::size_t>(steps_));
    const auto discontinuity = segments[index].discontinuity;
    while (index > 0 && segments[index - 1].discontinuity == discontinuity) --index;
    return index;
}

/// Whether something was given since the last seek, so that what comes continues it.
bool Rendition::isUnderWay() const {
    return feeding_.hasJoined() || feeding_.wanted() > stage_->target();
}

std::optional<URL> Rendition::address(const std::string& uri) {
    auto url = resolved(list().address, uri);
    if (url && mayLead(list().address, *url)) return url;
    stage_->failSegment(makeAVError(AVError::serverIncorrectlyConfigured,
                                    "The stream leads to an address that is not loaded: " +
                                        (url ? url->absoluteString() : uri)));
    return std::nullopt;
}

void Rendition::loadSegment(std::size_t index) {
    const Segment segment = list().playlist.segments[index];
    const bool isLast = list().playlist.isEnded && index + 1 == list().playlist.segments.size();
    if (source_.isMain) stage_->setMain(segment.discontinuity, false);
    if (segment.isGap) {
        steps_ = 0;
        feeding_.rejoin();
        return pass(segment);
    }
    if (discontinuity_ && *discontinuity_ != segment.discontinuity) {
        feeding_.discontinuity();
        goesOn_.reset();
    }
    discontinuity_ = segment.discontinuity;
    const auto url = address(segment.uri);
    if (!url) return;
    // Keys are asked for first and needed last.
    const auto wish = std::make_shared<const std::shared_ptr<Stage>>(stage_);
    const auto key =
        segment.key ? opening(*segment.key, segment.number, wish) : std::optional(Opening());
    if (!key || (segment.map && !loadMap(segment, wish))) return;
    static const Data none;
    const Data& map = segment.map ? map_ : none;
    SegmentReading reading(*stage_, feeding_, segment, map,
                           {.generation = generation_,
                            .isMain = source_.isMain,
                            .hasOtherSound = hasOtherSound_,
                            .sound = source_.sound.get(),
                            .mayGoBack = index > 0 && misses_ == 0 && steps_ < mostSteps &&
                                         !list().playlist.segments[index - 1].isGap,
                            .isLast = isLast,
                            .goesOn = goesOn_});
    auto result = fetch(*url, segment, *key, reading);
    measured(result);
    if (result.end == FetchResult::End::done) reading.finish();
    if (isStale() || stage_->hasFailed()) return;
    if (hasGivenUp_) {
        time_ = segment.start;
        steps_ = 0;
        number_.reset();
        goesOn_.reset();
        return feeding_.rejoin();
    }
    segmentEnded(segment, reading, result, segment.key && isOfBodies(*segment.key));
}

void Rendition::segmentEnded(const Segment& segment, const SegmentReading& reading,
                             const FetchResult& result, bool isEncrypted) {
    const std::string where = result.address.absoluteString();
    switch (reading.state()) {
        case SegmentReading::State::overtaken:
            return;
        case SegmentReading::State::back:
            return goBack(steps_ + 1);
        case SegmentReading::State::parameters:
            learns_ = true;
            return goBack(steps_);
        case SegmentReading::State::learned:
            learns_ = false;
            return goBack(steps_);
        case SegmentReading::State::playlist:
            return stage_->failSegment(makeAVError(AVError::fileFormatNotRecognized,
                                                   "A playlist stands for a segment: " + where));
        case SegmentReading::State::foreign:
            if (isEncrypted) {
                return stage_->failSegment(
                    makeAVError(AVError::contentIsNotAuthorized, "The key does not open " + where));
            }
            return segmentFailed(segment, result,
                                 makeAVError(AVError::fileFormatNotRecognized,
                                             "No media that can be read: " + where));
        case SegmentReading::State::empty:
            return stage_->failSegment(
                makeAVError(AVError::fileFormatNotRecognized,
                            "Neither picture nor sound that can be played: " + where));
        case SegmentReading::State::locked:
            return stage_->failSegment(
                makeAVError(AVError::contentIsProtected, reading.lock() + ": " + where));
        case SegmentReading::State::reading:
            break;
    }
    if (result.end == FetchResult::End::failed) return segmentFailed(segment, result, result.error);
    misses_ = 0;
    ladder_->worked(*variant_);
    goesOn_ = reading.end();
    if (feeding_.hasJoined()) steps_ = 0;
    pass(segment);
    stage_->loadedChanged();
}

void Rendition::goBack(int steps) {
    steps_ = steps;
    number_.reset();
    goesOn_.reset();
    feeding_.rejoin();
    if (learns_) feeding_.learn();
}

void Rendition::pass(const Segment& segment) {
    number_ = segment.number + 1;
    time_ = segment.end();
}

/// Another variant may have the segment; else it is left out, which a few of them may be.
void Rendition::segmentFailed(const Segment& segment, const FetchResult& result,
                              const NSError& error) {
    constexpr int mostMisses = 3;
    const auto now = stage_->attention().clock().now();
    const bool isLasting = result.status == 0;
    goesOn_.reset();
    if (hasOther(*variant_)) {
        statistics_->failed(result, error);
        ladder_->failed(*variant_, now);
        time_ = segment.start;
        number_.reset();
        return feeding_.rejoin();
    }
    if (isLasting || ++misses_ > mostMisses) return stage_->failSegment(error);
    statistics_->failed(result, error);
    feeding_.rejoin();
    pass(segment);
}

FetchResult Rendition::fetch(const URL& url, const Segment& segment, const Opening& opening,
                             SegmentReading& reading) {
    download_ = {};
    const auto told = [&](bool waits) {
        auto found = opening(waits);
        if (found && found->samples) reading.open(*found);
        return found;
    };
    const bool isSpare = hasOther(*variant_);
    const FetchRequest request{.url = url,
                               .range = segment.range,
                               .patience = isSpare ? 1 : 2,
                               .endurance = isSpare ? 4s : 60s};
    return segments_.get(
        request, opening ? Opening(told) : opening, generation_,
        [&](Fetcher::Bytes bytes, const FetchResult& soFar, std::optional<std::uint64_t> total) {
            if (!stage_->hasTracks()) stage_->took(MediaStep::segment);
            if (!bytes.empty() &&
                (!openMap() || reading.push(bytes) != SegmentReading::State::reading)) {
                return false;
            }
            return keepUp(soFar, total, segment);
        });
}

/// In the middle of a segment: waits while more than enough is queued, gives it up where it comes
/// too slowly.
bool Rendition::keepUp(const FetchResult& soFar, std::optional<std::uint64_t> total,
                       const Segment& segment) {
    Attention& attention = stage_->attention();
    download_.soFar = {soFar.bytes, soFar.busy};
    const auto isShort = [this] { return needs(mostStore); };
    if (!isShort()) {
        if (!download_.beforePause) download_.beforePause = download_.soFar;
        if (!attention.wait(generation_, std::nullopt, isShort)) return false;
    }
    download_.meter.add(soFar.bytes, soFar.busy);
    if (!source_.isMain || lists_.size() < 2) return true;
    const Time level = feeding_.hasJoined()
                           ? stage_->levels().level(stage_->position()).value_or(store)
                           : Time::zero();
    hasGivenUp_ =
        ladder_->gaveUp(*variant_, {soFar.bytes, total, download_.meter, segment.duration, level},
                        attention.clock().now());
    return !hasGivenUp_;
}

/// What came after a pause lay in the system's buffers and tells nothing of the line. Of a line
/// that came back in mid-download the last second tells.
void Rendition::measured(const FetchResult& result) {
    if (!source_.isMain) return statistics_->loadedBeside(result.bytes);
    auto told = download_.beforePause.value_or(std::pair(result.bytes, result.busy));
    const Meter& late = download_.meter;
    const auto isQuicker = [&] {
        return static_cast<double>(late.bytes()) * static_cast<double>(told.second.count()) >
               static_cast<double>(told.first) * static_cast<double>(late.busy().count());
    };
    if (!download_.beforePause && late.busy() >= 500ms && isQuicker())
        told = {late.bytes(), late.busy()};
    if (!hasGivenUp_) ladder_->measured(told.first, told.second);
    if (const auto speed = ladder_->speed())
        stage_->line().keep(*speed, stage_->attention().clock().now());
    statistics_->loaded(result.bytes, result.busy, stage_->levels().stalls());
}

void Rendition::finishStream() {
    isOver_ = true;
    if (source_.isMain) stage_->setMain(INT64_MAX, true);
    if (!stage_->hasTracks() && source_.isMain) {
        return stage_->fail(makeAVError(
            AVError::fileFormatNotRecognized,
            "The stream holds nothing that can be played: " + list().address.absoluteString()));
    }
    feeding_.end();
}

}  // namespace korvel::platform::hls
