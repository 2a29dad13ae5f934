// Who goes through a proxy, who does not, and what the proxy gets to see.

#include "Client.h"
#include "RawServer.h"
#include "support/ServerProgram.h"
#include "support/TemporaryFolder.h"

#include <korvel/platform/backends/curl/StreamLoaderCurl.h>

namespace korvel::platform {
namespace {

class ProxyTest : public URLSessionTest {
protected:
    ~ProxyTest() override {
        for (const char* name : names) unsetenv(name);
    }

    void setEnvironment(const std::string& proxy) {
        for (const char* name : names) setenv(name, proxy.c_str(), 1);
    }
    void use(const std::string& proxy, bool fromEnvironment = false) {
        auto options = trusting(service);
        options.proxy = proxy;
        options.proxyFromEnvironment = fromEnvironment;
        session = makeSession(options);
        loader = makeStreamLoaderCurl(options);
    }
    /// The status that a session and a stream get; 0 if either gets none.
    int statusOfBoth(const std::string& url) {
        const URLRequest wanted(*URL::parse(url));
        const auto exchange = send(wanted);
        const auto stream = loader->open(wanted)->response();
        const auto* head = std::get_if<HTTPURLResponse>(&stream);
        if (!exchange.response || !head) return 0;
        return exchange.response->statusCode == head->statusCode ? head->statusCode : -1;
    }

    static constexpr const char* names[] = {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy",
                                            "ALL_PROXY"};
    ContentService plain{{.tls = false}};
    std::shared_ptr<StreamLoader> loader = makeStreamLoaderCurl(trusting(service));
};

TEST_F(ProxyTest, TheEnvironmentHasNoSayUnlessTheHostAsksForIt) {
    std::mutex mutex;
    std::string seen;
    const RawServer proxy([&](const auto& connection) {
        const std::string head = connection.readHead();
        const std::lock_guard lock(mutex);
        seen += head;
        connection.send("HTTP/1.1 407 No\r\nContent-Length: 0\r\n\r\n");
    });
    setEnvironment(proxy.url());
    plain.script("", "", {.status = 200, .body = "ok"}, 4);
    service.script("", "", {.status = 200, .body = "ok"}, 4);
    for (const auto& url : {plain.baseURL(), service.baseURL()}) {
        EXPECT_EQ(statusOfBoth(url), 200);
        use("");
        EXPECT_EQ(statusOfBoth(url), 200);
    }
    EXPECT_EQ(proxy.accepted(), 0u);

    use("", true);
    EXPECT_EQ(statusOfBoth(plain.baseURL()), 407);
    EXPECT_EQ(proxy.accepted(), 2u);
    setenv("no_proxy", "*", 1);
    use(proxy.url());
    EXPECT_EQ(statusOfBoth(plain.baseURL()), 407) << "what the host says, counts";
    unsetenv("no_proxy");

    auto secret = request("POST", "form", {{"Authorization", "Basic QQ=="}, {"TenantID", "t"}});
    EXPECT_EQ(errorOf(send(secret)), code(URLErrorCode::networkConnectionLost));
    const std::lock_guard lock(mutex);
    EXPECT_NE(seen.find("CONNECT localhost:"), std::string::npos);
    for (const char* hidden : {"Authorization", "TenantID", "form"}) {
        EXPECT_EQ(seen.find(hidden), std::string::npos) << seen;
    }
}

TEST_F(ProxyTest, AProxyThatIsNotThereIsAnErrorAndNobodyGoesAround) {
    const auto nowhere = "http://127.0.0.1:" + std::to_string(tests::freePort());
    const std::pair<std::string, URLErrorCode> rows[] = {
        {nowhere, URLErrorCode::cannotConnectToHost},
        {"http://" + std::string(64, 'a') + ".invalid", URLErrorCode::cannotFindHost}};
    for (const auto& [proxy, expected] : rows) {
        use(proxy);
        EXPECT_EQ(errorOf(send(request())), code(expected));
        EXPECT_EQ(statusOfBoth(plain.baseURL()), 0);
    }
    EXPECT_TRUE(arrived().empty());
    EXPECT_TRUE(plain.requests().empty());
}

TEST_F(ProxyTest, AnInstalledProxyCarriesRequestsAndStreams) {
    const std::string program = "/usr/bin/tinyproxy";
    if (access(program.c_str(), X_OK) != 0) GTEST_SKIP() << program << " is not installed";
    const tests::TemporaryFolder folder;
    const auto log = folder / "log";
    const auto configuration = folder / "configuration";
    const auto port = tests::freePort();
    tests::writeFile(configuration, "Port " + std::to_string(port) +
                                        "\nListen 127.0.0.1\nAllow 127.0.0.1\nTimeout 60\n"
                                        "MaxClients 20\nLogLevel Connect\nLogFile \"" +
                                        log.string() + "\"\n");
    const tests::ServerProgram proxy({program, "-d", "-c", configuration.string()}, port);
    ASSERT_TRUE(proxy.isReady());

    use("http://127.0.0.1:" + std::to_string(port));
    plain.script("", "", {.status = 200, .body = "ok"}, 2);
    EXPECT_EQ(statusOfBoth(plain.baseURL()), 200);
    for (const auto& request : plain.requests()) EXPECT_TRUE(request.header("Via"));

    service.script("", "", {.status = 601, .body = "ok"}, 2);
    EXPECT_EQ(statusOfBoth(service.baseURL()), 601);
    const auto requests = arrived();
    ASSERT_EQ(requests.size(), 2u);
    for (const auto& request : requests) EXPECT_FALSE(request.header("Via")) << "under TLS";
    const auto tunnel = "CONNECT localhost:" + std::to_string(service.port());
    EXPECT_NE(tests::readFile(log).find(tunnel), std::string::npos);
}

}  // namespace
}  // namespace korvel::platform
