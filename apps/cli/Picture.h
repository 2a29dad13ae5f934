#pragma once

#include <korvel/platform/avfoundation/VideoFrame.h>

#include <filesystem>

namespace cli {

/// Writes `frame` as PNG, in the shape in which it is meant to be seen. Throws `Failure`.
void writePicture(const korvel::platform::VideoFrame& frame, const std::filesystem::path& file);

}  // namespace cli
