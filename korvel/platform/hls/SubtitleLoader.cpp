#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/foundation/DispatchQueue.h>
#include <korvel/platform/hls/CuePlacing.h>
#include <korvel/platform/hls/SubtitleLoader.h>

#include <algorithm>
#include <iterator>

namespace korvel::platform::hls {

using namespace std::chrono_literals;

namespace {

/// So far ahead segments are loaded, ...
constexpr std::chrono::nanoseconds storeAhead = 30s;
/// ... so far back for words that go on over the beginning of the next ones, ...
constexpr std::chrono::nanoseconds storeBack = 15s;
/// ... and so far from the position they are forgotten.
constexpr std::chrono::nanoseconds storeKept = 60s;
constexpr std::ptrdiff_t mostSegments = 64;  ///< that are looked at in one direction
/// With so many bytes in memory only the segment of the position is loaded, ...
constexpr std::size_t enoughWeight = std::size_t{2} << 20U;
/// ... and with so many that alone is kept.
constexpr std::size_t mostWeight = 2 * enoughWeight;

std::size_t weightOf(const WebVTT& file) {
    std::size_t weight = 0;
    for (const AVSubtitleCue& cue : file.cues) {
        weight += sizeof cue;
        for (const auto& run : cue.runs) weight += sizeof run + run.text.size();
    }
    return weight;
}

}  // namespace

void SubtitleLoader::Pause::failed(Clock::Instant now) {
    constexpr int mostDoublings = 4;
    until = now + 5s * (1 << std::min(failures, mostDoublings));
    ++failures;
}

SubtitleLoader::SubtitleLoader(std::shared_ptr<Stage> stage, std::shared_ptr<Statistics> statistics,
                               const std::vector<URL>& playlists, Definitions definitions)
    : stage_(std::move(stage)),
      statistics_(std::move(statistics)),
      definitions_(std::move(definitions)),
      attention_(stage_->makeAttention()),
      source_(stage_->loader(), attention_) {
    for (const URL& each : playlists) places_.push_back({each});
}

void SubtitleLoader::start() {
    DispatchQueue::serial("korvel subtitles")->async([self = shared_from_this()] { self->run(); });
}

void SubtitleLoader::close() {
    attention_->close();
    stage_->attention().notify();
}

void SubtitleLoader::sought(Time to) {
    {
        const std::lock_guard lock(mutex_);
        if (!loading_ || (loading_->first <= to && to < loading_->second)) return;
    }
    attention_->raise();
}

std::vector<AVSubtitleCue> SubtitleLoader::cues(Time from) const {
    const std::lock_guard lock(mutex_);
    return track_.at(from);
}

// MARK: what is to be done

void SubtitleLoader::run() {
    Attention& attention = stage_->attention();
    while (!attention_->isClosed() && !attention.isClosed()) {
        generation_ = attention_->current();
        const auto position = attention.current();
        if (std::exchange(position_, position) != position) {
            misses_ = 0;
            pause_ = {};
        }
        const Task task = next();
        switch (task.kind) {
            case Task::Kind::list:
                loadList(task.index);
                break;
            case Task::Kind::placing:
                placeAll();
                break;
            case Task::Kind::segment:
                // A copy: the list may be replaced meanwhile.
                loadSegment(Segment(list_->playlist.segments[task.index]));
                break;
            case Task::Kind::rest:
                attention.wait(position, task.until, [this] {
                    return attention_->isClosed() || next().kind != Task::Kind::rest;
                });
                break;
        }
    }
}

SubtitleLoader::Task SubtitleLoader::next() const {
    Task rest;
    // Until then nobody knows where the stream begins, and the line is the first segment's.
    if (!stage_->target() || !stage_->hasTracks()) return rest;
    const auto time = now();
    if (time < pause_.until) {
        restEarlier(rest, pause_.until);
    } else if (!list_ || (!list_->playlist.isEnded && time >= list_->reload)) {
        for (std::size_t i = 0; i < places_.size(); ++i) {
            if (list_ && i != list_->place) continue;
            if (time >= places_[i].pause.until) return {Task::Kind::list, i};
            restEarlier(rest, places_[i].pause.until);
        }
    } else if (!list_->playlist.isEnded) {
        restEarlier(rest, list_->reload);
    }
    const bool canPlace = std::any_of(loaded_.begin(), loaded_.end(), [&](const auto& each) {
        return !each.second.isPlaced &&
               stage_->timeline().isAnchored(each.second.segment.discontinuity);
    });
    if (canPlace) return {Task::Kind::placing};
    const bool mayLoad = list_ && time >= pause_.until;
    if (const auto index = mayLoad ? wanted(rest) : std::nullopt)
        return {Task::Kind::segment, *index};
    return rest;
}

void SubtitleLoader::restEarlier(Task& task, Clock::Instant until) const {
    task.until = std::min(task.until.value_or(until), until);
}

/// First what is said now, then what may still be, then what comes; what failed comes last.
std::optional<std::size_t> SubtitleLoader::wanted(Task& rest) const {
    const auto& all = list_->playlist.segments;
    const Time position = stage_->position();
    const auto time = now();
    const auto here = std::partition_point(
        all.begin(), all.end(), [&](const auto& each) { return each.end() <= position; });
    std::optional<std::size_t> first;
    std::optional<std::size_t> retry;
    const auto look = [&](auto each) {
        const auto index = static_cast<std::size_t>(each - all.begin());
        if (first || each->isGap || loaded_.contains(keyOf(*each))) return;
        const auto pause = pauses_.find(keyOf(*each));
        if (pause == pauses_.end()) {
            first = index;
        } else if (time < pause->second.until) {
            restEarlier(rest, pause->second.until);
        } else if (!retry) {
            retry = index;
        }
    };
    if (here != all.end() && here->start < position + storeAhead) look(here);
    if (weight_ > enoughWeight) return first ? first : retry;
    for (auto each = here; each != all.begin() && here - each < mostSegments;) {
        --each;
        if (each->end() < position - storeBack) break;
        look(each);
    }
    for (auto each = here; each != all.end() && each - here < mostSegments; ++each) {
        if (each->start >= position + storeAhead) break;
        look(each);
    }
    return first ? first : retry;
}

// MARK: playlists

bool SubtitleLoader::hasOther(std::size_t place) const {
    for (std::size_t i = 0; i < places_.size(); ++i) {
        if (i != place && now() >= places_[i].pause.until) return true;
    }
    return false;
}

void SubtitleLoader::loadList(std::size_t place) {
    auto [result, body] = source_.fetcher().whole(
        {.url = places_[place].playlist, .limit = longestPlaylist, .patience = 1, .endurance = 2s},
        generation_);
    if (result.end == FetchResult::End::stale) return;
    if (result.end != FetchResult::End::done) return listFailed(place, result);
    auto playlist = readPlaylist(viewOf(body), result.address, definitions_);
    if (auto* fresh = std::get_if<MediaPlaylist>(&playlist))
        return adopt(place, result.address, std::move(*fresh));
    const auto* broken = std::get_if<NSError>(&playlist);
    result.error = broken ? *broken
                          : makeAVError(AVError::fileFormatNotRecognized,
                                        "A playlist of playlists within another: " +
                                            result.address.absoluteString());
    listFailed(place, result);
}

void SubtitleLoader::adopt(std::size_t place, const URL& address, MediaPlaylist fresh) {
    const auto last = [](const MediaPlaylist& each) {
        return each.segments.empty() ? -1 : each.segments.back().number;
    };
    const bool isKnown = list_ && !list_->playlist.isEnded;
    if (isKnown) fresh = merged(list_->playlist, std::move(fresh));
    if (const auto reference = stage_->reference())
        fresh = aligned(*reference, std::move(fresh), isKnown);
    const bool hasChanged = !list_ || last(list_->playlist) != last(fresh);
    const auto reload = now() + (hasChanged ? fresh.targetDuration : fresh.targetDuration / 2);
    list_ = List{place, address, std::move(fresh), reload};
}

/// What is known of a live stream is kept, unless another place knows more.
void SubtitleLoader::listFailed(std::size_t place, const FetchResult& result) {
    statistics_->failed(result, result.error);
    places_[place].pause.failed(now());
    if (list_ && hasOther(place)) leave();
}

/// For another place. What was loaded counts on: it is the same there.
void SubtitleLoader::leave() {
    list_.reset();
    map_.reset();
    misses_ = 0;
}

// MARK: cues

void SubtitleLoader::take(const Segment& segment, WebVTT file) {
    const auto& all = list_->playlist.segments;
    const auto first = std::find_if(all.begin(), all.end(), [&](const Segment& each) {
        return each.discontinuity == segment.discontinuity;
    });
    pauses_.erase(keyOf(segment));
    places_[list_->place].pause = pause_ = {};
    misses_ = 0;
    const auto weight = weightOf(file);
    const Time position = stage_->position();
    const bool isHere = segment.start <= position && position < segment.end();
    if (isHere && weight_ + weight > mostWeight) {
        loaded_.clear();
        weight_ = 0;
    }
    weight_ += weight;
    loaded_[keyOf(segment)] = {.segment = segment,
                               .began = first == all.end() ? segment.start : first->start,
                               .file = std::move(file),
                               .weight = weight};
    forgetFar();
}

void SubtitleLoader::placeAll() {
    for (auto& [key, each] : loaded_) {
        if (each.isPlaced || !stage_->timeline().isAnchored(each.segment.discontinuity)) continue;
        placeCues(each.file, each.segment, each.began, stage_->timeline());
        each.isPlaced = true;
    }
    publish();
}

void SubtitleLoader::forgetFar() {
    const Time position = stage_->position();
    std::erase_if(loaded_, [&](const auto& entry) {
        const Segment& segment = entry.second.segment;
        const bool isFar =
            segment.end() < position - storeKept || segment.start > position + storeKept;
        if (isFar) weight_ -= entry.second.weight;
        return isFar;
    });
    constexpr std::size_t mostPauses = 1000;
    if (pauses_.size() > mostPauses) pauses_.clear();
}

void SubtitleLoader::publish() {
    std::vector<AVSubtitleCue> cues;
    for (const auto& [key, each] : loaded_) {
        if (each.isPlaced) cues.insert(cues.end(), each.file.cues.begin(), each.file.cues.end());
    }
    CueTrack track(std::move(cues));
    {
        const std::lock_guard lock(mutex_);
        if (attention_->isClosed() || track == track_) return;
        track_ = std::move(track);
    }
    stage_->cuesChanged();
}

}  // namespace korvel::platform::hls
