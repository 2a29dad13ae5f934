#pragma once

#include <service/Accounts.h>
#include <service/Answer.h>
#include <service/KeyServer.h>
#include <service/ReceivedRequest.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace korvel::service {

/// The content service that the SDK talks to, for development: every endpoint with data worth
/// looking at, on this machine's loopback interface only. It records each request as it came over
/// the wire and can be told to answer wrongly, slowly or not at all.
///
/// Thread safety: any thread. Each connection has a thread of its own, so a held answer holds up no
/// other connection. SIGPIPE is ignored in the process from the first service on.
class ContentService {
public:
    struct Options {
        std::uint16_t port = 0;  ///< 0: any free one
        bool tls = true;
        std::string apiKey = "korvel-development";
        std::string secretKey = "not-a-secret";
        std::string tenant = "korvel";
        std::filesystem::path data{};      ///< empty: the catalogue that comes with the service
        std::filesystem::path streams{};   ///< empty: those that the build has made
        std::size_t keptRequests = 10000;  ///< the newest ones; 0 keeps none
        bool compress = true;  ///< gzip for clients that take it; never for scripted answers
        /// Called after each answer on its connection's thread, with 0 for a request left
        /// unanswered.
        std::function<void(const ReceivedRequest&, int status)> onAnswer{};
        bool devInterface = false;  ///< serve /dev/ (see README.md), to steer it from outside
    };

    /// What happened since the start.
    struct Counters {
        std::size_t connections = 0;   ///< accepted
        std::size_t handshakes = 0;    ///< TLS handshakes that succeeded
        std::size_t requests = 0;      ///< received whole
        std::size_t held = 0;          ///< answers waiting for `release()` now
        std::size_t inFlight = 0;      ///< received whole and not answered yet, now
        std::size_t mostInFlight = 0;  ///< the largest number of them at once
    };

    /// Listens when it returns. Throws std::runtime_error, saying what is wrong, if the port is
    /// taken or the data cannot be read.
    ContentService();
    explicit ContentService(Options options);
    /// Ends every connection at once, whatever it is waiting for.
    ~ContentService();
    ContentService(const ContentService&) = delete;
    ContentService& operator=(const ContentService&) = delete;

    const Options& options() const;
    std::uint16_t port() const;
    std::string baseURL() const;  ///< "https://localhost:PORT/"; 127.0.0.1 is certified too
    /// PEM file with the certificate of the authority to trust, made for this object and removed
    /// with it. Empty without TLS.
    std::filesystem::path caFile() const;

    /// The next request that no earlier script wants, whichever it is, is answered so.
    void script(Answer answer);
    /// The same for the next `times` requests whose target starts with `prefix` ("/ondemand/v1/"),
    /// with one method or, if `method` is empty, any. The oldest script that fits is used first.
    void script(std::string prefix, std::string method, Answer answer, std::size_t times = 1);
    void refuseTLS(std::size_t connections = 1);  ///< the next ones are closed during the handshake
    void clearScripts();  ///< also what `refuseTLS` ordered; releases nothing

    void release();  ///< lets every answer go that is held now; later ones are held again
    /// False if it did not come to that many within `atMost`.
    bool waitForHeld(std::size_t answers,
                     std::chrono::milliseconds atMost = std::chrono::seconds(10));
    /// Counts every request received whole since the start, forgotten ones too.
    bool waitForRequests(std::size_t requests,
                         std::chrono::milliseconds atMost = std::chrono::seconds(10));

    std::vector<ReceivedRequest> requests() const;  ///< oldest first
    void forgetRequests();                          ///< counters stay
    Counters counters() const;

    /// Users, accepted consents, subscriptions and performances. A test may log a user in here and
    /// spare itself the request.
    Accounts& accounts();

    /// Content keys and the tokens for them.
    KeyServer& keys();

private:
    struct Running;
    std::unique_ptr<Running> running_;
};

}  // namespace korvel::service
