#pragma once

#include <korvel/platform/foundation/Export.h>
#include <korvel/platform/foundation/NSError.h>
#include <korvel/platform/foundation/URLRequest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace korvel::platform {

/// Where the time of one exchange went; each point is counted from its start. Zero: did not happen.
struct TransferMetrics {
    std::chrono::microseconds nameLookup{};
    std::chrono::microseconds connect{};
    std::chrono::microseconds tls{};
    std::chrono::microseconds firstByte{};
    std::chrono::microseconds end{};
    std::int64_t bytesSent = 0;      ///< of bodies, as they travelled
    std::int64_t bytesReceived = 0;  ///< likewise: before decompression
    bool reusedConnection = false;
    int redirects = 0;
};

struct HTTPURLResponse {
    URL url;             ///< after redirects
    int statusCode = 0;  ///< 100 to 999, also those that no standard knows
};

/// What came of a request. Either `error` is set, or `response` is; `body` is set whenever there
/// was a response, empty if it had no bytes (the absent case exists for transports that know it).
/// Both are set, and no body, where the service answered with more than is taken.
struct KORVEL_API Exchange {
    std::optional<Data> body;
    std::optional<HTTPURLResponse> response;
    std::optional<NSError> error;
    TransferMetrics metrics;

    /// Answered, but with more bytes than the request or the session takes.
    bool isTooLong() const;
};

/// One request under way. Letting go of it changes nothing.
class KORVEL_API URLSessionTask {
public:
    virtual ~URLSessionTask();
    /// Any thread, again and again: ends the transfer. The handler is destroyed soon after, on a
    /// background thread, without a call; one that is being called already goes on.
    virtual void cancel() = 0;
};

/// Sends requests. Nothing of one request is visible in another: no cookies, no cache, no
/// credentials.
///
/// Thread safety: any thread. Handlers run on background threads, never on the caller's and never
/// on the transport's own, so one that blocks holds up no other exchange. Ownership: the handler is
/// called exactly once, or, when the session is destroyed or the task cancelled first, destroyed
/// without a call.
class KORVEL_API URLSession {
public:
    using CompletionHandler = std::function<void(Exchange)>;

    virtual ~URLSession();
    /// Starts `request` at once and returns. Redirects are followed; a request that is not a GET or
    /// a HEAD reaches the service at most once. Null from a session that cannot cancel.
    virtual std::shared_ptr<URLSessionTask> dataTask(URLRequest request,
                                                     CompletionHandler completionHandler) = 0;
    /// A hint that `url` will be asked soon by a request that `takesOpenedConnection`: opens one
    /// for it, over which nothing is said before and which is closed if nobody comes. Any thread;
    /// returns at once. Here it does nothing.
    virtual void connect(const URL& url);
    /// `dataTask` with `bodyData` as the body, whatever the request says.
    std::shared_ptr<URLSessionTask> uploadTask(URLRequest request, std::optional<Data> bodyData,
                                               CompletionHandler completionHandler);
};

/// Error domain of transport failures; codes are those of `URLErrorCode`.
inline constexpr const char* urlErrorDomain = "NSURLErrorDomain";

enum class URLErrorCode : std::int64_t {
    unknown = -1,
    timedOut = -1001,
    unsupportedURL = -1002,
    cannotFindHost = -1003,
    cannotConnectToHost = -1004,
    networkConnectionLost = -1005,
    httpTooManyRedirects = -1007,
    redirectToNonExistentLocation = -1010,
    badServerResponse = -1011,
    cannotDecodeContentData = -1016,
    appTransportSecurityRequiresSecureConnection = -1022,  ///< a redirect from https to http
    dataLengthExceedsMaximum = -1103,
    secureConnectionFailed = -1200,
    serverCertificateUntrusted = -1202,
};

}  // namespace korvel::platform
