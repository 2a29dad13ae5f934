#include "RequestObserver.h"

#include <chrono>
#include <cstdio>

namespace cli {

namespace {

using korvel::platform::Exchange;
using korvel::platform::TransferMetrics;

constexpr std::size_t longestBody = 4096;  // only messages are looked at

std::string milliseconds(std::chrono::microseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(time.count()) / 1000);
    return text;
}

std::string connection(const TransferMetrics& metrics) {
    if (metrics.reusedConnection) return "connection reused";
    return "name " + milliseconds(metrics.nameLookup) + ", connect " +
           milliseconds(metrics.connect) + ", TLS " + milliseconds(metrics.tls);
}

std::string described(const std::string& request, const Exchange& exchange) {
    const auto& metrics = exchange.metrics;
    std::string line = request + " -> ";
    if (exchange.error) {
        line += exchange.error->description();
    } else if (exchange.response) {
        line += std::to_string(exchange.response->statusCode);
    }
    line += " in " + milliseconds(metrics.end) + " (" + connection(metrics) + ", first byte " +
            milliseconds(metrics.firstByte) + "), sent " + std::to_string(metrics.bytesSent) +
            " B, received " + std::to_string(metrics.bytesReceived) + " B";
    if (metrics.redirects > 0) line += ", " + std::to_string(metrics.redirects) + " redirects";
    return line;
}

}  // namespace

RequestObserver::RequestObserver(std::shared_ptr<Messages> messages)
    : messages_(std::move(messages)) {}

void RequestObserver::watch(std::string part) {
    const std::lock_guard lock(mutex_);
    part_ = std::move(part);
    watched_ = 0;
    report_ = {};
}

RequestReport RequestObserver::report() const {
    const std::lock_guard lock(mutex_);
    return report_;
}

void RequestObserver::requestStarted(RequestId id, const korvel::platform::URLRequest& request) {
    const std::lock_guard lock(mutex_);
    const auto address = request.url.absoluteString();
    const auto& name = underWay_[id] = request.method + ' ' + address;
    if (watched_ != 0 || address.find(part_) == std::string::npos) return;
    watched_ = id;
    report_.request = name;
    if (request.body) report_.sent = *request.body;
}

void RequestObserver::requestEnded(RequestId id, const Exchange& exchange) {
    std::string request;
    {
        const std::lock_guard lock(mutex_);
        request = std::move(underWay_[id]);
        underWay_.erase(id);
        if (id == watched_) take(exchange);
    }
    if (messages_) messages_->line(described(request, exchange));
    if (onEnd) onEnd();
}

void RequestObserver::take(const Exchange& exchange) {
    report_.ended = true;
    if (exchange.response) report_.status = exchange.response->statusCode;
    if (exchange.body) {
        report_.body = korvel::platform::viewOf(*exchange.body).substr(0, longestBody);
    }
    report_.lost = exchange.error;
}

void RequestObserver::decodingFailed(RequestId id, const std::string& record,
                                     const std::string& path, const std::string& reason) {
    {
        const std::lock_guard lock(mutex_);
        if (id == watched_) report_.undecodable = {path, reason};
    }
    if (messages_)
        messages_->line("no " + record + ": " + (path.empty() ? "" : path + ": ") + reason);
}

}  // namespace cli
