#include <korvel/platform/hls/CueTrack.h>

#include <algorithm>
#include <string>
#include <unordered_map>
#include <utility>

namespace korvel::platform::hls {

namespace {

/// Times are written in thousandths of a second, and each segment's come by a map of its own.
constexpr std::chrono::nanoseconds rounding = std::chrono::milliseconds(10);
constexpr std::size_t mostAtOnce = 16;

std::string wordsOf(const AVSubtitleCue& cue) {
    std::string words;
    for (const auto& run : cue.runs) words += run.text;
    return words;
}

bool goesOn(const AVSubtitleCue& cue, AVSubtitleCue next) {
    if (next.start > cue.end + rounding) return false;
    next.start = cue.start;
    next.end = cue.end;
    return next == cue;
}

}  // namespace

CueTrack::CueTrack(std::vector<AVSubtitleCue> cues) {
    std::stable_sort(cues.begin(), cues.end(),
                     [](const auto& a, const auto& b) { return a.start < b.start; });
    std::unordered_map<std::string, std::size_t> last;  // by words
    for (AVSubtitleCue& each : cues) {
        const auto [known, isNew] = last.try_emplace(wordsOf(each), cues_.size());
        if (!isNew && goesOn(cues_[known->second], each)) {
            auto& end = cues_[known->second].end;
            end = std::max(end, each.end);
            continue;
        }
        known->second = cues_.size();
        cues_.push_back(std::move(each));
    }
    for (const AVSubtitleCue& each : cues_)
        ends_.push_back(ends_.empty() ? each.end : std::max(ends_.back(), each.end));
}

std::vector<AVSubtitleCue> CueTrack::at(Time time) const {
    const auto next =
        std::upper_bound(cues_.begin(), cues_.end(), time,
                         [](Time moment, const auto& each) { return moment < each.start; });
    std::vector<AVSubtitleCue> found;
    if (next != cues_.end()) found.push_back(*next);
    for (auto i = static_cast<std::size_t>(next - cues_.begin());
         i > 0 && ends_[i - 1] > time && found.size() <= mostAtOnce; --i) {
        if (cues_[i - 1].end > time) found.push_back(cues_[i - 1]);
    }
    std::reverse(found.begin(), found.end());
    return found;
}

}  // namespace korvel::platform::hls
