#include <korvel/platform/hls/Levels.h>

#include <algorithm>

namespace korvel::platform::hls {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::nanoseconds toBegin = 1s;
/// What decoders and sinks hold when a queue is empty is not played by then.
constexpr std::chrono::nanoseconds dry = 100ms;
/// Where nothing tells how long a picture lasts.
constexpr std::chrono::nanoseconds usualPicture = 40ms;

}  // namespace

void Levels::setTracks(Tracks tracks) {
    const std::lock_guard lock(mutex_);
    of(Kind::picture).isThere = tracks.picture;
    of(Kind::sound).isThere = tracks.sound;
    isKnown_ = true;
}

void Levels::restart(Time target) {
    const std::lock_guard lock(mutex_);
    for (Queue& queue : queues_) queue = Queue{.isThere = queue.isThere};
    target_ = target;
    isEnough_ = hasStalled_ = false;
}

void Levels::setRate(double rate) {
    const std::lock_guard lock(mutex_);
    rate_ = rate > 0 ? rate : 1;
}

void Levels::added(Kind kind, const Sample& sample) {
    const std::lock_guard lock(mutex_);
    Queue& queue = of(kind);
    queue.bytes += sample.bytes.size();
    queue.isStarved = false;
    if (!sample.pts) return;
    Time length = sample.duration.value_or(Time::zero());
    if (!sample.duration) {
        if (*sample.pts > queue.newest || !queue.before) {
            queue.before = queue.before ? queue.newest : *sample.pts - usualPicture;
            queue.newest = *sample.pts;
        } else if (*sample.pts > *queue.before) {
            queue.before = *sample.pts;
        }
        length = std::min<Time>(queue.newest - *queue.before, 1s);
    }
    const Time end = *sample.pts + length;
    if (!queue.end || end > *queue.end) queue.end = end;
}

void Levels::taken(Kind kind, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    Queue& queue = of(kind);
    queue.bytes -= std::min(bytes, queue.bytes);
}

void Levels::starved(Kind kind) {
    const std::lock_guard lock(mutex_);
    of(kind).isStarved = of(kind).bytes == 0;
}

void Levels::ended(Kind kind) {
    const std::lock_guard lock(mutex_);
    of(kind).isEnded = true;
}

std::optional<Levels::Time> Levels::end(Kind kind) const {
    const std::lock_guard lock(mutex_);
    return of(kind).end;
}

std::optional<Levels::Time> Levels::levelOf(const Queue& queue, Time position) const {
    if (queue.isEnded) return std::nullopt;
    return queue.end ? std::max(*queue.end - std::max(position, Time::zero()), Time::zero())
                     : Time::zero();
}

bool Levels::isThere(Kind kind) const {
    const std::lock_guard lock(mutex_);
    return of(kind).isThere;
}

std::optional<Levels::Time> Levels::level(Kind kind, Time position) const {
    const std::lock_guard lock(mutex_);
    return levelOf(of(kind), position);
}

std::optional<Levels::Time> Levels::level(Time position) const {
    const std::lock_guard lock(mutex_);
    std::optional<Time> least;
    for (const Queue& queue : queues_) {
        const auto level = queue.isThere ? levelOf(queue, position) : std::nullopt;
        if (level && (!least || *level < *least)) least = level;
    }
    return isKnown_ ? least : std::optional(Time::zero());
}

std::size_t Levels::bytes(Kind kind) const {
    const std::lock_guard lock(mutex_);
    return of(kind).bytes;
}

Levels::Verdict Levels::judge(Time position) {
    const std::lock_guard lock(mutex_);
    if (!isKnown_) return {};
    const auto scaled = [&](Time time) {
        return std::chrono::duration_cast<Time>(time * std::max(rate_, 1.0));
    };
    Verdict verdict{.isEnough = isEnough_};
    std::size_t total = 0;
    for (const Queue& queue : queues_) total += queue.bytes;
    // One kind may be queued up to the bound while the other lies far behind in the segment.
    const bool isBounded = total >= mostBytes;
    bool isFull = true;
    for (const Queue& queue : queues_) {
        const auto level = queue.isThere ? levelOf(queue, position) : std::nullopt;
        if (!level) continue;
        if (*level < scaled(hasStalled_ ? toGoOn : toBegin) && !isBounded) isFull = false;
        if (!isEnough_ || !queue.isStarved || isBounded) continue;
        if (*level <= scaled(dry)) {
            verdict.isEnough = false;
        } else {
            const auto left = std::chrono::duration_cast<Time>((*level - scaled(dry)) / rate_);
            const auto again = std::max<Time>(left, 10ms);
            verdict.again = std::min(verdict.again.value_or(again), again);
        }
    }
    if (!isEnough_) verdict.isEnough = isFull;
    if (isEnough_ && !verdict.isEnough) {
        hasStalled_ = true;
        ++stalls_;
    }
    isEnough_ = verdict.isEnough;
    return verdict;
}

bool Levels::isEnough() const {
    const std::lock_guard lock(mutex_);
    return isEnough_;
}

int Levels::stalls() const {
    const std::lock_guard lock(mutex_);
    return stalls_;
}

}  // namespace korvel::platform::hls
