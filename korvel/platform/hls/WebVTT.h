#pragma once

#include <korvel/platform/avfoundation/AVSubtitleCue.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace korvel::platform::hls {

/// A file of subtitles, or a segment of one.
struct WebVTT {
    /// The file's time `local` is the time `media` of the stream's containers.
    struct Map {
        std::chrono::nanoseconds local{};
        std::chrono::nanoseconds media{};
    };
    std::optional<Map> map{};
    std::vector<AVSubtitleCue> cues{};  ///< in the file's order, at the file's times
};

/// The most that is read of a file, in bytes.
inline constexpr std::size_t longestWebVTT = std::size_t{2} << 20U;

/// Reads whatever can be read: styles, regions, comments and unknown settings are passed over, of a
/// cue that makes no sense nothing comes, and what is no UTF-8 becomes so. Time and memory stay in
/// proportion to `text`. Nothing if this is no WebVTT at all.
std::optional<WebVTT> readWebVTT(std::string_view text);

/// The same of fragmented MP4 whose samples are cues, at the containers' times. Nothing if it holds
/// no such track. `initialization`: the bytes of the segment's map.
std::optional<WebVTT> readFragmentedWebVTT(std::span<const std::uint8_t> initialization,
                                           std::span<const std::uint8_t> segment);

/// A cue whose words and settings are written as in a file; nothing if nothing is to be seen.
std::optional<AVSubtitleCue> cueOf(std::chrono::nanoseconds start, std::chrono::nanoseconds end,
                                   std::string_view settings, std::string_view text);

/// The words of a cue, with entities and tags resolved; other styles than bold, italic and
/// underlined are lost. Empty if nothing is to be seen.
std::vector<AVSubtitleCue::Run> wordsIn(std::string_view text);

}  // namespace korvel::platform::hls
