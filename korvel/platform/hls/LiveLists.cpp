#include <korvel/platform/hls/Playlist.h>

#include <algorithm>
#include <utility>

// Of live playlists: where a new state of one lies on the presentation's time line.

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

constexpr std::int64_t mostLiveDiscontinuities = std::int64_t{1} << 60U;
/// No stream lasts that long; a server that says so begins again at zero.
constexpr auto longestLine = std::chrono::hours(24 * 365 * 100);
/// Dates that lie further apart than any pause are none to go by, or to reckon with.
constexpr auto farthestDates = std::chrono::hours(24 * 365 * 10);
/// Clocks of a server's machines do not differ by more.
constexpr auto differenceOfClocks = std::chrono::minutes(1);

/// What is to be added to starts and discontinuity numbers of one playlist on the line of another.
struct Shift {
    nanoseconds start{};
    std::int64_t discontinuity = 0;
};

const Segment* numbered(const MediaPlaylist& list, std::int64_t number) {
    const auto& all = list.segments;
    if (number < all.front().number || number > all.back().number) return nullptr;
    return &all[static_cast<std::size_t>(number - all.front().number)];
}

const Segment* segmentAt(const MediaPlaylist& list, nanoseconds time) {
    const auto& all = list.segments;
    const auto found = std::partition_point(all.begin(), all.end(),
                                            [&](auto& each) { return each.end() <= time; });
    return found == all.end() ? nullptr : &*found;
}

std::optional<Shift> shiftByNumber(const MediaPlaylist& line, const MediaPlaylist& fresh) {
    const auto number = std::max(line.segments.front().number, fresh.segments.front().number);
    const Segment* there = numbered(line, number);
    const Segment* here = numbered(fresh, number);
    if (!there || !here) return std::nullopt;
    return Shift{there->start - here->start, there->discontinuity - here->discontinuity};
}

/// By the newest date of the line and the one nearest to it; `apart` tells how near that is.
std::optional<Shift> shiftByDate(const MediaPlaylist& line, const MediaPlaylist& fresh,
                                 nanoseconds& apart) {
    const auto isDated = [](const Segment& each) { return each.date.has_value(); };
    const auto there = std::find_if(line.segments.rbegin(), line.segments.rend(), isDated);
    if (there == line.segments.rend()) return std::nullopt;
    const Segment* here = nullptr;
    for (const Segment& each : fresh.segments) {
        const auto away = each.date ? *each.date - *there->date : nanoseconds::max();
        if (!each.date || (here && std::chrono::abs(away) > std::chrono::abs(apart))) continue;
        here = &each;
        apart = away;
    }
    if (!here || std::chrono::abs(apart) > farthestDates) return std::nullopt;
    Shift shift{there->start + apart - here->start, 0};
    // Of the same moment both tell their discontinuity.
    const auto both =
        std::max(line.segments.front().start, fresh.segments.front().start + shift.start);
    const auto moment = both + std::min(there->duration, here->duration) / 2;
    const Segment* theirs = segmentAt(line, moment);
    const Segment* ours = segmentAt(fresh, moment - shift.start);
    if (theirs && ours) shift.discontinuity = theirs->discontinuity - ours->discontinuity;
    return shift;
}

/// Nothing that `old` has is in `fresh` any more, or again.
Shift shiftBehind(const MediaPlaylist& old, const MediaPlaylist& fresh) {
    const Segment& last = old.segments.back();
    const Segment& first = fresh.segments.front();
    const auto missed = first.number - last.number - 1;
    // Servers that do not tell how many discontinuities have gone count the remaining ones.
    const auto least = last.discontinuity + (missed < 0 ? 1 : 0);
    const auto gone = std::max<std::int64_t>(least - first.discontinuity, 0);
    nanoseconds apart{};
    const auto byDate = shiftByDate(old, fresh, apart);
    if (byDate && apart.count() > 0)
        return {std::max(byDate->start, old.end() - first.start), gone};
    // What nobody saw took its time, too; where the server counts anew nobody knows how much.
    const auto each = std::min<nanoseconds>(fresh.targetDuration, std::chrono::minutes(1));
    return {old.end() + std::clamp<std::int64_t>(missed, 0, 10'000) * each - first.start, gone};
}

/// Whether `fresh`, which does not reach as far as `old`, has the same segments.
bool isOlder(const MediaPlaylist& old, const MediaPlaylist& fresh) {
    const auto number = std::max(old.segments.front().number, fresh.segments.front().number);
    const Segment* there = numbered(old, number);
    const Segment* here = numbered(fresh, number);
    // What stands behind it may differ from time to time.
    const auto name = [](const Segment& each) { return each.uri.substr(0, each.uri.find('?')); };
    return there && here && name(*there) == name(*here);
}

MediaPlaylist shifted(MediaPlaylist fresh, Shift by) {
    if (fresh.segments.back().start + by.start > longestLine) by.start = {};
    if (by.discontinuity > mostLiveDiscontinuities) by.discontinuity = 0;
    for (Segment& each : fresh.segments) {
        each.start += by.start;
        each.discontinuity += by.discontinuity;
    }
    return fresh;
}

}  // namespace

MediaPlaylist merged(const MediaPlaylist& old, MediaPlaylist fresh) {
    if (old.segments.empty() || fresh.segments.empty()) return fresh;
    const bool isBack = fresh.segments.back().number < old.segments.back().number;
    if (isBack && isOlder(old, fresh)) return old;
    const auto known = isBack ? std::nullopt : shiftByNumber(old, fresh);
    const auto shift = known ? *known : shiftBehind(old, fresh);
    return shifted(std::move(fresh), shift);
}

MediaPlaylist aligned(const MediaPlaylist& reference, MediaPlaylist list, bool isPlaced) {
    if (reference.segments.empty() || list.segments.empty()) return list;
    nanoseconds apart{};
    auto shift = shiftByDate(reference, list, apart);
    if (!shift || std::chrono::abs(apart) >= differenceOfClocks)
        shift = shiftByNumber(reference, list);
    if (!shift && !isPlaced) shift = Shift{reference.end() - list.end(), 0};
    return shift ? shifted(std::move(list), *shift) : list;
}

}  // namespace korvel::platform::hls
