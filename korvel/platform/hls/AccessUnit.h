#pragma once

#include <korvel/platform/foundation/Data.h>

#include <cstdint>
#include <functional>
#include <span>

namespace korvel::platform::hls {

enum class VideoCodec { h264, h265, mpeg2 };

/// What a coded picture tells about itself.
struct AccessUnit {
    bool isKey = false;          ///< nothing before it is needed, but for parameters
    bool hasParameters = false;  ///< holds what a decoder must know of the stream
};

/// `bytes` is a byte stream with start codes.
AccessUnit inspected(VideoCodec codec, std::span<const std::uint8_t> bytes);

/// Calls `visit` with each unit of a byte stream, without start codes and the zeros behind it,
/// until it returns false.
void eachUnit(std::span<const std::uint8_t> bytes,
              const std::function<bool(std::span<const std::uint8_t> unit)>& visit);

/// The parameter sets in `bytes`, with start codes, to be put in front of a picture without any.
Data parametersIn(VideoCodec codec, std::span<const std::uint8_t> bytes);

}  // namespace korvel::platform::hls
