#pragma once

#include <korvel/platform/foundation/Data.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace korvel::platform::hls {

/// What a stream's samples are for.
enum class Kind { picture, sound };

/// How samples of a kind are coded.
struct Format {
    Kind kind = Kind::picture;
    /// Media type and fields as GStreamer writes them, e.g.
    /// "video/x-h264, stream-format=(string)avc, alignment=(string)au, width=(int)1280, ...".
    /// Without "alignment" a sample may hold any number of access units, or part of one.
    std::string caps;
    /// The decoder's configuration (avcC, hvcC, AudioSpecificConfig, ...); empty where the samples
    /// carry it themselves.
    Data codecData{};

    bool operator==(const Format&) const = default;
};

/// One of the sounds that a container holds.
struct SoundTrack {
    std::string language{};     ///< such as "de" or "de-AT"; empty: not told
    bool isCommentary = false;  ///< says what is shown, for those who do not see it
    bool operator==(const SoundTrack&) const = default;
};

/// Of how many of them a container takes notice, and a stream tells.
inline constexpr std::size_t mostSoundTracks = 16;

/// One coded picture, or some sound.
struct Sample {
    Data bytes{};
    /// When it is shown. Nothing: right after the one before.
    std::optional<std::chrono::nanoseconds> pts{};
    /// When it is decoded; may lie before zero. Nothing where the container does not tell.
    std::optional<std::chrono::nanoseconds> dts{};
    /// Nothing where the container does not tell.
    std::optional<std::chrono::nanoseconds> duration{};
    bool isKey = true;  ///< a decoder can begin with it
};

}  // namespace korvel::platform::hls
