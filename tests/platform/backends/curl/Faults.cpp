// Services that answer wrongly, slowly or not at all.

#include "Client.h"

namespace korvel::platform {
namespace {

using enum URLErrorCode;

constexpr Answer severedAfter(std::size_t bytes) {
    return {.status = 200, .body = "0123456789", .cutOffAfter = bytes};
}

TEST_F(URLSessionTest, EachFaultHasItsCode) {
    const std::pair<Answer, URLErrorCode> answers[] = {
        {severedAfter(9), networkConnectionLost},
        {{.status = 200, .body = "0", .headers = {{"Content-Length", "9"}}, .resetAfter = 50},
         networkConnectionLost},
        {{.body = "0", .headers = {{"Content-Length", "9"}, {"Connection", "close"}}},
         networkConnectionLost},
        {{.body = "no gzip", .headers = {{"Content-Encoding", "gzip"}}}, cannotDecodeContentData},
        {{.headers = {{"X", std::string(400'000, 'x')}}}, badServerResponse}};
    for (const auto& [answer, expected] : answers) {
        session = makeSession(trusting(service));  // or a GET would be sent once more
        EXPECT_EQ(errorOf(send(answer, request())), code(expected));
    }
    service.refuseTLS();
    session = makeSession(trusting(service));
    EXPECT_EQ(errorOf(send(request())), code(secureConnectionFailed));
    EXPECT_EQ(arrived().size(), std::size(answers));

    const std::uint16_t silentPort = ContentService().port();
    const std::pair<std::string, URLErrorCode> addresses[] = {
        {"http://127.0.0.1:" + std::to_string(silentPort) + "/", cannotConnectToHost},
        {"http://" + std::string(64, 'a') + ".invalid/", cannotFindHost},
        {"ftp://127.0.0.1/", unsupportedURL},
        {"http:///x", unsupportedURL},
        {"foo", unsupportedURL}};
    for (const auto& [address, expected] : addresses) {
        EXPECT_EQ(errorOf(send(URLRequest(*URL::parse(address)))), code(expected)) << address;
    }
}

TEST_F(URLSessionTest, NothingIsSaidToAServiceThatIsNotTrusted) {
    const ContentService stranger;
    auto pinned = trusting(service);
    pinned.pinnedPublicKey = "sha256//AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=";
    for (const auto& options : {URLSessionCurlOptions{}, trusting(stranger), pinned}) {
        session = makeSession(options);
        EXPECT_EQ(errorOf(send(request())), code(serverCertificateUntrusted));
    }
    EXPECT_TRUE(arrived().empty());
}

TEST_F(URLSessionTest, OnlyStandingStillTimesOut) {
    auto impatient = request();
    impatient.timeoutInterval = 400ms;
    const auto begin = std::chrono::steady_clock::now();
    service.script("/x", "", {.status = 200, .body = "late", .hold = true}, 2);
    auto silent = start(*session, impatient);
    auto patient = start(*session, request());
    EXPECT_EQ(errorOf(wait(std::move(silent))), code(timedOut));
    const auto elapsed = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(elapsed, 400ms);
    EXPECT_LT(elapsed, 1500ms);
    service.release();
    EXPECT_EQ(bodyOf(wait(std::move(patient))), "late");

    const auto dripBegin = std::chrono::steady_clock::now();
    const auto slow =
        send({.body = std::string(140, 'x'), .drip = Answer::Drip{.bytes = 20, .every = 80ms}},
             impatient);
    EXPECT_EQ(bodyOf(slow).size(), 140u);
    EXPECT_GT(std::chrono::steady_clock::now() - dripBegin, 400ms);
}

TEST_F(URLSessionTest, ReadingIsRepeatedAndWritingIsNotWhenTheConnectionDies) {
    for (const bool reads : {true, false}) {
        send({.status = 200, .body = "ok"}, request());  // leaves a connection behind
        arrived();
        service.script(severedAfter(0));
        const auto exchange = send({.body = "again"}, request(reads ? "GET" : "DELETE"));
        EXPECT_EQ(errorOf(exchange), reads ? 0 : code(networkConnectionLost));
        EXPECT_EQ(arrived().size(), reads ? 2u : 1u);
    }
}

}  // namespace
}  // namespace korvel::platform
