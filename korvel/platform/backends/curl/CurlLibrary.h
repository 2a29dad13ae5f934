#pragma once

#include <korvel/platform/foundation/URLSession.h>

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace korvel::platform {

/// What all transfers of one owner have in common.
struct CurlSettings {
    std::string authorities;  ///< PEM file; empty: wherever the library looks by itself
    std::string pinnedPublicKey;
    std::size_t largestBody = 0;
    CURLSH* tlsSessions = nullptr;  ///< borrowed
};

/// Has connections. At the end of the process they stop before the TLS library, whose memory these
/// use, takes itself down.
class CurlUser {
public:
    CurlUser() = default;
    virtual ~CurlUser();
    CurlUser(const CurlUser&) = delete;
    CurlUser& operator=(const CurlUser&) = delete;

    /// Returns when the library is no longer used, now and later. Any thread.
    virtual void stop() = 0;
};

/// To be called before the first use of the library. Any thread.
void stopAtExit(std::weak_ptr<CurlUser> user);

/// The file with the system's authorities; empty if there is none.
std::string systemAuthorities();

void setConnectionOptions(CURL* easy, const CurlSettings& settings,
                          std::chrono::milliseconds timeout);

/// What a transfer that ended with `result` failed of; `text` is the library's own, which may be
/// empty.
NSError transferError(CURLcode result, const char* text);
NSError makeURLError(URLErrorCode code, std::string description);

}  // namespace korvel::platform
