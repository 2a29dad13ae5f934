#include <service/RequestReader.h>

#include <strings.h>
#include <algorithm>
#include <charconv>

namespace korvel::service {

namespace {

constexpr std::size_t longestHead = std::size_t{1} << 20U;
constexpr std::size_t longestBody = std::size_t{64} << 20U;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool endsWith(const std::string& text, std::string_view lowerCaseEnd) {
    return text.size() >= lowerCaseEnd.size() &&
           strncasecmp(text.data() + text.size() - lowerCaseEnd.size(), lowerCaseEnd.data(),
                       lowerCaseEnd.size()) == 0;
}

std::optional<std::size_t> number(std::string_view text, int base) {
    std::size_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return value;
}

void parseRequestLine(std::string_view line, ReceivedRequest& request) {
    const auto first = line.find(' ');
    const auto last = line.rfind(' ');
    if (first == std::string_view::npos || first == last) return;
    request.method = line.substr(0, first);
    request.target = line.substr(first + 1, last - first - 1);
}

void parseHead(ReceivedRequest& request) {
    std::string_view rest = request.head;
    bool first = true;
    for (auto end = rest.find("\r\n"); end != std::string_view::npos && end > 0;
         end = rest.find("\r\n")) {
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end + 2);
        const auto colon = line.find(':');
        if (first) {
            parseRequestLine(line, request);
        } else if (colon != std::string_view::npos) {
            request.headers.emplace_back(line.substr(0, colon), trimmed(line.substr(colon + 1)));
        }
        first = false;
    }
}

}  // namespace

std::optional<ReceivedRequest> RequestReader::next() {
    ReceivedRequest request;
    request.complete = readHead(request) && readBody(request);
    request.time = std::chrono::steady_clock::now();
    if (!request.complete && request.head.empty()) return std::nullopt;
    return request;
}

bool RequestReader::fill() {
    constexpr std::size_t portion = 16384;
    const std::size_t before = pending_.size();
    pending_.resize(before + portion);
    const std::size_t got = channel_.read(pending_.data() + before, portion);
    pending_.resize(before + got);
    return got > 0;
}

bool RequestReader::readHead(ReceivedRequest& request) {
    static constexpr std::string_view emptyLine = "\r\n\r\n";
    std::size_t searched = 0;
    for (;;) {
        const auto end = pending_.find(emptyLine, searched);
        if (end != std::string::npos) {
            request.head = pending_.substr(0, end + emptyLine.size());
            pending_.erase(0, request.head.size());
            parseHead(request);
            return true;
        }
        searched = pending_.size() < emptyLine.size() ? 0 : pending_.size() - emptyLine.size() + 1;
        if (pending_.size() > longestHead || !fill()) {
            request.head = std::move(pending_);
            pending_.clear();
            return false;
        }
    }
}

bool RequestReader::readBody(ReceivedRequest& request) {
    const auto length = request.header("Content-Length");
    const bool chunked = endsWith(request.header("Transfer-Encoding").value_or(""), "chunked");
    if (!length && !chunked) return true;
    if (request.header("Expect") && pending_.empty() &&
        !channel_.write("HTTP/1.1 100 Continue\r\n\r\n"))
        return false;
    if (chunked) return readChunks(request);
    const auto bytes = number(*length, 10);
    return bytes && *bytes <= longestBody && take(*bytes, request.body);
}

bool RequestReader::readChunks(ReceivedRequest& request) {
    std::size_t size = 0;
    do {
        std::string line;
        if (!takeLine(line)) return false;
        request.body += line;
        const auto digits = number(line.substr(0, line.find_first_of("; \t\r\n")), 16);
        if (!digits || *digits > longestBody - std::min(longestBody, request.body.size()))
            return false;
        size = *digits;
        if (size > 0 && !take(size + 2, request.body)) return false;
    } while (size > 0);
    std::string line;
    do {  // trailer fields, if any, and the empty line
        if (!takeLine(line)) return false;
        request.body += line;
    } while (line != "\r\n" && line != "\n");
    return true;
}

bool RequestReader::take(std::size_t bytes, std::string& into) {
    into.reserve(into.size() + bytes);
    while (pending_.size() < bytes) {
        bytes -= pending_.size();
        into += pending_;
        pending_.clear();
        if (!fill()) return false;
    }
    into.append(pending_, 0, bytes);
    pending_.erase(0, bytes);
    return true;
}

bool RequestReader::takeLine(std::string& into) {
    into.clear();
    for (;;) {
        const auto end = pending_.find('\n');
        if (end != std::string::npos) {
            into.append(pending_, 0, end + 1);
            pending_.erase(0, end + 1);
            return true;
        }
        if (pending_.size() > longestHead || !fill()) return false;
    }
}

}  // namespace korvel::service
