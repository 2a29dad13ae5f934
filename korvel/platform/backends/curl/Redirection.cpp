#include <korvel/platform/backends/curl/CurlLibrary.h>
#include <korvel/platform/backends/curl/Redirection.h>

#include <strings.h>
#include <algorithm>
#include <array>

namespace korvel::platform {

namespace {

std::string lowerCase(std::string text) {
    for (char& each : text) {
        if (each >= 'A' && each <= 'Z') each = static_cast<char>(each - 'A' + 'a');
    }
    return text;
}

bool endsHost(char character) { return character == '/' || character == '?' || character == '#'; }

std::string lowerScheme(const URL& url) { return lowerCase(url.scheme().value_or("")); }

bool isEncrypted(const URL& url) { return lowerScheme(url) == "https"; }

/// Whether what was meant for `from` may go to `to`. Encryption may be taken up on the way, at
/// whatever port: who could lead that astray has read the first request already.
bool sameService(const URL& from, const URL& to) {
    const auto port = [](const URL& url) {
        return url.port().value_or(isEncrypted(url) ? 443 : 80);
    };
    if (lowerCase(from.host().value_or("")) != lowerCase(to.host().value_or(""))) return false;
    return isEncrypted(from) == isEncrypted(to) ? port(from) == port(to) : isEncrypted(to);
}

/// Says what the client can read; the rest may be meant for the first service's eyes only.
bool isHarmless(const std::string& lowerName) {
    constexpr std::array<std::string_view, 5> names{"accept", "accept-encoding", "accept-language",
                                                    "content-type", "user-agent"};
    return std::find(names.begin(), names.end(), lowerName) != names.end();
}

bool becomesGet(const std::string& method, int statusCode) {
    if (statusCode == 303) return method != "HEAD";
    return (statusCode == 301 || statusCode == 302) && method == "POST";
}

URLRequest redirected(const URLRequest& request, int statusCode, const URL& target) {
    URLRequest next(target);
    next.timeoutInterval = request.timeoutInterval;
    const bool asGet = becomesGet(request.method, statusCode);
    next.method = asGet ? "GET" : request.method;
    if (!asGet) next.body = request.body;
    const bool keepsAll = sameService(request.url, target);
    for (const auto& [name, value] : request.headers()) {
        const std::string lowerName = lowerCase(name);
        if (!keepsAll && !isHarmless(lowerName)) continue;
        if (!next.body && lowerName == "content-type") continue;
        next.setValue(value, name);
    }
    return next;
}

}  // namespace

bool isRedirect(int statusCode) {
    constexpr std::array codes{301, 302, 303, 307, 308};
    return std::find(codes.begin(), codes.end(), statusCode) != codes.end();
}

bool isWebAddress(const URL& url) {
    const std::string& text = url.absoluteString();
    for (const std::string_view prefix : {"http://", "https://"}) {
        if (strncasecmp(text.c_str(), prefix.data(), prefix.size()) != 0) continue;
        return text.size() == prefix.size() || !endsHost(text[prefix.size()]);  // it has a host
    }
    return false;
}

std::string serviceOf(const URL& url) {
    const std::string& text = url.absoluteString();
    const auto host = text.find("://");
    if (host == text.npos) return lowerCase(text);
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(host) + 3;
    return lowerCase({text.begin(), std::find_if(begin, text.end(), endsHost)});
}

std::variant<URLRequest, NSError> redirection(const URLRequest& request, int statusCode,
                                              const std::string& location, int followed) {
    const auto target = request.url.resolving(location);
    if (!target) {
        return makeURLError(URLErrorCode::redirectToNonExistentLocation,
                            "Redirected to no address: " + location);
    }
    if (!isWebAddress(*target)) {
        return makeURLError(URLErrorCode::unsupportedURL, "Redirected to " + location);
    }
    if (isEncrypted(request.url) && !isEncrypted(*target)) {
        return makeURLError(URLErrorCode::appTransportSecurityRequiresSecureConnection,
                            "Redirected from https to " + location);
    }
    if (followed >= mostRedirects) {
        return makeURLError(URLErrorCode::httpTooManyRedirects, "Too many redirects");
    }
    URLRequest next = redirected(request, statusCode, *target);
    if (next.body && !sameService(request.url, *target)) {
        return makeURLError(URLErrorCode::badServerResponse,
                            "The request's body was redirected to another service: " + location);
    }
    return next;
}

}  // namespace korvel::platform
