#include <korvel/network/Verdict.h>

#include <string>
#include <utility>

namespace korvel {

namespace {
void printStatus(int statusCode, platform::Console& console) {
    console.print("statusCode: " + std::to_string(statusCode));
}

Failure lost(NSError error, platform::Console& console) {
    console.print("error");
    return failureOfTransport(std::move(error));
}

Failure noAnswer(const platform::Exchange& exchange) {
    Failure failure;
    failure.status = exchange.response ? exchange.response->statusCode : 0;
    return failure;
}
}  // namespace

Verdict judge(platform::Exchange exchange, platform::Console& console) {
    if (exchange.isTooLong()) {
        exchange.body.emplace();
    } else if (exchange.error) {
        return lost(std::move(*exchange.error), console);
    }
    if (!exchange.response) return noAnswer(exchange);
    const auto status = exchange.response->statusCode;
    printStatus(status, console);
    const bool accepted = status == 200 || status == 201;
    if (!accepted) return failureOfStatus(status, std::move(exchange.body));
    if (!exchange.body) return noAnswer(exchange);
    return std::move(*exchange.body);
}

Verdict judgeLogin(platform::Exchange exchange, platform::Console& console) {
    if (exchange.isTooLong()) {
        exchange.body.emplace();
    } else if (exchange.error) {
        return lost(std::move(*exchange.error), console);
    }
    if (!exchange.body) return noAnswer(exchange);
    if (exchange.response) printStatus(exchange.response->statusCode, console);
    return std::move(*exchange.body);
}

}  // namespace korvel
