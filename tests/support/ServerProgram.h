#pragma once

#include "support/ChildProcess.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cstdint>
#include <string>
#include <vector>

namespace korvel::tests {

inline sockaddr_in onLoopback(std::uint16_t port) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(port);
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return place;
}

/// A socket that listens at a port of loopback which the system chose; whoever makes it closes it.
struct Listening {
    int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::uint16_t port = 0;
    Listening() {
        sockaddr_in place = onLoopback(0);
        socklen_t size = sizeof place;
        auto* const where = reinterpret_cast<sockaddr*>(&place);
        if (bind(socket, where, size) != 0 || listen(socket, 512) != 0 ||
            getsockname(socket, where, &size) != 0) {
            std::abort();
        }
        port = ntohs(place.sin_port);
    }
};

/// A port that nobody listened to a moment ago.
inline std::uint16_t freePort() {
    const Listening probe;
    close(probe.socket);
    return probe.port;
}

/// An installed program that serves a port of loopback. It ends with this object.
class ServerProgram {
public:
    ServerProgram(std::vector<std::string> words, std::uint16_t port)
        : process_([&words] { become(std::move(words)); }), port_(port) {}

    /// Waits until somebody can connect.
    bool isReady() const {
        return eventually([this] {
            const int probe = socket(AF_INET, SOCK_STREAM, 0);
            const sockaddr_in place = onLoopback(port_);
            const bool there =
                connect(probe, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
            close(probe);
            return there;
        });
    }

private:
    ChildProcess process_;
    std::uint16_t port_;
};

}  // namespace korvel::tests
