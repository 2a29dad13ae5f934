#include <korvel/platform/backends/curl/CurlEvents.h>

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <algorithm>
#include <utility>

namespace korvel::platform {

CurlEvents::CurlEvents(CURLM* multi)
    : multi_(multi), wakeup_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!isOpen()) return;
    // Told of at each change, it need not be read.
    epoll_event event{.events = EPOLLIN | EPOLLET, .data = {.fd = wakeup_}};
    epoll_ctl(poll_, EPOLL_CTL_ADD, wakeup_, &event);
    curl_multi_setopt(multi, CURLMOPT_SOCKETFUNCTION, &CurlEvents::watch);
    curl_multi_setopt(multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi, CURLMOPT_TIMERFUNCTION, &CurlEvents::setTimer);
    curl_multi_setopt(multi, CURLMOPT_TIMERDATA, this);
}

CurlEvents::~CurlEvents() {
    for (const int descriptor : {poll_, wakeup_}) {
        if (descriptor >= 0) ::close(descriptor);
    }
}

void CurlEvents::listen(CURL* easy) {
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &CurlEvents::open);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, &CurlEvents::close);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
}

curl_socket_t CurlEvents::open(void* self, curlsocktype, curl_sockaddr* address) {
    const int socket =
        ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (socket < 0) return CURL_SOCKET_BAD;
    auto& events = *static_cast<CurlEvents*>(self);
    ++events.sockets_;
    events.interest(socket) = {.ours = true};
    return socket;
}

int CurlEvents::close(void* self, curl_socket_t socket) {
    auto& events = *static_cast<CurlEvents*>(self);
    --events.sockets_;
    events.interest(socket) = {};  // the system forgets it, too
    return ::close(socket);
}

CurlEvents::Interest& CurlEvents::interest(curl_socket_t socket) {
    const auto index = static_cast<std::size_t>(socket);
    if (interests_.size() <= index) interests_.resize(index + 1);
    return interests_[index];
}

int CurlEvents::watch(CURL*, curl_socket_t socket, int what, void* self, void*) {
    auto& events = *static_cast<CurlEvents*>(self);
    Interest& interest = events.interest(socket);
    interest.wanted = what == CURL_POLL_REMOVE
                          ? 0u
                          : (what & CURL_POLL_IN ? std::uint32_t{EPOLLIN} : 0u) |
                                (what & CURL_POLL_OUT ? std::uint32_t{EPOLLOUT} : 0u);
    // One that is no longer wanted stays until it has something to say: the next request on the
    // same connection will want it again.
    if (interest.wanted != 0 || !interest.ours) events.update(socket, interest);
    return 0;
}

void CurlEvents::update(curl_socket_t socket, Interest& interest) {
    if (interest.wanted == interest.registered) return;
    epoll_event event{.events = interest.wanted, .data = {.fd = socket}};
    const int change = interest.wanted == 0       ? EPOLL_CTL_DEL
                       : interest.registered == 0 ? EPOLL_CTL_ADD
                                                  : EPOLL_CTL_MOD;
    epoll_ctl(poll_, change, socket, &event);
    interest.registered = interest.wanted;
}

int CurlEvents::setTimer(CURLM*, long milliseconds, void* self) {
    static_cast<CurlEvents*>(self)->timer_ =
        milliseconds < 0 ? Clock::time_point::max()
                         : Clock::now() + std::chrono::milliseconds(milliseconds);
    return 0;
}

void CurlEvents::wait(std::chrono::milliseconds most) {
    if (!isOpen()) return;
    if (timer_ != Clock::time_point::max()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(timer_ - Clock::now());
        most = std::min(most, left);
    }
    const auto timeout = static_cast<int>(std::max<std::int64_t>(most.count(), 0));
    const int count = epoll_wait(poll_, events_.data(), static_cast<int>(events_.size()), timeout);
    found_ = std::span(events_).first(static_cast<std::size_t>(std::max(count, 0)));
}

void CurlEvents::wake() const { eventfd_write(wakeup_, 1); }

void CurlEvents::act(const std::atomic<bool>& stop) {
    if (!isOpen()) return;
    for (const auto& event : std::exchange(found_, {})) {
        if (stop) return;
        actOn(event);
    }
    if (stop || Clock::now() < timer_) return;
    timer_ = Clock::time_point::max();  // the library sets the next one
    int running = 0;
    curl_multi_socket_action(multi_, CURL_SOCKET_TIMEOUT, 0, &running);
}

void CurlEvents::actOn(const epoll_event& event) {
    const int socket = event.data.fd;
    if (socket == wakeup_) return;
    Interest& known = interest(socket);
    if (known.wanted == 0) {  // a connection that nobody uses, or one closed in this round
        if (known.registered != 0) update(socket, known);
        return;
    }
    const int happened = (event.events & EPOLLIN ? CURL_CSELECT_IN : 0) |
                         (event.events & EPOLLOUT ? CURL_CSELECT_OUT : 0) |
                         (event.events & (EPOLLERR | EPOLLHUP) ? CURL_CSELECT_ERR : 0);
    int running = 0;
    curl_multi_socket_action(multi_, socket, happened, &running);
}

}  // namespace korvel::platform
