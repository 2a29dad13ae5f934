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
        auto& known = lists_[variant];
        const auto now = stage_->attention().clock().now();
        if (known && !known->playlist.isEnded) {
            *fresh = merged(known->playlist, std::move(*fresh));
        } else if (const auto reference = stage_->reference(); reference && !fresh->isEnded) {
            *fresh = aligned(*reference, std::move(*fresh));
        }
        if (source_.isMain && !fresh->isEnded)
            stage_->setReference(std::make_shared<const MediaPlaylist>(*fresh));
        const auto last = [](const MediaPlaylist& each) {
            return each.segments.empty() ? -1 : each.segments.back().number;
        };
        const bool hasChanged = !known || last(known->playlist) != last(*fresh) || fresh->isEnded;
        known = List{result.address, std::move(*fresh), now, hasChanged};
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

/// A live stream goes on with what is known of it, as long as there is something.
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
    if (source_.sound) source_.sound->follow(variant);
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
    if (!change(better)) return !isStale() && !stage_->hasFailed() && variant_.has_value();
    return true;
}

bool Rendition::change(std::size_t variant) {
    const auto& known = lists_[variant];
    const auto now = stage_->attention().clock().now();
    const bool isFresh = known && (known->playlist.isEnded || now < reloadTime(*known));
    if (!isFresh && !load(variant)) return false;
    adopt(variant);
    feeding_.rejoin();
    return true;
}

}  // namespace korvel::platform::hls
