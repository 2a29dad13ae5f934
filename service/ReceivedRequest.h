#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvel::service {

/// One request exactly as it came over the wire.
struct ReceivedRequest {
    std::string head;    ///< every byte from the method up to and including the empty line
    std::string method;  ///< empty if the request line makes no sense
    std::string target;  ///< path and query as sent, not decoded
    std::vector<std::pair<std::string, std::string>>
        headers;           ///< in order, names in their own case
    std::string body;      ///< the bytes after the head; chunk framing, if any, is still in them
    bool complete = true;  ///< false: the client went away in the middle of it
    std::size_t connection = 0;                  ///< 1 is the first connection that was accepted
    std::chrono::steady_clock::time_point time;  ///< when its last byte had been read

    /// The first value of that name, whatever its case; nothing if there is none.
    std::optional<std::string> header(std::string_view name) const;
};

}  // namespace korvel::service
