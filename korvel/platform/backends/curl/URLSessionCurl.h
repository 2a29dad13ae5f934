#pragma once

#include <korvel/platform/foundation/URLSession.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace korvel::platform {

struct URLSessionCurlOptions {
    /// PEM file trusted instead of the system's authorities; empty: the system's.
    std::filesystem::path certificateAuthorityFile = {};
    /// "sha256//" and base64 of a public key that the service's certificate must carry; empty: any.
    std::string pinnedPublicKey = {};
    /// Address of the proxy that everything goes through; empty: none.
    std::string proxy = {};
    /// Without a proxy of its own: go through the one that the environment names, if any.
    bool proxyFromEnvironment = false;
    /// A longer body, counted after decompression, is refused: its exchange tells status and error.
    std::size_t largestBody = std::size_t{2} << 20;
    /// Connections that nobody has used for so long are closed.
    std::chrono::milliseconds idleConnections = std::chrono::seconds(60);
};

/// Runs a task on a background thread, at once even if all earlier ones block. Must not run it
/// before it returns. Any thread.
using BackgroundExecutor = std::function<void(std::function<void()>)>;

/// A session on libcurl. Connections, names and TLS sessions are reused between requests.
/// Completions run in `background`, and so does, while a request is on its way, what waits for its
/// answer.
///
/// Any thread may destroy it, a completion's too: it does not wait for the service. Requests still
/// on their way when the process exits are given up.
std::shared_ptr<URLSession> makeURLSessionCurl(const URLSessionCurlOptions& options,
                                               BackgroundExecutor background);

}  // namespace korvel::platform
