#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace cli {

/// "2024-03-31" (midnight), "2024-03-31T01:00:00" (both in the device's time zone), or the latter
/// with "Z" or an offset such as "+0100" behind it. Nothing for anything else, such as the 31st of
/// April.
std::optional<std::chrono::system_clock::time_point> moment(const std::string& text);

/// A timestamp of the service, such as "2024-03-31T00:00:00.000+0000", for people: the device's
/// date and time. As it is if it is none.
std::string dateAndTime(const std::string& timestamp);

}  // namespace cli
