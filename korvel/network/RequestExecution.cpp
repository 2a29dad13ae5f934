#include <korvel/model/KCSDKUser.h>
#include <korvel/network/RequestExecution.h>

#include <algorithm>
#include <array>
#include <utility>

namespace korvel {

using platform::Exchange;
using platform::URLRequest;

RequestExecution::RequestExecution(const platform::Device& device)
    : session_(device.urlSession),
      locale_(device.locale),
      console_(device.console),
      diagnostics_(device.diagnostics),
      largestAnswer_(device.largestAnswer != 0 ? device.largestAnswer
                                               : platform::DeviceOptions().largestAnswer) {}

void RequestExecution::performDataTask(const APIEndpoint& endpoint, VerdictHandler handler,
                                       const Conducting& conduct) const {
    URLRequest request(endpoint.baseURL.resolving(endpoint.path).value_or(endpoint.baseURL));
    if (endpoint.params) {
        request.body = endpoint.params;
        request.setValue("application/json", "Content-Type");
    }
    if (endpoint.modId) request.setValue(endpoint.modId, "ModId");
    if (endpoint.headers) {
        for (const auto& [name, value] : *endpoint.headers) request.setValue(value, name);
    }
    request.setValue(endpoint.token, "Authorization");
    request.setValue(endpoint.tenantId, "TenantID");
    request.method = endpoint.method;

    send(std::move(request), judge, std::move(handler), conduct);
}

void RequestExecution::performUpload(const APIEndpoint& endpoint, const std::string& boundary,
                                     VerdictHandler handler, const Conducting& conduct) const {
    URLRequest request(endpoint.baseURL.appendingPathComponent(endpoint.path));
    if (endpoint.formParams) {
        request.setValue("multipart/form-data; boundary=" + boundary, "Content-Type");
        request.setValue("gzip;q=1.0, compress;q=0.5", "Accept-Encoding");
        request.setValue(acceptLanguage(), "Accept-Language");
        request.setValue(std::to_string(endpoint.formParams->size()), "Content-Length");
    }
    request.setValue(endpoint.token, "Authorization");
    request.setValue(endpoint.tenantId, "TenantID");
    request.setValue("Korvel/1.0(iOS 13.0)", "User-Agent");  // the only agent the service logs in
    request.method = endpoint.method;

    request.body = endpoint.formParams;
    send(std::move(request), judgeLogin, std::move(handler), conduct);
}

/// A request on its way, kept by the handler of the exchange that is under way; that is the
/// session's, which must not be kept by it.
struct RequestExecution::Sending : std::enable_shared_from_this<Sending> {
    std::weak_ptr<platform::URLSession> session;
    std::shared_ptr<platform::Console> console;
    std::shared_ptr<platform::Diagnostics> diagnostics;
    Judge judgement = nullptr;
    VerdictHandler handler;
    Conducting conduct;
    std::optional<URLRequest> repeated;  ///< what may be asked for again
    int attempts = 0;                    ///< one after another

    void begin(URLRequest request) {
        const auto open = session.lock();
        if (!open) return;
        const auto id = platform::Diagnostics::newRequestId();
        const int attempt = attempts++;
        if (diagnostics) diagnostics->requestStarted(id, request);
        auto task =
            open->dataTask(std::move(request), [self = shared_from_this(), id](Exchange exchange) {
                self->end(id, std::move(exchange));
            });
        if (conduct) conduct->began(std::move(task), attempt);
    }

    void end(platform::Diagnostics::RequestId id, Exchange exchange) {
        if (diagnostics) diagnostics->requestEnded(id, exchange);
        const int status = exchange.response ? exchange.response->statusCode : 0;
        const bool isTooLong = exchange.isTooLong();
        auto verdict = judgement(std::move(exchange), *console);
        if (!verdict && repeated &&
            conduct->triesAgain(verdict.failure(), [self = shared_from_this()] {
                if (!self->conduct->isOver()) self->begin(*self->repeated);
            })) {
            return;
        }
        if (handler) handler(std::move(verdict), {id, status, isTooLong});
    }
};

void RequestExecution::send(URLRequest request, Judge judgement, VerdictHandler handler,
                            const Conducting& conduct) const {
    if (conduct && conduct->isOver()) return;
    const auto sending = std::make_shared<Sending>();
    sending->session = session_;
    sending->console = console_;
    sending->diagnostics = diagnostics_;
    sending->judgement = judgement;
    sending->handler = std::move(handler);
    sending->conduct = conduct;
    if (conduct && request.method == "GET") sending->repeated = request;
    sending->begin(std::move(request));
}

// ------------------------------------------------------------------------------------------
// decoding

/// What an answer that was accepted is to be, and who hears of it.
struct RequestExecution::Reading {
    const Answer& answer;
    std::size_t largest;
    std::shared_ptr<platform::Diagnostics> diagnostics;
    BoxHandler done;
    bool isLogIn = false;

    void operator()(Verdict verdict, Ended ended) const {
        Outcome<Box> outcome =
            verdict ? read(std::move(*verdict), ended) : Outcome<Box>(std::move(verdict.failure()));
        if (done) done(std::move(outcome));
    }

    Outcome<Box> read(platform::Data body, Ended ended) const {
        auto refusal = isLogIn ? body : platform::Data();  // should it be one
        platform::DecodingError error;
        if (ended.isTooLong || body.size() > largest) {
            error.reason = "is too long";
        } else if (auto box = answer.read(std::move(body), error)) {
            return box;
        }
        const auto name = answer.name();
        if (diagnostics) diagnostics->decodingFailed(ended.id, name, error.path, error.reason);
        if (isLogIn && ended.status != 0 && ended.status != 200 && ended.status != 201) {
            return refusalOfLogIn(ended.status, std::move(refusal));
        }
        Failure failure;
        failure.reason = Failure::Reason::notUnderstood;
        failure.status = ended.status;
        failure.body.emplace();  // there was one
        failure.record = name;
        failure.member = std::move(error.path);
        failure.detail = std::move(error.reason);
        return failure;
    }

    static Failure refusalOfLogIn(int status, platform::Data body) {
        auto refusal = failureOfStatus(status, std::move(body));
        if (refusal.reason == Failure::Reason::loggedOut) refusal.reason = Failure::Reason::refused;
        return refusal;
    }
};

RequestExecution::VerdictHandler RequestExecution::decoding(const Answer& answer,
                                                            BoxHandler done) const {
    return Reading{answer, largestAnswer_, diagnostics_, std::move(done)};
}

RequestExecution::VerdictHandler RequestExecution::decodingUser(BoxHandler done) const {
    return Reading{answerWith<std::shared_ptr<KCSDKUser>>, largestAnswer_, diagnostics_,
                   std::move(done), true};
}

std::string RequestExecution::acceptLanguage() const {
    constexpr std::array weights{"1.0", "0.9", "0.8", "0.7", "0.6", "0.5"};
    const auto languages = locale_->preferredLanguages();
    std::string value;
    for (std::size_t i = 0; i < std::min(languages.size(), weights.size()); ++i) {
        if (i > 0) value += ", ";
        value += languages[i] + ";q=" + weights[i];
    }
    return value;
}

}  // namespace korvel
