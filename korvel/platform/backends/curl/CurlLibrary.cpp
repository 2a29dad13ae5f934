#include <korvel/platform/backends/curl/CurlEvents.h>
#include <korvel/platform/backends/curl/CurlLibrary.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <utility>
#include <vector>

// Weak: there with a curl that stands on OpenSSL, and null with another.
extern "C" [[gnu::weak]] int OPENSSL_init_crypto(std::uint64_t options, const void* settings);

namespace korvel::platform {

namespace {

/// OpenSSL frees what it has at exit, under the threads of the pool, for which no exit waits.
void keepOpenSSLAtExit() {
    constexpr std::uint64_t noExitHandler = 0x00080000;  // OPENSSL_INIT_NO_ATEXIT
    if (OPENSSL_init_crypto) OPENSSL_init_crypto(noExitHandler, nullptr);
}

class OpenUsers {
public:
    static OpenUsers& shared() {
        static auto* const users = new OpenUsers;  // outlives every other static object
        return *users;
    }

    /// Opens the library for the first one. False once the process ends.
    bool add(std::weak_ptr<CurlUser> user) {
        const std::lock_guard lock(mutex_);
        if (ended_) return false;
        if (!std::exchange(isOpen_, true)) curl_global_init(CURL_GLOBAL_ALL);
        std::erase_if(users_, [](const auto& known) { return known.expired(); });
        users_.push_back(std::move(user));
        return true;
    }

private:
    OpenUsers() {
        // Exit handlers run in reverse order: whoever had OpenSSL clean up did so before, and
        // nobody does after this.
        keepOpenSSLAtExit();
        std::atexit([] { shared().stopAll(); });
    }

    void stopAll() {
        if (!process_.isThis()) return;
        std::vector<std::weak_ptr<CurlUser>> users;
        {
            const std::lock_guard lock(mutex_);
            ended_ = true;
            users = users_;
        }
        for (const auto& known : users) {
            if (const auto user = known.lock()) user->stop();
        }
    }

    const OwnProcess process_;
    std::mutex mutex_;
    std::vector<std::weak_ptr<CurlUser>> users_;
    bool isOpen_ = false;
    bool ended_ = false;
};

URLErrorCode errorCode(CURLcode result) {
    switch (result) {
        case CURLE_OPERATION_TIMEDOUT:
            return URLErrorCode::timedOut;
        case CURLE_URL_MALFORMAT:
            return URLErrorCode::unsupportedURL;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return URLErrorCode::cannotFindHost;
        case CURLE_PROXY:
        case CURLE_COULDNT_CONNECT:
            return URLErrorCode::cannotConnectToHost;
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return URLErrorCode::networkConnectionLost;
        case CURLE_UNSUPPORTED_PROTOCOL:  // the address was checked: the answer is not HTTP
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_OUT_OF_MEMORY:
            return URLErrorCode::badServerResponse;
        case CURLE_WRITE_ERROR:
            return URLErrorCode::dataLengthExceedsMaximum;
        case CURLE_BAD_CONTENT_ENCODING:
            return URLErrorCode::cannotDecodeContentData;
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
            return URLErrorCode::serverCertificateUntrusted;
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
            return URLErrorCode::secureConnectionFailed;
        default:
            return URLErrorCode::unknown;
    }
}

}  // namespace

CurlUser::~CurlUser() = default;

void watchForExit() { OpenUsers::shared(); }

bool stopAtExit(std::weak_ptr<CurlUser> user) { return OpenUsers::shared().add(std::move(user)); }

std::string systemAuthorities() {
    const auto* info = curl_version_info(CURLVERSION_NOW);
    if (info->age < CURLVERSION_SEVENTH || !info->cainfo) return {};
    std::error_code error;
    return std::filesystem::exists(info->cainfo, error) ? info->cainfo : "";
}

CurlSettings settingsFrom(const URLSessionCurlOptions& options) {
    return {.authorities = options.certificateAuthorityFile.string(),
            .pinnedPublicKey = options.pinnedPublicKey,
            .proxy = options.proxy,
            .proxyFromEnvironment = options.proxyFromEnvironment,
            .largestBody = options.largestBody};
}

void setConnectionOptions(CURL* easy, const CurlSettings& settings,
                          std::chrono::milliseconds timeout) {
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // a slow name server must not hold up the end
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    curl_easy_setopt(easy, CURLOPT_PIPEWAIT, 1L);
    curl_easy_setopt(easy, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_NONE));
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(timeout.count()));
    curl_easy_setopt(easy, CURLOPT_SHARE, settings.tlsSessions);
    if (settings.events) settings.events->listen(easy);
    if (!settings.authorities.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, settings.authorities.c_str());
        // With a folder besides the file the library reads the file for every connection.
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
    if (!settings.proxy.empty() || !settings.proxyFromEnvironment) {
        // Empty texts keep the library from looking into the environment.
        curl_easy_setopt(easy, CURLOPT_PROXY, settings.proxy.c_str());
        curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    }
    if (!settings.pinnedPublicKey.empty()) {
        curl_easy_setopt(easy, CURLOPT_PINNEDPUBLICKEY, settings.pinnedPublicKey.c_str());
    }
}

/// From here on the transfer counts as one that wanted no more than a connection, and ends; the
/// connection, not having been made as such a one's, which are the application's own, goes to the
/// others. Should the library think otherwise one day, the next request opens one as any does.
void endWhenConnected(CURL* easy) {
    const curl_prereq_callback connected = [](void* self, char*, char*, int, int) {
        const bool ends = curl_easy_setopt(self, CURLOPT_CONNECT_ONLY, 1L) == CURLE_OK;
        return ends ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
    };
    curl_easy_setopt(easy, CURLOPT_PREREQFUNCTION, connected);
    curl_easy_setopt(easy, CURLOPT_PREREQDATA, easy);
}

void keepConnection(CURL* easy) { curl_easy_setopt(easy, CURLOPT_CONNECT_ONLY, 0L); }

NSError transferError(CURLcode result, const char* text) {
    // What the library calls so is a line of a head that is longer than it takes.
    if (result == CURLE_OUT_OF_MEMORY) text = "The answer's head is too long";
    return makeURLError(errorCode(result), *text ? text : curl_easy_strerror(result));
}

NSError makeURLError(URLErrorCode code, std::string description) {
    return {urlErrorDomain,
            static_cast<std::int64_t>(code),
            {{"NSLocalizedDescription", std::move(description)}}};
}

}  // namespace korvel::platform
