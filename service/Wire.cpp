#include <service/Channel.h>
#include <service/Gate.h>
#include <service/Wire.h>

#include <strings.h>
#include <algorithm>
#include <charconv>

namespace korvel::service {

namespace {

constexpr std::size_t statusAt = std::string_view("HTTP/1.1 ").size();
constexpr std::size_t phraseAt = std::string_view("HTTP/1.1 200 ").size();

const std::string* header(const Answer& answer, const char* name) {
    for (const auto& [key, value] : answer.headers) {
        if (strcasecmp(key.c_str(), name) == 0) return &value;
    }
    return nullptr;
}

bool send(Channel& channel, Gate& gate, const std::optional<Answer::Drip>& drip,
          std::string_view bytes) {
    if (!drip) return channel.write(bytes);
    while (!bytes.empty()) {
        const std::string_view drop = bytes.substr(0, std::max<std::size_t>(drip->bytes, 1));
        if (!channel.write(drop)) return false;
        bytes.remove_prefix(drop.size());
        if (!bytes.empty() && !gate.wait(drip->every)) return false;
    }
    return true;
}

}  // namespace

std::string_view reasonPhrase(int status) {
    static constexpr std::pair<int, std::string_view> phrases[] = {
        {200, "OK"},
        {201, "Created"},
        {202, "Accepted"},
        {204, "No Content"},
        {206, "Partial Content"},
        {301, "Moved Permanently"},
        {302, "Found"},
        {303, "See Other"},
        {304, "Not Modified"},
        {307, "Temporary Redirect"},
        {308, "Permanent Redirect"},
        {400, "Bad Request"},
        {401, "Unauthorized"},
        {403, "Forbidden"},
        {404, "Not Found"},
        {408, "Request Timeout"},
        {414, "URI Too Long"},
        {416, "Range Not Satisfiable"},
        {429, "Too Many Requests"},
        {500, "Internal Server Error"},
        {502, "Bad Gateway"},
        {503, "Service Unavailable"},
        {504, "Gateway Timeout"},
        {601, "Consent Required"},
    };
    const auto* found = std::find_if(std::begin(phrases), std::end(phrases),
                                     [&](const auto& each) { return each.first == status; });
    return found != std::end(phrases) ? found->second : "Unassigned";
}

int statusOf(std::string_view answer) {
    int status = 0;
    if (answer.size() > phraseAt)
        std::from_chars(answer.data() + statusAt, answer.data() + phraseAt, status);
    return status;
}

void nameStatus(std::string& answer) {
    const auto end = answer.find("\r\n");
    if (end != std::string::npos && end >= phraseAt)
        answer.replace(phraseAt, end - phraseAt, reasonPhrase(statusOf(answer)));
}

bool isScriptedWhole(const Answer& answer) {
    return answer.status || answer.body || !answer.headers.empty();
}

std::string compose(const Answer& answer) {
    const int status = answer.status.value_or(200);
    const std::string body = answer.body.value_or("");
    std::string bytes = "HTTP/1.1 " + std::to_string(status) + ' ';
    bytes.append(reasonPhrase(status)).append("\r\n");
    for (const auto& [name, value] : answer.headers) {
        bytes.append(name).append(": ").append(value).append("\r\n");
    }
    if (header(answer, "Content-Length") == nullptr &&
        header(answer, "Transfer-Encoding") == nullptr)
        bytes.append("Content-Length: ").append(std::to_string(body.size())).append("\r\n");
    return bytes.append("\r\n").append(body);
}

bool closesAfter(const Answer& answer) {
    const std::string* connection = header(answer, "Connection");
    return connection != nullptr && strcasecmp(connection->c_str(), "close") == 0;
}

bool deliver(Channel& channel, Gate& gate, const Answer& answer, std::string_view bytes) {
    if (answer.hold && !gate.waitForRelease()) return false;
    if (!gate.wait(answer.delay)) return false;
    const std::size_t end = std::min(answer.cutOffAfter.value_or(bytes.size()),
                                     answer.resetAfter.value_or(bytes.size()));
    const bool sent = send(channel, gate, answer.drip, bytes.substr(0, end));
    if (answer.resetAfter) channel.end(Channel::Ending::reset);
    if (answer.cutOffAfter) channel.end(Channel::Ending::cut);
    return sent && !answer.resetAfter && !answer.cutOffAfter;
}

}  // namespace korvel::service
