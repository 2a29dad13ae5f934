#pragma once

#include <gtest/gtest.h>
#include "support/ChildProcess.h"
#include "support/RealService.h"

#include <future>

namespace korvel::platform {

using namespace std::chrono_literals;
using service::Answer;
using service::ContentService;
using tests::makeSession;

inline URLSessionCurlOptions trusting(const ContentService& service) {
    return {.certificateAuthorityFile = service.caFile(), .pinnedPublicKey = {}};
}

inline std::future<Exchange> start(URLSession& session, const URLRequest& request) {
    auto promise = std::make_shared<std::promise<Exchange>>();
    auto future = promise->get_future();
    session.dataTask(request,
                     [promise](Exchange exchange) { promise->set_value(std::move(exchange)); });
    return future;
}

/// A request, and the end of its handler, called or not.
struct Asked {
    std::shared_ptr<URLSessionTask> task;
    std::weak_ptr<int> handler;
    bool isOver() const {
        return tests::eventually([this] { return handler.expired(); });
    }
};

inline Asked ask(URLSession& session, const URLRequest& request, bool mayBeAnswered = true) {
    auto kept = std::make_shared<int>();
    Asked asked{nullptr, kept};
    asked.task = session.dataTask(request, [kept = std::move(kept), mayBeAnswered](const auto&) {
        EXPECT_TRUE(mayBeAnswered) << "called";
    });
    return asked;
}

/// A thousand times "k", compressed.
inline const std::string packedText(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03\xcb\xce\x1e\x05\xa3\x60\x14\x0c\x77\x00"
    "\x00\xab\xcb\xb1\x72\xe8\x03\x00\x00",
    29);

constexpr std::int64_t code(URLErrorCode value) { return static_cast<std::int64_t>(value); }

/// What a service made for the test and a session that trusts it make of a request.
class URLSessionTest : public testing::Test {
protected:
    URLRequest request(const std::string& method = "GET", std::optional<std::string> body = {},
                       const decltype(Answer::headers)& headers = {}) const {
        URLRequest made(*URL::parse(service.baseURL() + "x"));
        made.method = method;
        if (body) made.body = bytesOf(*body);
        for (const auto& [name, value] : headers) made.setValue(value, name);
        return made;
    }

    Exchange send(const URLRequest& request) { return wait(start(*session, request)); }
    Exchange send(Answer answer, const URLRequest& request) {
        service.script(std::move(answer));
        return send(request);
    }
    template <class Value> static Value wait(std::future<Value> future) {
        if (future.wait_for(20s) == std::future_status::ready) return future.get();
        ADD_FAILURE() << "no completion";
        return {};
    }

    /// The requests that arrived since the last call.
    std::vector<service::ReceivedRequest> arrived() {
        auto requests = service.requests();
        service.forgetRequests();
        return requests;
    }

    ContentService service;
    std::shared_ptr<URLSession> session = makeSession(trusting(service));
};

inline std::int64_t errorOf(const Exchange& exchange) {
    EXPECT_TRUE(exchange.error.has_value() != exchange.response.has_value() ||
                exchange.isTooLong());
    if (!exchange.error) return 0;
    EXPECT_EQ(exchange.error->domain, urlErrorDomain);
    const auto* text = exchange.error->text("NSLocalizedDescription");
    EXPECT_TRUE(text && !text->empty());
    return exchange.error->code;
}

inline int statusOf(const Exchange& exchange) {
    EXPECT_FALSE(exchange.error) << exchange.error->description();
    return exchange.response ? exchange.response->statusCode : 0;
}

inline std::string bodyOf(const Exchange& exchange) {
    return exchange.body ? std::string(viewOf(*exchange.body)) : "(none)";
}

}  // namespace korvel::platform
