#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

namespace korvel::bench {

/// A line of a given round-trip time to a port of this machine: what is sent arrives half of it
/// later, in either direction, and the first bytes of a connection a whole one later still, which
/// is its handshake. The line is as broad as one likes. Threads of its own, for as long as the
/// process lives.
class DelayingProxy {
public:
    using Duration = std::chrono::steady_clock::duration;

    DelayingProxy(std::uint16_t target, Duration roundTrip)
        : target_(target), roundTrip_(roundTrip), listener_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in place = onLoopback(0);
        socklen_t size = sizeof place;
        auto* const where = reinterpret_cast<sockaddr*>(&place);
        if (bind(listener_, where, size) != 0 || listen(listener_, 128) != 0 ||
            getsockname(listener_, where, &size) != 0) {
            std::abort();
        }
        port_ = ntohs(place.sin_port);
        std::thread([*this] { serve(); }).detach();
    }
    std::uint16_t port() const { return port_; }

private:
    /// What is on its way in one direction; "" ends it.
    struct Lane {
        std::mutex mutex;
        std::condition_variable changed;
        std::deque<std::pair<std::chrono::steady_clock::time_point, std::string>> pieces;
    };

    static sockaddr_in onLoopback(std::uint16_t port) {
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_port = htons(port);
        place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return place;
    }

    void serve() const {
        while (true) {
            const int client = accept(listener_, nullptr, nullptr);
            if (client < 0) continue;
            const int server = socket(AF_INET, SOCK_STREAM, 0);
            const sockaddr_in place = onLoopback(target_);
            if (connect(server, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
                std::abort();
            }
            const int yes = 1;
            for (const int end : {client, server}) {
                setsockopt(end, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
            }
            carry(client, server, roundTrip_);
            carry(server, client, Duration::zero());
        }
    }

    void carry(int from, int to, Duration handshake) const {
        const auto lane = std::make_shared<Lane>();
        std::thread([lane, from, half = roundTrip_ / 2, handshake]() mutable {
            std::string bytes(std::size_t{64} << 10, '\0');
            for (ssize_t size = 1; size > 0;) {
                size = read(from, bytes.data(), bytes.size());
                const std::lock_guard lock(lane->mutex);
                lane->pieces.emplace_back(
                    std::chrono::steady_clock::now() + half + std::exchange(handshake, {}),
                    bytes.substr(0, size > 0 ? static_cast<std::size_t>(size) : 0));
                lane->changed.notify_one();
            }
        }).detach();
        std::thread([lane, to] {
            while (true) {
                std::unique_lock lock(lane->mutex);
                lane->changed.wait(lock, [&] { return !lane->pieces.empty(); });
                const auto [due, bytes] = std::move(lane->pieces.front());
                lane->pieces.pop_front();
                lock.unlock();
                std::this_thread::sleep_until(due);
                if (bytes.empty()) break;
                std::size_t sent = 0;
                while (sent < bytes.size()) {
                    const auto size =
                        send(to, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
                    if (size <= 0) break;
                    sent += static_cast<std::size_t>(size);
                }
            }
            shutdown(to, SHUT_WR);
        }).detach();
    }

    std::uint16_t target_;
    Duration roundTrip_;
    int listener_;
    std::uint16_t port_ = 0;
};

}  // namespace korvel::bench
