#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/hls/Media.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace korvel::platform::hls {

enum class AudioCodec { aac, mpeg, ac3, eac3, opus };

/// The codec of a frame that begins so; nothing if it is none of ours. Opus has no frames of its
/// own: those of transport streams are meant, which nothing else tells from other bytes.
std::optional<AudioCodec> audioCodecOf(std::span<const std::uint8_t> beginning);
std::shared_ptr<const Format> formatOf(AudioCodec codec);

/// Cuts a stream of sound into its frames, and gives each its time.
class AudioFrames {
public:
    using Bytes = std::span<const std::uint8_t>;
    using Found = std::function<void(Sample)>;

    AudioFrames(AudioCodec codec, Found found) : codec_(codec), found_(std::move(found)) {}
    /// `time` is that of the first frame that begins in `bytes`.
    void push(Bytes bytes, std::optional<std::chrono::nanoseconds> time);
    /// What lies behind the last whole frame is dropped.
    void finish();

private:
    struct Mark {
        std::uint64_t at;  ///< byte of the stream
        std::chrono::nanoseconds time;
    };
    void cut(bool isWhole);
    void emit(std::size_t offset, std::size_t size, std::chrono::nanoseconds duration);

    const AudioCodec codec_;
    const Found found_;
    Data bytes_;
    std::uint64_t before_ = 0;  ///< bytes of the stream in front of `bytes_`
    std::deque<Mark> marks_;
    std::optional<std::chrono::nanoseconds> next_;
};

}  // namespace korvel::platform::hls
