#pragma once

#include <curl/curl.h>
#include <sys/epoll.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvel::platform {

/// Waits for the sockets and timers of a multi handle and lets the library act on those that have
/// something to do. Its own way of driving looks at every transfer in every round: with many under
/// way most of the time goes into that, and nothing can end a round before its end.
///
/// Thread safety: one thread at a time, but for `wake`.
class CurlEvents {
public:
    using Clock = std::chrono::steady_clock;

    /// `multi` must not outlive it.
    explicit CurlEvents(CURLM* multi);
    ~CurlEvents();
    CurlEvents(const CurlEvents&) = delete;
    CurlEvents& operator=(const CurlEvents&) = delete;

    /// Whether the system had descriptors for it; otherwise nothing ever happens.
    bool isOpen() const { return poll_ >= 0 && wakeup_ >= 0; }

    /// Has the sockets of `easy` counted.
    void listen(CURL* easy);
    /// Open ones, of connections in use and idle.
    std::size_t sockets() const { return sockets_; }

    /// Returns when a socket or a timer wants something, after `wake`, and after `most`.
    void wait(std::chrono::milliseconds most);
    /// Any thread. Ends the present `wait`, or the next one.
    void wake() const;
    /// Lets the library do what `wait` found, step by step, until `stop` is set.
    void act(const std::atomic<bool>& stop);

private:
    static int watch(CURL*, curl_socket_t socket, int what, void* self, void*);
    static int setTimer(CURLM*, long milliseconds, void* self);
    static curl_socket_t open(void* self, curlsocktype, curl_sockaddr* address);
    static int close(void* self, curl_socket_t socket);

    struct Interest {
        std::uint32_t wanted = 0;
        std::uint32_t registered = 0;
        bool ours = false;  // then its end is known; the library's own sockets end unseen
    };
    Interest& interest(curl_socket_t socket);
    void update(curl_socket_t socket, Interest& interest);
    void actOn(const epoll_event& event);

    CURLM* const multi_;
    const int poll_ = epoll_create1(EPOLL_CLOEXEC);
    const int wakeup_;
    std::size_t sockets_ = 0;
    std::vector<Interest> interests_;  // by socket
    std::array<epoll_event, 64> events_{};
    std::span<const epoll_event> found_;
    Clock::time_point timer_ = Clock::time_point::max();
};

}  // namespace korvel::platform
