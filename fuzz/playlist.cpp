// A playlist and, behind a zero byte, the one loaded after it: no crash, and times that go on.
#include "Require.h"

#include <korvel/platform/hls/Playlist.h>

#include <cstddef>
#include <cstdint>

namespace {

using namespace korvel::platform;
using namespace korvel::platform::hls;

void requireOrder(const MediaPlaylist& playlist) {
    std::chrono::nanoseconds at = std::chrono::nanoseconds::min();
    for (const Segment& each : playlist.segments) {
        require(each.duration.count() >= 0, "a segment lasts");
        require(each.start >= at, "segments follow each other");
        require(!each.range || each.range->length > 0, "a range holds something");
        at = each.end();
        require(each.number - playlist.segments.front().number == &each - &playlist.segments[0],
                "numbers have no holes");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const URL address = *URL::parse("https://host/a/b.m3u8?token=t");
    const std::string_view text(reinterpret_cast<const char*>(bytes), size);
    const auto zero = text.find('\0');
    auto first = readPlaylist(text.substr(0, zero), address);
    if (const auto* master = std::get_if<MasterPlaylist>(&first)) {
        for (const VariantTag& each : master->variants) {
            const auto url = resolved(address, each.uri);
            require(!url || !mayLead(address, *url) || url->scheme()->size() == 5,
                    "https leads to https");
        }
    }
    const auto* media = std::get_if<MediaPlaylist>(&first);
    if (!media) return 0;
    requireOrder(*media);
    if (zero == text.npos) return 0;
    auto second = readPlaylist(text.substr(zero + 1), address);
    if (auto* fresh = std::get_if<MediaPlaylist>(&second)) {
        requireOrder(aligned(*media, *fresh));
        requireOrder(merged(*media, std::move(*fresh)));
    }
    return 0;
}
