// A file of subtitles on a stream's time line: no crash, and cues that can be shown.
#include "Require.h"

#include <korvel/platform/foundation/UTF8.h>
#include <korvel/platform/hls/CuePlacing.h>
#include <korvel/platform/hls/CueTrack.h>

#include <cstddef>
#include <cstdint>

using namespace korvel::platform;
using namespace korvel::platform::hls;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    auto file = readWebVTT({reinterpret_cast<const char*>(bytes), size});
    if (!file) file = readFragmentedWebVTT({bytes, size}, {bytes, size});
    if (!file) return 0;
    for (const AVSubtitleCue& each : file->cues) {
        require(each.start < each.end, "a cue lasts");
        require(!each.runs.empty() && each.runs.size() <= 16, "it says something");
        for (const auto& run : each.runs)
            require(!run.text.empty() && isValidUTF8(run.text), "in UTF-8");
        require(each.width > 0 && each.center - each.width / 2 > -1e-9 &&
                    each.center + each.width / 2 < 1 + 1e-9 &&
                    (!each.top || (*each.top >= 0 && *each.top <= 1)),
                "within the picture");
    }
    Timeline timeline;
    timeline.shift({.container = std::chrono::seconds(10), .duration = std::chrono::seconds(6)});
    placeCues(*file, {.duration = std::chrono::seconds(6)}, {}, timeline);
    const auto first = file->cues.empty() ? std::chrono::nanoseconds() : file->cues[0].start;
    const CueTrack track(std::move(file->cues));
    for (const auto& each : track.at(first)) require(each.end > first, "what is over is not said");
    return 0;
}
