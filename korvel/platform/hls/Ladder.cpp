#include <korvel/platform/hls/Ladder.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace korvel::platform::hls {

using namespace std::chrono_literals;

namespace {

/// Of the measured speed, so much may be used, ...
constexpr double share = 0.8;
/// ... and so much by a variant that is kept, or with much in store.
constexpr double mostShare = 0.95;
/// Too little to tell a speed by.
constexpr std::uint64_t leastBytes = 8'000;
/// A better variant is begun only with so much in store, or where its segment would come in so
/// small a part of what there is, ...
constexpr std::chrono::nanoseconds someStore = 3s;
constexpr double partToClimb = 0.6;
/// ... and with so much in store a variant is kept that is a little too much for the line.
constexpr std::chrono::nanoseconds muchStore = 8s;
constexpr double staying = 1.1;
/// With the store full such a variant is begun, too: what the line could carry while nothing more
/// is wanted would be lost.
constexpr std::chrono::nanoseconds fullStore = 9s;
constexpr double fullShare = 1.05;
/// A line that trickles, without a pause for which it might be a quick one that is only finding out
/// what it can carry, tells sooner that a segment is far too much for it.
constexpr std::chrono::nanoseconds trickle = 25ms;
constexpr std::chrono::nanoseconds trickleToTell = 40ms;
constexpr std::uint64_t leastTrickle = 4'000;
constexpr double farTooMuch = 3;  // times as long as the segment plays
constexpr std::chrono::nanoseconds late = 300ms;
constexpr double steadily = 0.7;
constexpr std::chrono::seconds firstRest{5};
constexpr int mostDoublings = 4;

double seconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double>(time).count();
}

}  // namespace

Ladder::Ladder(std::vector<Variant> variants, VariantBounds bounds,
               std::optional<double> remembered)
    : variants_(std::move(variants)),
      states_(variants_.size()),
      bounds_(bounds),
      remembered_(remembered) {}

void Ladder::setBounds(VariantBounds bounds) {
    const std::lock_guard lock(mutex_);
    bounds_ = bounds;
}

void Ladder::measured(std::uint64_t bytes, Time busy) {
    if (busy.count() < 0) return;
    const std::lock_guard lock(mutex_);
    // Where segments are small, several of them tell together.
    bytes += std::exchange(small_.bytes, 0);
    busy += std::exchange(small_.busy, Time::zero());
    if (bytes < leastBytes) {
        small_ = {bytes, busy};
        return;
    }
    const double length = std::max(seconds(busy), 1e-4);
    const double speed = static_cast<double>(bytes) * 8 / length;
    // What lasted longer tells more, but the last segment tells most: after a change of the line
    // the third one is chosen by it.
    const double weight = std::max(1 - std::exp2(-length), 0.6);
    if (!speed_ || speed == *speed_) {
        speed_ = speed;
    } else if (speed > *speed_) {
        *speed_ += weight * (speed - *speed_);
    } else {  // by ratio: of a line a thousand times as quick even a hundredth would be too much
        *speed_ *= std::pow(speed / *speed_, weight);
    }
}

std::optional<double> Ladder::speed() const {
    const std::lock_guard lock(mutex_);
    return speed_;
}

void Ladder::failed(std::size_t variant, Clock::Instant now) {
    const std::lock_guard lock(mutex_);
    State& state = states_.at(variant);
    state.until = now + firstRest * (1 << std::min(state.failures, mostDoublings));
    ++state.failures;
}

void Ladder::worked(std::size_t variant) {
    const std::lock_guard lock(mutex_);
    states_.at(variant).failures = 0;
}

bool Ladder::isAlive(std::size_t variant, Clock::Instant now) const {
    return states_[variant].failures == 0 || states_[variant].until <= now;
}

bool Ladder::hasOther(std::size_t variant, Clock::Instant now) const {
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i < variants_.size(); ++i) {
        if (i != variant && isAlive(i, now)) return true;
    }
    return false;
}

/// Of pictures larger than the view the smallest are enough.
bool Ladder::isAllowed(std::size_t variant) const {
    const Variant& each = variants_[variant];
    if (bounds_.bitRate > 0 && each.bitRate > bounds_.bitRate) return false;
    if (bounds_.height <= 0 || each.height <= 0) return true;
    const auto covers = [&](const Variant& other) {
        return other.height >= bounds_.height ||
               (bounds_.width > 0 && other.width >= bounds_.width);
    };
    return std::none_of(variants_.begin(), variants_.end(), [&](const Variant& other) {
        return other.height > 0 && other.height < each.height && covers(other);
    });
}

std::size_t Ladder::affordable(double budget, Clock::Instant now) const {
    const auto rate = [&](std::size_t i) { return static_cast<double>(variants_[i].bitRate); };
    std::optional<std::size_t> best;
    std::optional<std::size_t> least;
    const auto consider = [&](std::size_t i) {
        if (!least || rate(i) < rate(*least)) least = i;
        if (rate(i) <= budget && (!best || rate(i) > rate(*best))) best = i;
    };
    // Those that may be chosen; where there are none, those outside the host's bounds; else all.
    for (int width = 0; width < 3 && !least; ++width) {
        for (std::size_t i = 0; i < variants_.size(); ++i) {
            if ((width < 1 && !isAllowed(i)) || (width < 2 && !isAlive(i, now))) continue;
            consider(i);
        }
    }
    return best ? *best : least.value_or(0);
}

std::size_t Ladder::choice(std::optional<std::size_t> current, Time level, Clock::Instant now,
                           Time length) const {
    const std::lock_guard lock(mutex_);
    const auto rate = [&](std::size_t i) { return static_cast<double>(variants_[i].bitRate); };
    const double speed = speedLocked();
    const double used = level >= fullStore ? fullShare : level >= muchStore ? mostShare : share;
    const std::size_t chosen = affordable(speed * used, now);
    if (!current || !isAlive(*current, now) || !isAllowed(*current)) return chosen;
    const bool canClimb = level >= someStore ||
                          rate(chosen) * seconds(length) <= speed * partToClimb * seconds(level);
    if (rate(chosen) > rate(*current) && !canClimb) return *current;
    const bool canStay =
        level >= someStore && rate(*current) <= speed * (level >= muchStore ? staying : mostShare);
    if (rate(chosen) < rate(*current) && canStay) return *current;
    return rate(chosen) == rate(*current) ? *current : chosen;
}

bool Ladder::gaveUp(std::size_t variant, const Progress& progress, Clock::Instant now) {
    // The less there is to lose, the sooner.
    const auto longEnough = std::clamp<Time>(progress.level / 2, 100ms, 300ms);
    const auto [bytes, busy] = std::pair(progress.meter.bytes(), progress.meter.busy());
    const bool isPlain = busy >= longEnough && bytes >= leastBytes;
    const bool trickles =
        progress.meter.longestWait() <= trickle && busy >= trickleToTell && bytes >= leastTrickle;
    if (!isPlain && !trickles) return false;
    const double speed = progress.meter.speed(busy);
    // How slow a line becomes that is still getting slower is not known yet.
    const bool canWait = progress.level >= someStore;
    if (canWait && progress.meter.speed(late) < speed * steadily) return false;
    const double length = seconds(progress.duration);
    const std::lock_guard lock(mutex_);
    const auto sizeOf = [&](std::size_t i) {
        return static_cast<double>(variants_.at(i).bitRate) / 8 * length;
    };
    const double total = progress.total ? static_cast<double>(*progress.total) : sizeOf(variant);
    const double left = (total - static_cast<double>(progress.bytes)) / speed;
    if (left <= seconds(progress.level) + (isPlain ? 0.3 : farTooMuch * length)) return false;
    const auto other = affordable(speed * 8 * share, now);
    if (variants_[other].bitRate >= variants_[variant].bitRate) return false;
    const double lesser = sizeOf(other) / speed;
    if (lesser >= left * 0.7) return false;
    // A line that carries nothing at all may come back before the store is gone.
    if (canWait && lesser > seconds(progress.level) / 2) return false;
    speed_ = speed * 8;
    return true;
}

double Meter::speed(Time during) const {
    if (points_.size() < 2) return 0;
    const Point& last = points_.back();
    auto since = std::prev(points_.end(), 2);
    while (since != points_.begin() && last.busy - since->busy < during) --since;
    return static_cast<double>(last.bytes - since->bytes) /
           std::max(seconds(last.busy - since->busy), 1e-9);
}

void Meter::add(std::uint64_t bytes, Time busy) {
    constexpr auto step = 10ms;  // however small the pieces are
    if (!points_.empty()) longestWait_ = std::max(longestWait_, busy - points_.back().busy);
    if (points_.size() > 1 && busy - points_[points_.size() - 2].busy < step) points_.pop_back();
    points_.push_back({bytes, busy});
    while (points_.size() > 2 && points_[1].busy <= busy - 1s) points_.pop_front();
}

}  // namespace korvel::platform::hls
