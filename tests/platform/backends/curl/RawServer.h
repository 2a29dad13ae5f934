#pragma once

#include "support/ServerProgram.h"

#include <atomic>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace korvel::platform {

/// A server on loopback that says whatever a test wants, HTTP or not. Every connection has a thread
/// of its own; all end with this object.
class RawServer {
public:
    class Connection {
    public:
        explicit Connection(int socket) : socket_(socket) {}

        /// What has come up to the end of a head; empty if the client left.
        std::string readHead() const {
            std::string head;
            char byte = 0;
            while (!head.ends_with("\r\n\r\n")) {
                if (recv(socket_, &byte, 1, 0) != 1) return {};
                head += byte;
            }
            return head;
        }
        /// False if the client left.
        bool send(std::string_view bytes) const {
            while (!bytes.empty()) {
                const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
                if (sent <= 0) return false;
                bytes.remove_prefix(static_cast<std::size_t>(sent));
            }
            return true;
        }

    private:
        int socket_;
    };
    using Behaviour = std::function<void(const Connection&)>;

    explicit RawServer(Behaviour behaviour)
        : behaviour_(std::move(behaviour)), acceptor_([this] { acceptAll(); }) {}
    RawServer(const RawServer&) = delete;
    RawServer& operator=(const RawServer&) = delete;
    ~RawServer() {
        shutdown(listener_.socket, SHUT_RDWR);
        acceptor_.join();
        for (const auto& [socket, thread] : connections_) shutdown(socket, SHUT_RDWR);
        for (auto& [socket, thread] : connections_) {
            thread.join();
            close(socket);
        }
        close(listener_.socket);
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(listener_.port) + "/"; }
    std::size_t accepted() const { return accepted_; }

private:
    void acceptAll() {
        for (int socket = 0; (socket = accept(listener_.socket, nullptr, nullptr)) >= 0;) {
            ++accepted_;
            connections_.emplace_back(socket, std::thread([this, socket] {
                                          behaviour_(Connection(socket));
                                          shutdown(socket, SHUT_RDWR);
                                      }));
        }
    }

    const Behaviour behaviour_;
    const tests::Listening listener_;
    std::atomic<std::size_t> accepted_ = 0;
    std::list<std::pair<int, std::thread>> connections_;  // the acceptor's until it has ended
    std::thread acceptor_;
};

}  // namespace korvel::platform
