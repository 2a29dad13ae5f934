#include <korvel/network/Verdict.h>
#include <korvel/platform/foundation/UTF8.h>

#include <string>
#include <utility>

namespace korvel {

namespace {
void printStatus(int statusCode, platform::Console& console) {
    console.print("statusCode: " + std::to_string(statusCode));
}

NSError serviceError(int statusCode, platform::Data body) {
    std::string message(platform::viewOf(body));
    if (!platform::isValidUTF8(message)) message = "na";
    return {.domain = "SDK",
            .code = statusCode,
            .userInfo = {{"message", std::move(message)}, {"data", std::move(body)}}};
}
}  // namespace

Verdict judge(platform::Exchange exchange, platform::Console& console) {
    if (exchange.error) {
        console.print("error");
        return Silence{};
    }
    if (!exchange.response) return Silence{};
    const auto status = exchange.response->statusCode;
    printStatus(status, console);
    const bool accepted = status == 200 || status == 201;
    if (!exchange.body) return accepted ? Verdict(Silence{}) : Verdict(Rejection{});
    if (!accepted) return Rejection{serviceError(status, std::move(*exchange.body))};
    return Payload{std::move(*exchange.body)};
}

Verdict judgeLogin(platform::Exchange exchange, platform::Console& console) {
    if (exchange.error) {
        console.print("error");
        return Silence{};
    }
    if (!exchange.body) return Silence{};
    if (exchange.response) printStatus(exchange.response->statusCode, console);
    return Payload{std::move(*exchange.body)};
}

}  // namespace korvel
