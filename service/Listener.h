#pragma once

#include <array>
#include <cstdint>

namespace korvel::service {

/// Listens on 127.0.0.1 and, where the machine has it, on ::1, both with the same port.
class Listener {
public:
    /// 0: any free port. Throws std::runtime_error if the port cannot be had.
    explicit Listener(std::uint16_t port);
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    std::uint16_t port() const { return port_; }
    /// Blocks for a connection and returns its socket; -1 once `stop` was called.
    int accept();
    void stop();  ///< any thread

private:
    void close();

    std::array<int, 2> sockets_{-1, -1};
    int stop_ = -1;
    std::uint16_t port_ = 0;
};

}  // namespace korvel::service
