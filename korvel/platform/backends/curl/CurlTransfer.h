#pragma once

#include <korvel/platform/backends/curl/AnswerHead.h>
#include <korvel/platform/backends/curl/CurlHandles.h>
#include <korvel/platform/backends/curl/CurlLibrary.h>
#include <korvel/platform/foundation/URLSession.h>

#include <array>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace korvel::platform {

/// One request from its submission to its completion. The session's loop drives it, the
/// completion runs elsewhere; it belongs to one thread at a time.
///
/// Every hop has an easy handle as new: one that went on would keep what it learns (options,
/// credentials, cookies).
class CurlTransfer {
public:
    using Clock = std::chrono::steady_clock;

    CurlTransfer(URLRequest request, URLSession::CompletionHandler completionHandler);
    /// No request: opens a connection to the service, for the next one that asks it.
    explicit CurlTransfer(const URL& connectTo);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    /// Whom the next hop, or the present one, asks.
    const std::string& service() const { return service_; }
    bool isConnection() const { return isConnection_; }

    /// The handle of the next hop, owned by this transfer. Null if there is nothing to send: then
    /// the exchange has failed.
    CURL* start(const CurlSettings& settings, CurlHandles& handles, Clock::time_point now);

    /// Takes in what the hop came to. True if another one follows. The handle is in no multi handle
    /// any more, and is gone afterwards.
    bool finish(CURLcode result);

    /// Ends an exchange that got no further.
    void fail(NSError error);
    /// The same for one under way, whose handle is in no multi handle any more.
    void giveUp(NSError error);

    /// Why it must not go on: it moved nothing for the request's time-out, or more came than a body
    /// may have, be it that nothing came out of it. To be asked every `watchPeriod()`: the
    /// library's own low-speed limit takes one byte in two seconds for a standstill.
    std::optional<NSError> objection(Clock::time_point now);
    Clock::duration watchPeriod() const;

    /// Calls the handler with the exchange, unless the transfer was cancelled, and destroys it.
    /// Once.
    void complete();

    /// From now on the handler is not called. False if it has been, or is being, or will not be
    /// anyway. Any thread.
    bool cancel();

private:
    struct ListCleanup {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    void takeOwnConnection(const CurlSettings& settings);
    static std::size_t receive(char* bytes, std::size_t one, std::size_t count, void* self);
    NSError tooLong() const;
    bool append(const char* bytes, std::size_t count);
    void setRequestOptions();
    void setHeaders();
    void addHeader(const char* line);
    void letGo();
    void measure();
    curl_off_t progress() const;
    bool follow(const std::string& location, int statusCode);
    curl_off_t number(CURLINFO info) const;

    enum class Fate { open, cancelled, completed };

    std::atomic<Fate> fate_ = Fate::open;
    URLRequest request_;
    std::string service_;
    bool isConnection_ = false;
    bool goesOut_ = false;  ///< over a connection that was opened ahead
    URLSession::CompletionHandler completionHandler_;
    EasyHandle easy_;
    CurlHandles* handles_ = nullptr;  ///< borrowed
    std::unique_ptr<curl_slist, ListCleanup> headers_;
    AnswerHead head_;
    Exchange exchange_;
    Data body_;
    bool bodyTooLong_ = false;
    std::size_t largestBody_ = 0;
    curl_off_t lastProgress_ = 0;
    Clock::time_point lastMoved_;
    std::array<char, CURL_ERROR_SIZE> errorText_{};
};

}  // namespace korvel::platform
