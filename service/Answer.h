#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace korvel::service {

/// How one request is to be answered. A member left alone changes nothing.
///
/// With `status`, `body` or `headers` the answer is exactly what stands here: the service does not
/// look at the request and nothing is recorded. Otherwise the service answers as ever (credentials
/// checked, performances recorded) and the rest says what happens to that answer on its way.
struct Answer {
    struct Drip {
        std::size_t bytes = 1;
        std::chrono::milliseconds every{1};
    };

    std::optional<int> status{};  ///< any number, also 601 and 999; 200 if only a body is given
    std::optional<std::string> body{};  ///< sent byte for byte; none: zero bytes
    /// In this order and spelling. "Content-Length" is added unless it or "Transfer-Encoding" is
    /// here; with "Connection: close" the connection ends after the answer.
    std::vector<std::pair<std::string, std::string>> headers{};

    bool hold = false;                  ///< wait for `ContentService::release()`
    std::chrono::milliseconds delay{};  ///< wait this long (after the hold) before the first byte
    std::optional<Drip> drip{};         ///< this many bytes at a time
    /// After so many bytes of the whole answer, status line included, the connection ends with a
    /// FIN and without a TLS farewell. 0: the request is not answered at all.
    std::optional<std::size_t> cutOffAfter{};
    std::optional<std::size_t> resetAfter{};  ///< the same with a RST
};

}  // namespace korvel::service
