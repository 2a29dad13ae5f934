#include <korvel/platform/hls/Timeline.h>

#include <algorithm>
#include <cstdlib>

namespace korvel::platform::hls {

using namespace std::chrono_literals;

namespace {

/// How far playlists may be wrong about where a segment lies.
constexpr std::chrono::nanoseconds tolerance = 10s;
/// How far a segment may begin in front of the end of the one before it.
constexpr std::chrono::nanoseconds overlap = 1s;
constexpr std::size_t mostDiscontinuities = 10'000;
constexpr std::size_t mostShifts = 64;

std::chrono::nanoseconds distance(std::chrono::nanoseconds a, std::chrono::nanoseconds b) {
    return a < b ? b - a : a - b;
}

/// The one by which `container` comes nearest to `expected`.
std::optional<std::chrono::nanoseconds> bestOf(const std::vector<std::chrono::nanoseconds>& shifts,
                                               std::chrono::nanoseconds container,
                                               std::optional<std::chrono::nanoseconds> wrap,
                                               std::chrono::nanoseconds expected) {
    std::optional<std::chrono::nanoseconds> best;
    constexpr std::chrono::nanoseconds most(std::int64_t{1} << 62);  // with which can be reckoned
    for (auto each : shifts) {
        if (each > most || each < -most) continue;
        if (wrap) {
            const auto behind = expected - (container + each);
            const auto half = *wrap / 2;
            each += (behind + (behind.count() < 0 ? -half : half)) / *wrap * *wrap;
        }
        const auto far = [&](auto shift) { return distance(container + shift, expected); };
        if (!best || far(each) < far(*best)) best = each;
    }
    return best;
}

}  // namespace

bool Timeline::isAnchored(std::int64_t discontinuity) const {
    const std::lock_guard lock(mutex_);
    return shifts_.contains(discontinuity);
}

Timeline::Time Timeline::shift(const Beginning& beginning) {
    const std::lock_guard lock(mutex_);
    if (shifts_.size() >= mostDiscontinuities) shifts_.erase(shifts_.begin());
    auto& shifts = shifts_[beginning.discontinuity];
    const Time expected = beginning.goesOn.value_or(beginning.playlist);
    const auto best = bestOf(shifts, beginning.container, beginning.wrap, expected);
    if (best) {
        const Time begins = beginning.container + *best;
        // Where times have begun anew once they may do so at every segment: what would be only
        // imprecise elsewhere lies in another segment there.
        const Time width =
            shifts.size() > 1 ? beginning.duration / 2 : tolerance + beginning.duration;
        const bool isBack = beginning.goesOn && begins < *beginning.goesOn - overlap;
        const bool isFar =
            distance(begins, expected) > width && distance(begins, beginning.playlist) > width;
        if (!isBack && !isFar) return *best;
    }
    if (shifts.size() >= mostShifts) shifts.erase(shifts.begin());
    shifts.push_back(expected - beginning.container);
    return shifts.back();
}

std::optional<Timeline::Time> Timeline::shiftNear(Time expected, std::int64_t discontinuity,
                                                  Time container, std::optional<Time> wrap) const {
    const std::lock_guard lock(mutex_);
    const auto found = shifts_.find(discontinuity);
    return found == shifts_.end() ? std::nullopt : bestOf(found->second, container, wrap, expected);
}

}  // namespace korvel::platform::hls
