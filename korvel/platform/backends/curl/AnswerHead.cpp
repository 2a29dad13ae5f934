#include <korvel/platform/backends/curl/AnswerHead.h>

#include <strings.h>
#include <algorithm>
#include <array>

namespace korvel::platform {

namespace {

bool equal(std::string_view left, std::string_view right) {
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

bool startsWith(std::string_view text, std::string_view prefix) {
    return equal(text.substr(0, prefix.size()), prefix);
}

bool libraryHas(int feature) {
    return (curl_version_info(CURLVERSION_NOW)->features & feature) != 0;
}

bool isIdentity(std::string_view encoding) { return equal(encoding, "identity"); }

bool canUnpack(std::string_view encoding) {
    constexpr std::array<std::string_view, 3> always{"gzip", "x-gzip", "deflate"};
    const auto same = [&](std::string_view known) { return equal(encoding, known); };
    return isIdentity(encoding) || std::any_of(always.begin(), always.end(), same) ||
           (same("br") && libraryHas(CURL_VERSION_BROTLI)) ||
           (same("zstd") && libraryHas(CURL_VERSION_ZSTD));
}

/// Calls `use` with each element of a header's value that is a list.
template <class Use> void forEachElement(std::string_view list, Use use) {
    while (!list.empty()) {
        const auto comma = std::min(list.find(','), list.size());
        auto element = list.substr(0, comma);
        list.remove_prefix(std::min(comma + 1, list.size()));
        constexpr auto blank = " \t\r\n";
        const auto first = element.find_first_not_of(blank);
        if (first == element.npos) continue;
        use(element.substr(first, element.find_last_not_of(blank) + 1 - first));
    }
}

}  // namespace

void AnswerHead::listen(CURL* easy) {
    *this = {};
    easy_ = easy;
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");  // without it nothing is unpacked
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &AnswerHead::receive);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
}

std::size_t AnswerHead::receive(char* bytes, std::size_t, std::size_t count, void* self) {
    auto& head = *static_cast<AnswerHead*>(self);
    head.bytes_ += count;
    if (head.tooLong()) return 0;
    head.take({bytes, count});
    return count;
}

void AnswerHead::take(std::string_view line) {
    constexpr std::string_view name = "content-encoding:";
    if (startsWith(line, "http/")) {  // another answer begins
        packed_ = false;
        known_ = true;
        decide();
    } else if (startsWith(line, name)) {
        forEachElement(line.substr(name.size()), [this](std::string_view encoding) {
            packed_ = packed_ || !isIdentity(encoding);
            known_ = known_ && canUnpack(encoding);
        });
        decide();
    }
}

/// The library asks for this option at each piece of the body.
void AnswerHead::decide() {
    curl_easy_setopt(easy_, CURLOPT_HTTP_CONTENT_DECODING, known_ ? 1L : 0L);
}

}  // namespace korvel::platform
