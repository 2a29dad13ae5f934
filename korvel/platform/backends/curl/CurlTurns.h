#pragma once

#include <korvel/platform/backends/curl/CurlTransfer.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>

namespace korvel::platform {

/// Whose turn it is: only so many requests are under way at once, each of which may take a
/// connection and with it a descriptor of the host's. The rest waits in the order in which it came,
/// and a service that does not answer holds up nobody else's requests.
class CurlTurns {
public:
    using Transfer = std::shared_ptr<CurlTransfer>;

    static constexpr std::size_t mostPerService = 128;  ///< HTTP/2 servers take about as many
    static constexpr std::size_t mostInAll = 256;

    /// `transfer` waits for its turn.
    void enter(Transfer transfer);
    /// The next one, whose turn lasts until `leave`; null if all that wait have to go on waiting.
    Transfer next();
    void leave(const CurlTransfer& transfer);

    /// False if `transfer` does not wait.
    bool withdraw(const Transfer& transfer);

    bool nobodyWaits() const { return waiting_ == 0; }
    void clear();

private:
    struct Waiting {
        std::uint64_t number;
        Transfer transfer;
    };
    struct Service {
        std::size_t underWay = 0;
        bool connects = false;  ///< a connection is opened, which whoever waits is to have
        std::deque<Waiting> queue;

        bool hasNext() const { return !queue.empty() && underWay < mostPerService && !connects; }
    };

    std::unordered_map<std::string, Service> services_;
    std::uint64_t entered_ = 0;
    std::size_t waiting_ = 0;
    std::size_t underWay_ = 0;
};

}  // namespace korvel::platform
