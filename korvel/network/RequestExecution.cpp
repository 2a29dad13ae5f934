#include <korvel/network/RequestExecution.h>

#include <algorithm>
#include <array>
#include <utility>

namespace korvel {

using platform::Exchange;
using platform::URLRequest;

RequestExecution::RequestExecution(std::shared_ptr<platform::URLSession> session,
                                   std::shared_ptr<platform::Locale> locale,
                                   std::shared_ptr<platform::Console> console,
                                   std::shared_ptr<platform::Diagnostics> diagnostics)
    : session_(std::move(session)),
      locale_(std::move(locale)),
      console_(std::move(console)),
      diagnostics_(std::move(diagnostics)) {}

void RequestExecution::performDataTask(const APIEndpoint& endpoint, VerdictHandler handler) const {
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

    const auto id = announce(request);
    session_->dataTask(std::move(request), completionHandler(id, judge, std::move(handler)));
}

void RequestExecution::performUpload(const APIEndpoint& endpoint, const std::string& boundary,
                                     VerdictHandler handler) const {
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

    const auto id = announce(request);
    session_->uploadTask(std::move(request), endpoint.formParams,
                         completionHandler(id, judgeLogin, std::move(handler)));
}

platform::URLSession::CompletionHandler RequestExecution::completionHandler(
    RequestId id, Judge judgement, VerdictHandler handler) const {
    return [id, judgement, handler = std::move(handler), console = console_,
            diagnostics = diagnostics_](Exchange exchange) {
        if (diagnostics) diagnostics->requestEnded(id, exchange);
        auto verdict = judgement(std::move(exchange), *console);
        if (handler) handler(std::move(verdict), id);
    };
}

RequestExecution::RequestId RequestExecution::announce(const URLRequest& request) const {
    const auto id = platform::Diagnostics::newRequestId();
    if (diagnostics_) diagnostics_->requestStarted(id, request);
    return id;
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
