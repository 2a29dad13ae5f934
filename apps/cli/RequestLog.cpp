#include "RequestLog.h"

#include <chrono>
#include <cstdio>

namespace cli {

namespace {

using korvel::platform::Exchange;
using korvel::platform::TransferMetrics;

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

void RequestLog::requestStarted(RequestId id, const korvel::platform::URLRequest& request) {
    const std::lock_guard lock(mutex_);
    underWay_[id] = request.method + ' ' + request.url.absoluteString();
}

void RequestLog::requestEnded(RequestId id, const Exchange& exchange) {
    std::string request;
    {
        const std::lock_guard lock(mutex_);
        request = std::move(underWay_[id]);
        underWay_.erase(id);
    }
    messages_->line(described(request, exchange));
}

void RequestLog::decodingFailed(RequestId, const std::string& record, const std::string& path,
                                const std::string& reason) {
    messages_->line("no " + record + ": " + (path.empty() ? "" : path + ": ") + reason);
}

}  // namespace cli
