// What must not get through: answers without an end, encodings nobody knows, redirects to where
// secrets do not belong. Sessions and streams stand the same tests.

#include "Client.h"
#include "RawServer.h"

#include <korvel/platform/backends/curl/StreamLoaderCurl.h>

namespace korvel::platform {
namespace {

using enum URLErrorCode;

Exchange readAll(StreamLoader& loader, const URLRequest& request) {
    const auto stream = loader.open(request);
    Exchange exchange;
    const auto head = stream->response();
    if (const auto* error = std::get_if<NSError>(&head)) {
        exchange.error = *error;
        return exchange;
    }
    Data body;
    while (true) {
        const auto piece = stream->read();
        if (const auto* error = std::get_if<NSError>(&piece)) {
            exchange.error = *error;
            return exchange;
        }
        const auto& bytes = std::get<Data>(piece);
        if (bytes.empty()) break;
        body.insert(body.end(), bytes.begin(), bytes.end());
    }
    EXPECT_EQ(stream->expectedContentLength().value_or(body.size()), body.size());
    exchange.response = std::get<HTTPURLResponse>(head);
    exchange.body = std::move(body);
    return exchange;
}

class HostileTest : public URLSessionTest, public testing::WithParamInterface<const char*> {
protected:
    bool streams() const { return GetParam() == std::string("Stream"); }

    Exchange get(const URLRequest& request) {
        return streams() ? readAll(*loader, request) : send(request);
    }
    Exchange get(const std::string& url, std::chrono::milliseconds timeout = 20s) {
        URLRequest request(*URL::parse(url));
        request.timeoutInterval = timeout;
        return get(request);
    }
    Exchange get(Answer answer) {
        service.script(std::move(answer));
        return get(service.baseURL() + "x");
    }

    std::shared_ptr<StreamLoader> loader = makeStreamLoaderCurl(trusting(service));
};
INSTANTIATE_TEST_SUITE_P(, HostileTest, testing::Values("Session", "Stream"),
                         [](const auto& row) { return std::string(row.param); });

TEST_P(HostileTest, WhatHasNoEndIsEndedWithAnErrorThatSaysWhy) {
    auto options = trusting(service);
    options.largestBody = 1 << 20;
    session = makeSession(options);
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::string packed = "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\n\r\n";
    const std::string gzip("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10);
    const std::string emptyBlocks = [] {
        std::string blocks;
        for (int count = 0; count < 10'000; ++count) blocks += std::string("\0\0\0\xff\xff", 5);
        return blocks;
    }();
    struct Row {
        const char* name;
        std::string begin, again;
        URLErrorCode session, stream;
    };
    const Row rows[] = {
        {"head", "HTTP/1.1 200 OK\r\n", "X: y\r\n", badServerResponse, badServerResponse},
        {"line", "HTTP/1.1 200 OK\r\nX: ", "yyyyyyyy", badServerResponse, badServerResponse},
        {"interim", "", "HTTP/1.1 100 Continue\r\n\r\n", badServerResponse, badServerResponse},
        {"trailers", chunked + "1\r\nx\r\n0\r\n", "X: y\r\n", badServerResponse, badServerResponse},
        {"chunk", chunked + "1", ";x=y", timedOut, timedOut},
        {"nothing, packed", packed + gzip, emptyBlocks, dataLengthExceedsMaximum, timedOut}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::atomic<std::size_t> sent = 0;
        const RawServer server([&](const auto& connection) {
            std::string block;
            while (block.size() < 60'000) block += row.again;
            connection.readHead();
            connection.send(row.begin);
            while (connection.send(block)) sent += block.size();
        });
        const bool untimed = (streams() ? row.stream : row.session) != timedOut;
        const auto exchange = get(server.url(), untimed ? 20s : 500ms);
        EXPECT_EQ(errorOf(exchange), code(streams() ? row.stream : row.session));
        EXPECT_EQ(exchange.error->text("NSLocalizedDescription")->find("emory"), std::string::npos);
        // What the sockets hold comes on top.
        EXPECT_TRUE(row.session != badServerResponse || sent < 16u << 20) << sent;
    }
}

TEST_P(HostileTest, ABodyInAnUnknownEncodingArrivesAsItIs) {
    const std::string bytes("\x1f\x8b no gzip \0{}", 14);
    for (const std::string encoding : {"utf-8", "binary", "aws-chunked", "compress", "identity",
                                       "gzip, compress", "aws-chunked,gzip", "\"", ","}) {
        for (const int status : {200, 404}) {
            for (const bool chunked : {false, true}) {
                SCOPED_TRACE(encoding + (chunked ? " in chunks" : ""));
                Answer answer{.status = status, .headers = {{"Content-Encoding", encoding}}};
                answer.body = chunked ? "e\r\n" + bytes + "\r\n0\r\n\r\n" : bytes;
                if (chunked) answer.headers.emplace_back("Transfer-Encoding", "chunked");
                const auto exchange = get(std::move(answer));
                EXPECT_EQ(statusOf(exchange), status);
                EXPECT_EQ(bodyOf(exchange), bytes);
            }
        }
    }
}

TEST_P(HostileTest, ABodyThatCameThroughARedirectIsReadByItsOwnEncoding) {
    service.script({.status = 302,
                    .body = "moved",
                    .headers = {{"Location", "/y"}, {"Content-Encoding", "compress"}}});
    const auto exchange =
        get({.status = 200, .body = packedText, .headers = {{"Content-Encoding", "x-GZIP"}}});
    EXPECT_EQ(bodyOf(exchange), std::string(1000, 'k')) << "unpacked, whatever was asked for";
    EXPECT_EQ(exchange.response->url.absoluteString(), service.baseURL() + "y");
    const auto requests = arrived();
    EXPECT_EQ(requests.at(0).header("Accept-Encoding").has_value(), !streams());
}

TEST_P(HostileTest, RedirectsStayEncryptedAndOnTheWeb) {
    ContentService plain({.tls = false});
    const std::pair<std::string, URLErrorCode> rows[] = {
        {plain.baseURL(), appTransportSecurityRequiresSecureConnection},
        {"HTTP://127.0.0.1:" + std::to_string(plain.port()),
         appTransportSecurityRequiresSecureConnection},
        {"file:///etc/passwd", unsupportedURL},
        {"ftp://localhost/", unsupportedURL}};
    for (const auto& [target, expected] : rows) {
        EXPECT_EQ(errorOf(get({.status = 302, .headers = {{"Location", target}}})), code(expected));
    }
    EXPECT_TRUE(plain.requests().empty());

    plain.script({.status = 302, .headers = {{"Location", service.baseURL() + "secure"}}});
    service.script({.status = 200, .body = "ok"});
    EXPECT_EQ(bodyOf(get(plain.baseURL())), "ok");

    service.script("/x", "GET", {.status = 302, .headers = {{"Location", "/x"}}}, 100);
    arrived();
    EXPECT_EQ(errorOf(get(request())), code(httpTooManyRedirects));
    EXPECT_EQ(arrived().size(), 21u);
}

TEST_P(HostileTest, WhatTheHostSetStaysWithTheServiceItWasSetFor) {
    const std::string away = "https://127.0.0.1:" + std::to_string(service.port()) + "/away";
    service.script({.status = 307, .headers = {{"Location", away}}});
    service.script({.status = 302, .headers = {{"Location", service.baseURL() + "back"}}});
    service.script({.status = 200, .body = "ok"});
    const auto exchange = get(request(
        "GET", {},
        {{"Authorization", "Basic QQ=="}, {"TenantID", "t"}, {"User-Agent", "Korvel/1.0"}}));
    EXPECT_EQ(bodyOf(exchange), "ok");
    const auto requests = arrived();
    ASSERT_EQ(requests.size(), 3u);
    for (const std::size_t after : {1u, 2u}) {  // back at the first service, and in between
        EXPECT_FALSE(requests[after].header("Authorization")) << requests[after].head;
        EXPECT_FALSE(requests[after].header("TenantID")) << requests[after].head;
        EXPECT_EQ(requests[after].header("User-Agent"), "Korvel/1.0");
    }
}

TEST_F(URLSessionTest, AFormStaysWithTheServiceAndTheEncryptionItWasSentTo) {
    ContentService other;
    ContentService plain({.tls = false});
    const std::string foreign = "https://127.0.0.1:" + std::to_string(service.port()) + "/";
    const std::tuple<int, const char*, std::string, std::int64_t> rows[] = {
        {307, "POST", other.baseURL(), code(badServerResponse)},
        {308, "POST", foreign, code(badServerResponse)},
        {302, "PUT", foreign, code(badServerResponse)},
        {307, "POST", plain.baseURL(), code(appTransportSecurityRequiresSecureConnection)},
        {303, "POST", foreign, 0},  // a GET, which takes nothing along
        {307, "POST", "/y", 0}};
    for (const auto& [status, method, target, expected] : rows) {
        SCOPED_TRACE(std::to_string(status) + method + target);
        service.script({.status = status, .headers = {{"Location", target}}});
        service.script({.status = 200, .body = "ok"});
        arrived();
        EXPECT_EQ(errorOf(send(request(method, "password=secret"))), expected);
        EXPECT_EQ(arrived().size(), expected ? 1u : 2u);
        service.clearScripts();
    }
    EXPECT_TRUE(other.requests().empty());
    EXPECT_TRUE(plain.requests().empty());

    plain.script({.status = 307, .headers = {{"Location", service.baseURL() + "login"}}});
    auto login = request("POST", "form", {{"Authorization", "Basic QQ=="}});
    login.url = *URL::parse(plain.baseURL());
    EXPECT_EQ(statusOf(send({.status = 200}, login)), 200);
    const auto requests = arrived();
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_EQ(requests[0].body, "form") << "encryption may be taken up on the way";
    EXPECT_EQ(requests[0].header("Authorization"), "Basic QQ==");
}

}  // namespace
}  // namespace korvel::platform
