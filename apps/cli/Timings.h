#pragma once

#include <korvel/client/Playback.h>

#include <string>
#include <vector>

namespace cli {

/// A line with a bar for each step of a start, and for those that it did not come to.
std::vector<std::string> timings(const korvel::Playback::Timeline& timeline);

}  // namespace cli
