#include <service/ContentService.h>

#include "support/ServerProgram.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <list>
#include <nlohmann/json.hpp>

namespace korvel::service {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;

const ContentService::Options plain{.tls = false};
constexpr std::string_view request = "GET /x HTTP/1.1\r\nHost: h\r\n\r\n";

/// A plain socket: nothing stands between the test and the bytes. Gives up reading after 10 s.
class RawClient {
public:
    explicit RawClient(const ContentService& service) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        const sockaddr_in address = tests::onLoopback(service.port());
        const timeval patience{.tv_sec = 10, .tv_usec = 0};
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~RawClient() { close(socket_); }
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void send(std::string_view bytes) const {
        EXPECT_EQ(::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    void finish() const { shutdown(socket_, SHUT_WR); }

    /// What arrived until the connection ended.
    std::string read() {
        std::string all;
        char buffer[4096];
        ssize_t got = 0;
        while ((got = recv(socket_, buffer, sizeof buffer, 0)) > 0) {
            all.append(buffer, static_cast<std::size_t>(got));
        }
        return all;
    }

private:
    int socket_;
};

TEST(RequestLog, HoldsEveryByteAsItWasSent) {
    ContentService service(plain);
    const std::string head =
        "POST /a%20b/../c?q=1&&x#f HTTP/1.1\r\nhOST: h\r\nX-Two: b\r\nTenantID:\r\n"
        "X-TWO:  a \t\r\nContent-Length: 5\r\n\r\n";
    const std::string chunkedHead = "PUT /chunks HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::string chunks = "3;note=1\r\nabc\r\nA\r\n0123456789\r\n0\r\nTrailer: t\r\n\r\n";
    service.script("", "", {.body = "!"}, 3);
    RawClient client(service);
    client.send(head + std::string("\0\xff\r\n{", 5) + chunkedHead + chunks);
    client.send(
        "GET /last HTTP/1.1\r\nConnection: close\r\nExpect: 100-continue\r\n"
        "Content-Length: 9\r\n\r\n");
    client.finish();
    const std::string answer = "HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n!";
    EXPECT_EQ(client.read(), answer + answer + "HTTP/1.1 100 Continue\r\n\r\n");

    const auto log = service.requests();
    ASSERT_GE(log.size(), 3u);
    EXPECT_EQ(log[0].head, head);
    EXPECT_EQ(log[0].target, "/a%20b/../c?q=1&&x#f");
    EXPECT_EQ(log[0].headers.size(), 5u);
    EXPECT_EQ(log[0].headers[3], std::pair(std::string("X-TWO"), std::string("a")));
    EXPECT_EQ(log[0].header("tenantid"), "");
    EXPECT_EQ(log[0].body, std::string("\0\xff\r\n{", 5));
    EXPECT_EQ(log[1].head, chunkedHead);
    EXPECT_EQ(log[1].body, chunks);
    EXPECT_TRUE(log[1].complete);
    EXPECT_FALSE(log[2].complete) << "the body never came";
}

TEST(Faults, StoppingWaitsForNobody) {
    auto service = std::make_unique<ContentService>();
    auto hanging = std::make_unique<ContentService>(plain);
    hanging->script("/x", "", {.delay = 1h});
    hanging->script("/x", "", {.body = "drop by drop", .drip = Answer::Drip{.every = 1h}});
    hanging->script("/x", "", {.hold = true});
    hanging->script("/x", "", {.body = std::string(16U << 20U, 'x')});  // nobody reads it
    std::list<RawClient> clients;
    for (int index = 0; index < 4; ++index) clients.emplace_back(*hanging).send(request);
    clients.emplace_back(*hanging).send("GET /half");
    clients.emplace_back(*service);  // silent in the middle of the handshake
    ASSERT_TRUE(hanging->waitForRequests(4));
    ASSERT_TRUE(hanging->waitForHeld(1));
    const auto start = std::chrono::steady_clock::now();
    hanging.reset();
    service.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST(DevInterface, SteersAndShowsWithoutLeavingTraces) {
    ContentService service({.tls = false, .keptRequests = 2, .devInterface = true});
    httplib::Client client("127.0.0.1", service.port());
    const auto order = [&](const std::string& body) {
        return client.Post("/dev/script", body, "application/json")->status;
    };
    EXPECT_EQ(order(R"({"path":"/x","method":"GET","times":2,"status":601,"body":"b"})"), 200);
    EXPECT_EQ(order(R"({"status":"601"})"), 400);
    for (const int status : {601, 601, 404}) EXPECT_EQ(client.Get("/x")->status, status);
    const json log = json::parse(client.Get("/dev/requests")->body);
    ASSERT_EQ(log.size(), 2u) << "only the newest are kept";
    EXPECT_EQ(log[1]["target"], "/x");
    service.accounts().logIn("anna");
    EXPECT_EQ(json::parse(client.Get("/dev/state")->body)["users"].at(0)["name"], "anna");
    EXPECT_EQ(client.Post("/dev/clear")->status, 200);
    EXPECT_TRUE(service.requests().empty());
}

}  // namespace
}  // namespace korvel::service
