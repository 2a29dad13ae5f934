#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/hls/Rendition.h>

#include <algorithm>
#include <utility>

// Of a rendition: its playlists, and which variant's it goes by.

namespace korvel::platform::hls {

using namespace std::chrono_literals;

/// Of sound it is not the line that decides.
std::size_t Rendition::choice(Time level) const {
    if (!source_.isMain) return source_.sound->playlist();
    // What was given up is not stayed at.
    const auto current = hasGivenUp_ ? std::nullopt : variant_;
    const auto length =
        variant_ && lists_[*variant_] ? list().playlist.targetDuration : Time::zero();
    return ladder_->choice(current, level, stage_->attention().clock().now(), length);
}

bool Rendition::hasOther(std::size_t variant) const {
    return source_.isMain && ladder_->hasOther(variant, stage_->attention().clock().now());
}

/// Makes sure that there is a playlist to go by.
bool Rendition::openList() {
    Attention& attention = stage_->attention();
    if (!variant_) {
        const auto first = choice(Time::zero());
        if (!lists_[first] && !load(first)) return false;
        adopt(first);
    }
    const bool isDue = !list().playlist.isEnded && attention.clock().now() >= reloadTime(list());
    return !isDue || refreshed();
}

/// Once in a target duration, and sooner after a time at which there was nothing new.
Clock::Instant Rendition::reloadTime(const List& list) const {
    const auto target = list.playlist.targetDuration;
    return list.loaded + (list.hasChanged ? target : target / 2);
}

bool Rendition::refreshed() {
    if (load(*variant_)) {
        adopt(*variant_);
        return true;
    }
    return false;
}

bool Rendition::load(std::size_t variant) {
    const bool isSpare = hasOther(variant);
    auto [result, body] = segments_.fetcher().whole({.url = source_.playlists[variant],
                                                     .limit = longestPlaylist,
                                                     .patience = isSpare ? 1 : 2,
                                                     .endurance = isSpare ? 2s : 20s},
                                                    generation_);
    if (result.end == FetchResult::End::stale) return false;
    if (result.end != FetchResult::End::done) {
        listFailed(variant, result);
        return false;
    }
    auto playlist = readPlaylist(viewOf(body), result.address, source_.definitions);
    if (auto* fresh = std::get_if<MediaPlaylist>(&playlist)) {
        take(variant, result.address, std::move(*fresh));
        return true;
    }
    const auto* broken = std::get_if<NSError>(&playlist);
    result.error = broken ? *broken
                          : makeAVError(AVError::fileFormatNotRecognized,
                                        "A playlist of playlists within another: " +
                                            result.address.absoluteString());
    listFailed(variant, result);
    return false;
}

void Rendition::take(std::size_t variant, const URL& address, MediaPlaylist fresh) {
    auto& known = lists_[variant];
    const bool isKnown = known && !known->playlist.isEnded;
    if (isKnown) fresh = merged(known->playlist, std::move(fresh));
    // Of a stream that is live, or was.
    const auto reference = stage_->reference();
    if (reference && referenceOf_ != variant)
        fresh = aligned(*reference, std::move(fresh), isKnown);
    if (source_.isMain && (reference || !fresh.isEnded)) {
        referenceOf_ = variant;
        stage_->setReference(std::make_shared<const MediaPlaylist>(fresh));
    }
    const auto last = [](const MediaPlaylist& each) {
        return each.segments.empty() ? -1 : each.segments.back().number;
    };
    const bool hasChanged = !known || last(known->playlist) != last(fresh) || fresh.isEnded;
    // Where the server counts anew, the next one is found by time.
    if (variant == variant_ && number_ && *number_ > last(fresh) + 1) number_.reset();
    known = List{address, std::move(fresh), stage_->attention().clock().now(), hasChanged};
}

/// Another variant may have its own.
void Rendition::listFailed(std::size_t variant, const FetchResult& result) {
    const auto now = stage_->attention().clock().now();
    ladder_->failed(variant, now);
    if (hasOther(variant)) {
        statistics_->failed(result, result.error);
        if (variant_ == variant) {
            lists_[variant].reset();
            variant_.reset();
            number_.reset();
            feeding_.rejoin();
        }
        return;
    }
    stage_->failPlaylist(result.error);
}

/// From now on segments are those of this variant, by time.
void Rendition::adopt(std::size_t variant) {
    if (variant_ != variant) {
        variant_ = variant;
        number_.reset();
        goesOn_.reset();
        feeding_.setVariant(variant);
        if (source_.isMain) statistics_->chosen(variant);
    }
    if (!source_.isMain) return;
    source_.sound->follow(variant);
    if (!stage_->hasTracks()) stage_->took(MediaStep::playlist);
    const MediaPlaylist& playlist = list().playlist;
    stage_->setDuration(playlist.isEnded ? std::optional(playlist.end()) : std::nullopt);
    if (stage_->target()) return;
    stage_->beginAt(startOf(playlist));
    restart();
}

Rendition::Time Rendition::startOf(const MediaPlaylist& playlist) const {
    const auto& segments = playlist.segments;
    if (segments.empty()) return {};
    Time start = segments.front().start;
    if (playlist.startOffset) {
        start =
            *playlist.startOffset + (playlist.startOffset->count() < 0 ? playlist.end() : start);
    } else if (!playlist.isEnded) {
        start = playlist.end() - 3 * playlist.targetDuration;
    }
    start = std::clamp(start, segments.front().start, playlist.end());
    if (playlist.isEnded) return start;
    const auto holds = std::find_if(segments.begin(), segments.end(),
                                    [&](const Segment& each) { return each.end() > start; });
    return holds == segments.end() ? segments.back().start : holds->start;
}

// MARK: live streams

/// Whether what comes next has left the list, which a paused player lets happen, or lies so far
/// behind it that a seek cannot have meant it.
bool Rendition::isOutside() const {
    const MediaPlaylist& playlist = list().playlist;
    if (playlist.segments.empty()) return false;
    const Segment& first = playlist.segments.front();
    if (number_) return *number_ < first.number;
    if (time_ < first.start - mismatch) return true;
    return !playlist.isEnded && !isUnderWay() && time_ > playlist.end() + playlist.targetDuration;
}

/// Where nothing can come any more of what is to be shown next, the stream goes on with what there
/// is, once all has been shown that is queued.
void Rendition::leap() {
    Attention& attention = stage_->attention();
    const auto isDry = [this] { return !stage_->levels().isEnough(); };
    if (!attention.wait(generation_, std::nullopt, isDry) || !openList() || !isOutside()) return;
    const MediaPlaylist& playlist = list().playlist;
    const auto& segments = playlist.segments;
    Time to = startOf(playlist);
    // As little as possible is left out; the first one may go before it has come.
    if (time_ < segments.front().start)
        to = std::min(to, segments[playlist.isEnded || segments.size() < 2 ? 0 : 1].start);
    stage_->leap(generation_, to);
}

/// Takes another variant where that is better. False if the generation was overtaken or nothing is
/// left.
bool Rendition::adapt() {
    if (lists_.size() < 2 || steps_ > 0) return true;
    const Time level = feeding_.hasJoined()
                           ? stage_->levels().level(stage_->position()).value_or(Time::max())
                           : Time::zero();
    const auto better = choice(level);
    hasGivenUp_ = false;
    if (better == *variant_) return true;
    if (!change(better, level)) return !isStale() && !stage_->hasFailed() && variant_.has_value();
    return true;
}

/// Live variants need not be in step: a better one that lags behind, or has lost what comes next
/// already, is not worth a stall.
bool Rendition::canGoOnWith(std::size_t variant, Time level) const {
    const MediaPlaylist& playlist = lists_[variant]->playlist;
    const auto rate = [&](std::size_t each) { return ladder_->variants().at(each).bitRate; };
    if (playlist.segments.empty()) return false;
    if (playlist.isEnded || !feeding_.hasJoined() || rate(variant) < rate(*variant_)) return true;
    if (time_ < playlist.segments.front().start - mismatch) return false;
    const Time lag = time_ - playlist.end();
    return lag <= mismatch || level - lag >= playlist.targetDuration;
}

bool Rendition::change(std::size_t variant, Time level) {
    const auto& known = lists_[variant];
    const auto now = stage_->attention().clock().now();
    const bool isFresh = known && (known->playlist.isEnded || now < reloadTime(*known));
    if (!isFresh && !load(variant)) return false;
    if (!canGoOnWith(variant, level)) return true;
    adopt(variant);
    feeding_.rejoin();
    return true;
}

}  // namespace korvel::platform::hls
