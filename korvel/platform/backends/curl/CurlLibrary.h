#pragma once

#include <korvel/platform/foundation/URLSession.h>

#include <curl/curl.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace korvel::platform {

class CurlEvents;
struct URLSessionCurlOptions;

/// What all transfers of one owner have in common.
struct CurlSettings {
    std::string authorities;  ///< PEM file; empty: wherever the library looks by itself
    std::string pinnedPublicKey;
    std::string proxy;
    bool proxyFromEnvironment = false;
    std::size_t largestBody = 0;
    CURLSH* tlsSessions = nullptr;  ///< borrowed
    CurlEvents* events = nullptr;   ///< borrowed; null where the library waits by itself
};

/// What the owner chose; the rest it adds itself.
CurlSettings settingsFrom(const URLSessionCurlOptions& options);

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

/// Notes which process uses the library.
class OwnProcess {
public:
    /// False in a forked child. What it inherited it must leave alone, locks included: the threads
    /// that would let go of them are not there, and the connections are the parent's.
    bool isThis() const { return process_ == getpid(); }

private:
    const pid_t process_ = getpid();
};

/// To be called by whoever will have users, long before these: the process may end while the first
/// one is about to open the library. Opens nothing itself. Any thread.
void watchForExit();

/// To be called before the first use of the library. False if the process is about to end: then the
/// library must not be used any more. Any thread.
[[nodiscard]] bool stopAtExit(std::weak_ptr<CurlUser> user);

/// The file with the system's authorities; empty if there is none.
std::string systemAuthorities();

void setConnectionOptions(CURL* easy, const CurlSettings& settings,
                          std::chrono::milliseconds timeout);

// Of connections that are opened ahead of their request: how long one may take to open, as whoever
// waits for a slower one would do better to try for itself, and how long it then waits to be used.
inline constexpr std::chrono::seconds longestOpening{10};
inline constexpr std::chrono::seconds longestUnused{15};

/// Ends the transfer as soon as its connection stands, before anything is said. The connection
/// stays with the multi handle for the next one, if `keepConnection` is called before the transfer
/// is taken out of it.
void endWhenConnected(CURL* easy);
void keepConnection(CURL* easy);

/// What a transfer that ended with `result` failed of; `text` is the library's own, which may be
/// empty.
NSError transferError(CURLcode result, const char* text);
NSError makeURLError(URLErrorCode code, std::string description);

}  // namespace korvel::platform
