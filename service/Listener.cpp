#include <service/Listener.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace korvel::service {

namespace {

/// -1 and errno if it cannot be had.
int listenOn(const sockaddr* address, socklen_t size) {
    const int listening = socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listening < 0) return -1;
    const int on = 1;
    setsockopt(listening, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (address->sa_family == AF_INET6)
        setsockopt(listening, IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
    if (bind(listening, address, size) == 0 && listen(listening, SOMAXCONN) == 0) return listening;
    const int reason = errno;
    close(listening);
    errno = reason;
    return -1;
}

int listenOn4(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

int listenOn6(std::uint16_t port) {
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_port = htons(port);
    address.sin6_addr = in6addr_loopback;
    return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

std::uint16_t portOf(int listening) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(listening, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

}  // namespace

Listener::Listener(std::uint16_t port) : stop_(eventfd(0, EFD_CLOEXEC)) {
    // The port that is free on one address may be taken on the other; another draw helps.
    for (int draws = port == 0 ? 20 : 1; draws > 0; --draws) {
        sockets_[0] = listenOn4(port);
        if (sockets_[0] < 0) break;
        port_ = portOf(sockets_[0]);
        sockets_[1] = listenOn6(port_);
        if (sockets_[1] >= 0 || errno != EADDRINUSE) return;
        ::close(sockets_[0]);
        sockets_[0] = -1;
        errno = EADDRINUSE;
    }
    const std::string reason = std::generic_category().message(errno);
    close();
    throw std::runtime_error("cannot listen on port " + std::to_string(port) + ": " + reason);
}

Listener::~Listener() { close(); }

int Listener::accept() {
    for (;;) {
        std::array<pollfd, 3> waiting{{{.fd = stop_, .events = POLLIN, .revents = 0},
                                       {.fd = sockets_[0], .events = POLLIN, .revents = 0},
                                       {.fd = sockets_[1], .events = POLLIN, .revents = 0}}};
        if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) return -1;
        if (waiting[0].revents != 0) return -1;
        for (const pollfd& each : waiting) {
            if ((each.revents & POLLIN) == 0) continue;
            const int accepted = accept4(each.fd, nullptr, nullptr, SOCK_CLOEXEC);
            if (accepted >= 0) return accepted;
            // Out of descriptors: the connection stays in the queue, so do not ask at once again.
            if (errno == EMFILE || errno == ENFILE) poll(waiting.data(), 1, 20);
        }
    }
}

void Listener::stop() { eventfd_write(stop_, 1); }

void Listener::close() {
    for (const int each : {sockets_[0], sockets_[1], stop_}) {
        if (each >= 0) ::close(each);
    }
}

}  // namespace korvel::service
