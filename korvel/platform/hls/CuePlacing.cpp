#include <korvel/platform/hls/ContainerReader.h>
#include <korvel/platform/hls/CuePlacing.h>

#include <algorithm>
#include <vector>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

/// By so much playlists may be wrong about where a segment lies, and cues reach beyond theirs.
constexpr nanoseconds imprecision = std::chrono::seconds(2);

}  // namespace

void placeCues(WebVTT& file, const Segment& segment, nanoseconds began, const Timeline& timeline) {
    if (file.cues.empty()) return;
    const nanoseconds first =
        std::min_element(file.cues.begin(), file.cues.end(), [](const auto& a, const auto& b) {
            return a.start < b.start;
        })->start;
    std::vector<nanoseconds> shifts;
    const auto addByContainer = [&](nanoseconds media) {
        const auto shift = timeline.shiftNear(segment.start, segment.discontinuity, first + media,
                                              wrapPeriod(Container::transportStream));
        if (shift) shifts.push_back(media + *shift);
    };
    if (file.map) addByContainer(file.map->media - file.map->local);
    shifts.push_back({});
    addByContainer({});
    shifts.insert(shifts.end(), {began, segment.start});
    const auto hits = [&](nanoseconds shift) {
        return std::count_if(file.cues.begin(), file.cues.end(), [&](const AVSubtitleCue& each) {
            return each.start + shift < segment.end() + imprecision &&
                   each.end + shift > segment.start - imprecision;
        });
    };
    nanoseconds best = shifts.front();
    auto most = hits(best);
    for (const nanoseconds each : shifts) {
        if (file.map && most > 0) break;
        const auto found = hits(each);
        if (found > most) best = each;
        most = std::max(most, found);
    }
    for (AVSubtitleCue& each : file.cues) {
        each.start += best;
        each.end += best;
    }
}

}  // namespace korvel::platform::hls
