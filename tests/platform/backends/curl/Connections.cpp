// Connections that are opened before there is a request for them.

#include "Client.h"
#include "RawServer.h"

#include <korvel/platform/backends/curl/StreamLoaderCurl.h>

#include <semaphore>

namespace korvel::platform {
namespace {

URLRequest question(const std::string& address) {
    URLRequest made(*URL::parse(address));
    made.method = "POST";
    made.body = bytesOf("why");
    made.takesOpenedConnection = true;
    return made;
}

}  // namespace

TEST_F(URLSessionTest, AConnectionOpenedAheadServesOneQuestionAndCarriesNothingBefore) {
    session->connect(*URL::parse(service.baseURL()));
    session->connect(*URL::parse(service.baseURL()));
    const auto first = send(question(service.baseURL() + "x"));  // comes while it is being opened
    EXPECT_TRUE(first.metrics.reusedConnection);
    const auto second = send(question(service.baseURL() + "x"));
    EXPECT_FALSE(second.metrics.reusedConnection) << "what was asked over one is closed behind it";
    session->connect(*URL::parse(service.baseURL()));
    EXPECT_FALSE(send(request("POST", "x")).metrics.reusedConnection) << "not for what counts once";
    EXPECT_TRUE(send(question(service.baseURL() + "x")).metrics.reusedConnection);
    EXPECT_EQ(arrived().size(), 4u);

    std::binary_semaphore asked{0};
    std::atomic<bool> wasSilent = true;
    RawServer server([&](const RawServer::Connection& connection) {
        const std::string head = connection.readHead();
        wasSilent = wasSilent && (head.empty() || asked.try_acquire());
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    });
    session->connect(*URL::parse(server.url()));
    ASSERT_TRUE(tests::eventually([&] { return server.accepted() == 1; }));
    asked.release();
    EXPECT_EQ(bodyOf(send(question(server.url()))), "ok");
    EXPECT_TRUE(wasSilent);
    EXPECT_EQ(server.accepted(), 1u);
}

TEST_F(URLSessionTest, AConnectionOpenedAheadThatComesToNothingHoldsUpNobody) {
    // The service closes what it hears nothing of, and proxies say why.
    std::atomic<int> connections = 0;
    RawServer hasty([&](const RawServer::Connection& connection) {
        const bool isFirst = connections == 0;
        if (!isFirst) connection.readHead();
        ++connections;
        connection.send(isFirst ? "HTTP/1.1 408 Request Timeout\r\nContent-Length: 0\r\n\r\n"
                                : "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nok");
    });
    session->connect(*URL::parse(hasty.url()));
    ASSERT_TRUE(tests::eventually([&] { return connections == 1; }));
    RawServer cruel([&](const RawServer::Connection& connection) {
        if (!connection.readHead().empty()) ++connections;
    });
    EXPECT_EQ(bodyOf(send(question(hasty.url()))), "ok");
    EXPECT_EQ(connections, 2);

    // It closes at the sight of a question, which is not asked again.
    session->connect(*URL::parse(cruel.url()));
    ASSERT_TRUE(tests::eventually([&] { return cruel.accepted() == 1; }));
    EXPECT_EQ(errorOf(send(question(cruel.url()))), code(URLErrorCode::networkConnectionLost));
    EXPECT_EQ(connections, 3);

    for (const char* const address : {"http://127.0.0.1:1/", "https://none.invalid/", "ftp://h/"}) {
        session->connect(*URL::parse(address));
        const auto answer = send(question(address));
        EXPECT_NE(errorOf(answer), code(URLErrorCode::unknown)) << address;
    }

    // Nobody asks: it is closed.
    auto options = trusting(service);
    options.idleConnections = 20ms;
    session = makeSession(options);
    std::atomic<bool> left = false;
    RawServer patient(
        [&](const RawServer::Connection& connection) { left = connection.readHead().empty(); });
    session->connect(*URL::parse(patient.url()));
    EXPECT_TRUE(tests::eventually([&] { return left.load(); }));

    // The handshake is never answered: whoever waits behind it can be cancelled, and the session
    // ends.
    std::binary_semaphore open{0};
    RawServer silent([&](const RawServer::Connection&) { open.acquire(); });
    const std::string address = "https" + silent.url().substr(4);
    session->connect(*URL::parse(address));
    const auto cancelled = ask(*session, question(address));
    ASSERT_TRUE(tests::eventually([&] { return silent.accepted() == 1; }));
    cancelled.task->cancel();
    EXPECT_TRUE(cancelled.isOver());
    const auto dropped = ask(*session, question(address));
    session.reset();
    EXPECT_TRUE(dropped.handler.expired());
    open.release();
}

TEST(StreamConnectionsTest, AStreamTakesTheConnectionThatWasOpenedForItAndWaitsForNoOther) {
    std::binary_semaphore open{0};
    RawServer silent([&](const RawServer::Connection&) { open.acquire(); });
    RawServer server([&](const RawServer::Connection& connection) {
        for (std::string head; !(head = connection.readHead()).empty();) {
            const char* const length = head.starts_with("GET /long") ? "9" : "2";
            connection.send(std::string("HTTP/1.1 200 OK\r\nContent-Length: ") + length +
                            "\r\n\r\nok");
        }
    });
    const auto loader = makeStreamLoaderCurl({});
    const auto silentURL = *URL::parse("https" + silent.url().substr(4));
    loader->connect(silentURL);
    loader->connect(*URL::parse(server.url()));
    loader->connect(*URL::parse(server.url()));
    for (int i = 0; i < 2; ++i) {
        const auto stream = loader->open(URLRequest(*URL::parse(server.url())));
        ASSERT_TRUE(std::holds_alternative<HTTPURLResponse>(stream->response()));
        while (!std::get<Data>(stream->read()).empty()) continue;
    }
    EXPECT_EQ(server.accepted(), 1u);

    // An answer that is broken off takes its connection with it; the next one is opened ahead, too.
    ASSERT_TRUE(std::holds_alternative<HTTPURLResponse>(
        loader->open(URLRequest(*URL::parse(server.url() + "long")))->response()));
    loader->connect(*URL::parse(server.url()));
    ASSERT_TRUE(tests::eventually([&] { return server.accepted() == 2; }));

    // Behind a handshake that is never answered a stream can be cancelled.
    const auto waiting = loader->open(URLRequest(silentURL));
    std::thread thread([&] { EXPECT_TRUE(std::holds_alternative<NSError>(waiting->response())); });
    ASSERT_TRUE(tests::eventually([&] { return silent.accepted() == 1; }));
    waiting->cancel();
    thread.join();
    EXPECT_EQ(silent.accepted(), 1u);
    open.release();
}

}  // namespace korvel::platform
