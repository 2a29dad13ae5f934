#pragma once

#include "support/ChildProcess.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cstdint>
#include <fstream>
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

/// A port that nobody listened to a moment ago.
inline std::uint16_t freePort() {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in place = onLoopback(0);
    socklen_t size = sizeof place;
    auto* const where = reinterpret_cast<sockaddr*>(&place);
    if (bind(probe, where, size) != 0 || getsockname(probe, where, &size) != 0) std::abort();
    close(probe);
    return ntohs(place.sin_port);
}

/// An installed program that serves a port of loopback. It ends with this object.
class ServerProgram {
public:
    ServerProgram(std::vector<std::string> words, std::uint16_t port)
        : process_([&words] {
              std::vector<char*> arguments;
              for (auto& word : words) arguments.push_back(word.data());
              arguments.push_back(nullptr);
              execv(arguments[0], arguments.data());
              _exit(1);
          }),
          port_(port) {}

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

inline void writeFile(const std::string& path, const std::string& text) {
    std::ofstream(path) << text;
}

inline std::string readFile(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace korvel::tests
