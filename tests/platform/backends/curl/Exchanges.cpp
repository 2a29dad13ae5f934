// What goes over the wire, and what comes back of an answer.

#include "Client.h"

#include <algorithm>

namespace korvel::platform {
namespace {

/// Names and values in order, without those that every request of the library has.
std::vector<std::string> ownHeaders(const service::ReceivedRequest& request) {
    std::vector<std::string> lines;
    for (const auto& [name, value] : request.headers) {
        if (name == "Host" || name == "Accept") continue;
        if (name == "Accept-Encoding" && value.find("gzip, ") != std::string::npos) continue;
        lines.push_back(name + ":" + value);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST_F(URLSessionTest, OnlyWhatTheRequestSaysGoesOut) {
    using Lines = std::vector<std::string>;
    const std::string large(1'200'000, 'x');
    const std::tuple<URLRequest, Lines, std::string> rows[] = {
        {request(), {}, ""},
        {request("HEAD"), {}, ""},
        {request("PUT"), {"Content-Length:0"}, ""},
        {request("POST", ""), {"Content-Length:0"}, ""},
        {request("POST", "{}", {{"Content-Type", "application/json"}}),
         {"Content-Length:2", "Content-Type:application/json"},
         "{}"},
        {request("PUT", large, {{"Content-Length", "7"}}), {"Content-Length:1200000"}, large},
        {request("GET", {}, {{"TenantID", ""}, {"ModId", " "}, {"A b", "x"}}),
         {"ModId:", "TenantID:"},
         ""},
        {request("GET", {}, {{"TenantID", "t\r\nEvil: 1"}, {"User-Agent", "Korvel/1.0"}}),
         {"TenantID:t  Evil: 1", "User-Agent:Korvel/1.0"},
         ""},
        {request("GET", {}, {{"Accept-Encoding", "gzip;q=1.0, compress;q=0.5"}}),
         {"Accept-Encoding:gzip;q=1.0, compress;q=0.5"},
         ""}};
    for (const auto& [sent, headers, body] : rows) {
        EXPECT_EQ(statusOf(send({.status = 200, .body = ""}, sent)), 200);
        const auto requests = arrived();
        ASSERT_EQ(requests.size(), 1u);
        EXPECT_EQ(requests[0].method, sent.method);
        EXPECT_EQ(requests[0].target, "/x");
        EXPECT_EQ(ownHeaders(requests[0]), headers) << requests[0].head;
        EXPECT_EQ(requests[0].body, body);
    }
    URLRequest odd(*URL::parse(service.baseURL() + "a/../b//[1]?q=[]%20#f"));
    send({.status = 200}, odd);
    EXPECT_EQ(arrived().at(0).target, "/a/../b//[1]?q=[]%20") << "the address as the host wrote it";
}

TEST_F(URLSessionTest, EveryStatusIsAnAnswer) {
    for (const int status : {200, 201, 204, 301, 304, 401, 404, 500, 601, 999}) {
        const std::string body = status == 204 || status == 304 ? "" : "not\0found";
        const auto exchange = send({.status = status, .body = body}, request());
        EXPECT_EQ(statusOf(exchange), status);
        EXPECT_EQ(bodyOf(exchange), body) << "an empty body is a body";
        EXPECT_EQ(exchange.response->url, request().url);
    }
    EXPECT_EQ(errorOf(send({.status = 1000}, request())), code(URLErrorCode::badServerResponse));
}

TEST_F(URLSessionTest, CompressedBodiesAreUnpackedWhateverTheRequestAccepts) {
    const std::string text(1000, 'k');
    const Answer packed{.body = packedText, .headers = {{"Content-Encoding", "gzip"}}};
    EXPECT_EQ(bodyOf(send(packed, request())), text);
    const auto exchange = send(packed, request("GET", {}, {{"Accept-Encoding", "gzip;q=1.0"}}));
    EXPECT_EQ(bodyOf(exchange), text);
    EXPECT_GE(exchange.body->capacity(), text.size() + 64) << "parsers read past the end";
    EXPECT_EQ(exchange.metrics.bytesReceived, static_cast<std::int64_t>(packed.body->size()));

    auto options = trusting(service);
    auto bounded = request();
    bounded.largestBody = text.size() - 1;
    for (const bool bySession : {false, true}) {
        if (bySession) options.largestBody = *std::exchange(bounded.largestBody, text.size());
        session = makeSession(options);
        const auto refused = send(packed, bounded);
        EXPECT_EQ(errorOf(refused), code(URLErrorCode::dataLengthExceedsMaximum));
        EXPECT_TRUE(refused.isTooLong());
        EXPECT_EQ(refused.response->statusCode, 200);
        EXPECT_FALSE(refused.body);
    }
}

TEST_F(URLSessionTest, RedirectsChangeTheMethodAsBrowsersDo) {
    const std::tuple<int, const char*, const char*, bool> rows[] = {{302, "POST", "GET", false},
                                                                    {302, "PUT", "PUT", true},
                                                                    {303, "PUT", "GET", false},
                                                                    {307, "POST", "POST", true}};
    for (const auto& [status, method, then, bodyStays] : rows) {
        SCOPED_TRACE(std::to_string(status) + method);
        service.script({.status = status, .headers = {{"Location", "../y/./z?a=b"}}});
        const auto exchange =
            send({.status = 200, .body = "ok"},
                 request(method, "{}", {{"Content-Type", "application/json"}, {"TenantID", "t"}}));
        EXPECT_EQ(statusOf(exchange), 200);
        EXPECT_EQ(exchange.response->url.absoluteString(), service.baseURL() + "y/z?a=b");
        const auto requests = arrived();
        ASSERT_EQ(requests.size(), 2u);
        EXPECT_EQ(requests[1].method, then);
        EXPECT_EQ(requests[1].target, "/y/z?a=b");
        EXPECT_EQ(requests[1].body, bodyStays ? "{}" : "");
        EXPECT_EQ(requests[1].header("Content-Type").has_value(), bodyStays);
        EXPECT_EQ(requests[1].header("TenantID"), "t");
    }
}

TEST_F(URLSessionTest, NothingOfOneRequestIsSeenInTheNext) {
    service.script({.status = 302, .headers = {{"Location", "/y"}, {"Set-Cookie", "a=b; Path=/"}}});
    send({.status = 200, .headers = {{"Set-Cookie", "c=d"}, {"Cache-Control", "max-age=99"}}},
         request("GET", {}, {{"Authorization", "Basic QQ=="}}));
    auto withPassword = request();
    withPassword.url =
        *URL::parse("https://u:p@localhost:" + std::to_string(service.port()) + "/x");
    send({.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=x"}}}, withPassword);
    send({.status = 200}, request());
    const auto requests = arrived();
    ASSERT_EQ(requests.size(), 4u);
    for (const auto& each : requests) EXPECT_FALSE(each.header("Cookie"));
    EXPECT_FALSE(requests[2].header("Authorization"));
    EXPECT_EQ(ownHeaders(requests[3]), std::vector<std::string>{});
}

}  // namespace
}  // namespace korvel::platform
