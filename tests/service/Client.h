#pragma once

#include <korvel/service/Codes.h>
#include <korvel/service/ContentService.h>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <string>
#include <string_view>

namespace korvel::service {

inline httplib::Headers clientHeaders(const ContentService& service) {
    const auto& options = service.options();
    return {{"Authorization", basicCredential(options.apiKey, options.secretKey)},
            {"TenantID", options.tenant}};
}

inline httplib::Headers userHeaders(const ContentService& service, const std::string& code) {
    return {{"Authorization", "Bearer " + code}, {"TenantID", service.options().tenant}};
}

/// A plain socket: nothing stands between the test and the bytes. Gives up reading after 10 s.
class RawClient {
public:
    explicit RawClient(const ContentService& service) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(service.port());
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval patience{.tv_sec = 10, .tv_usec = 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~RawClient() { close(socket_); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void send(std::string_view bytes) const {
        EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    void finish() const { shutdown(socket_, SHUT_WR); }

    /// What arrived until there were `size` bytes or the connection ended, and how it ended then.
    std::string read(std::size_t size = std::string::npos) {
        std::string all;
        char buffer[4096];
        while (all.size() < size) {
            const ssize_t got =
                recv(socket_, buffer, std::min(sizeof buffer, size - all.size()), 0);
            if (got <= 0) {
                ending = got == 0 ? "FIN" : errno == ECONNRESET ? "RST" : "time-out";
                break;
            }
            all.append(buffer, static_cast<std::size_t>(got));
        }
        return all;
    }
    std::string ending = "open";

private:
    int socket_;
};

}  // namespace korvel::service
