#pragma once

#include <service/Accounts.h>
#include <service/Catalogue.h>
#include <service/ContentService.h>
#include <service/KeyServer.h>

#include <httplib.h>
#include <functional>
#include <string>

namespace korvel::service {

/// The service's endpoints: a request's bytes in, an answer's bytes out. cpp-httplib reads the
/// request, finds the handler and writes the answer; sockets are none of its business here, because
/// it would not tell what exactly came over them. Thread safety: any thread, once all handlers are
/// added.
class Endpoints : public httplib::Server {
public:
    Endpoints(const ContentService::Options& options, const Catalogue& catalogue,
              Accounts& accounts, KeyServer& keys);

    struct Reply {
        std::string bytes;
        bool closes = false;  ///< the connection ends after it
    };
    Reply answer(const ReceivedRequest& request);
    /// To be called once before the first thread answers.
    void prepare();

    static void send(httplib::Response& response, int status, const std::string& json);
    /// The JSON body of every refusal: {"status":...,"message":...}.
    static void refuse(httplib::Response& response, int status, const std::string& message);

private:
    using UserHandler =
        std::function<void(const User&, const httplib::Request&, httplib::Response&)>;

    /// Let through only what carries the client's, or a logged-in user's, credentials and the
    /// tenant.
    Handler forClient(Handler handler) const;
    Handler forUser(UserHandler handler) const;
    bool isClient(const httplib::Request& request, const std::string& tenant) const;

    void addLogin();
    void addConsent();
    void addCatalogue();
    void addSubscription();
    void addPlayback();

    const ContentService::Options& options_;
    const Catalogue& catalogue_;
    Accounts& accounts_;
    KeyServer& keys_;
    const std::string clientCredential_;
};

}  // namespace korvel::service
