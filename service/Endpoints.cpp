#include <service/Codes.h>
#include <service/Endpoints.h>

#include <charconv>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

namespace korvel::service {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;

std::int64_t integer(const Request& request, const char* name, std::int64_t otherwise) {
    const std::string text = request.get_param_value(name);
    std::int64_t value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc{} && !text.empty() ? value : otherwise;
}

/// How many the client wants; a client that does not say, or says 0, wants all.
std::size_t maximum(const Request& request) {
    const std::int64_t wanted = integer(request, "maxResults", 0);
    return wanted > 0 ? static_cast<std::size_t>(wanted) : std::numeric_limits<std::size_t>::max();
}

std::string text(const json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

/// The first of `members` that `object` does not have with its type; empty: all there.
std::string missing(const json& object,
                    const std::vector<std::pair<const char*, json::value_t>>& members) {
    if (!object.is_object()) return "a JSON object";
    for (const auto& [name, type] : members) {
        const auto found = object.find(name);
        if (found == object.end()) return name;
        const bool fits = type == json::value_t::number_integer ? found->is_number_integer()
                                                                : found->type() == type;
        if (!fits) return name;
    }
    return {};
}

json parsed(const Request& request) { return json::parse(request.body, nullptr, false); }

}  // namespace

Endpoints::Endpoints(const ContentService::Options& options, const Catalogue& catalogue,
                     Accounts& accounts, KeyServer& keys)
    : options_(options),
      catalogue_(catalogue),
      accounts_(accounts),
      keys_(keys),
      clientCredential_(basicCredential(options.apiKey, options.secretKey)) {
    // Connections stay open until the client or the service goes.
    set_keep_alive_max_count(1'000'000);
    set_keep_alive_timeout(3600);
    set_error_handler([](const Request&, Response& response) {
        if (response.body.empty()) refuse(response, response.status, "there is nothing here");
    });
    addLogin();
    addConsent();
    addCatalogue();
    addSubscription();
    addPlayback();
}

void Endpoints::send(Response& response, int status, const std::string& json) {
    response.status = status;
    response.set_content(json, "application/json");
}

void Endpoints::refuse(Response& response, int status, const std::string& message) {
    send(response, status,
         json{{"status", status}, {"message", message}}.dump(-1, ' ', false,
                                                             json::error_handler_t::replace));
}

bool Endpoints::isClient(const Request& request, const std::string& tenant) const {
    return request.get_header_value("Authorization") == clientCredential_ &&
           request.get_header_value("TenantID") == tenant;
}

httplib::Server::Handler Endpoints::forClient(Handler handler) const {
    return [this, handler = std::move(handler)](const Request& request, Response& response) {
        if (!isClient(request, options_.tenant))
            return refuse(response, 401, "client credentials or tenant are wrong");
        handler(request, response);
    };
}

httplib::Server::Handler Endpoints::forUser(UserHandler handler) const {
    return [this, handler = std::move(handler)](const Request& request, Response& response) {
        static constexpr std::string_view scheme = "Bearer ";
        const std::string credential = request.get_header_value("Authorization");
        const auto user = credential.starts_with(scheme)
                              ? accounts_.userOfCode(credential.substr(scheme.size()))
                              : std::nullopt;
        if (!user || request.get_header_value("TenantID") != options_.tenant)
            return refuse(response, 401, "session code or tenant are wrong");
        handler(*user, request, response);
    };
}

void Endpoints::addLogin() {
    Post("/oauth/sdk/login",
         [this](const Request& request, Response& response, const httplib::ContentReader& content) {
             std::map<std::string, std::string> fields;
             std::string* field = nullptr;
             if (request.is_multipart_form_data()) {
                 // The client's form ends without the closing boundary. The reader calls that a bad
                 // form, but has delivered every field by then, so its verdict is not asked for.
                 content(
                     [&](const httplib::MultipartFormData& part) {
                         field = &fields[part.name];
                         return true;
                     },
                     [&](const char* data, std::size_t size) {
                         field->append(data, size);
                         return true;
                     });
             }
             response.status = -1;
             if (!isClient(request, options_.tenant))
                 return refuse(response, 401, "client credentials or tenant are wrong");
             if (fields["username"].empty()) return refuse(response, 401, "there is no user name");
             if (fields["client_id"] != options_.apiKey || fields["tenantId"] != options_.tenant)
                 return refuse(response, 401, "the form is another client's");
             const User user = accounts_.logIn(fields["username"]);
             send(response, 200,
                  json{{"Username", user.name},
                       {"UserId", user.id},
                       {"Code", user.code},
                       {"TokenExpiration", 86400.0}}
                      .dump(-1, ' ', false, json::error_handler_t::replace));
         });
}

void Endpoints::addConsent() {
    Get("/ondemand/v1/consent", forClient([this](const Request&, Response& response) {
            send(response, 200, catalogue_.consents());
        }));
    Post("/ondemand/v1/consent",
         forUser([this](const User& user, const Request& request, Response& response) {
             using Type = json::value_t;
             const json body = parsed(request);
             const std::string lacks = missing(body, {{"consentTag", Type::string},
                                                      {"action", Type::number_integer},
                                                      {"userId", Type::string}});
             if (!lacks.empty()) return refuse(response, 400, "missing or mistyped: " + lacks);
             if (body["action"] != 2) return refuse(response, 400, "only action 2 is known");
             const auto tag = body["consentTag"].get<std::string>();
             if (!catalogue_.knowsConsent(tag)) return refuse(response, 404, "no such document");
             if (!text(body, "userId").empty() && text(body, "userId") != user.id)
                 return refuse(response, 400, "userId is not the bearer's");
             accounts_.acceptConsent(user.name, tag);
             send(response, 200, "\"accepted\"");
         }));
}

void Endpoints::addCatalogue() {
    Get("/ondemand/v1/collections/?", forClient([this](const Request& request, Response& response) {
            send(response, 200, catalogue_.collections(maximum(request)));
        }));
    Get("/ondemand/v1/collections/([^/]+)",
        forClient([this](const Request& request, Response& response) {
            const auto found = catalogue_.collection(request.matches[1].str(), maximum(request));
            if (!found) return refuse(response, 404, "no such collection");
            send(response, 200, *found);
        }));
    Get("/ondemand/v1/classes/?", forClient([this](const Request& request, Response& response) {
            if (request.has_param("classId"))
                return send(response, 200, catalogue_.details(request.get_param_value("classId")));
            const Order order = Order::named(request.get_param_value("filterBy"),
                                             request.get_param_value("orderBy"));
            send(response, 200,
                 catalogue_.page(order, integer(request, "pageSize", 20),
                                 integer(request, "pageNumber", 1)));
        }));
    Get("/api/v1/users/ondemand/metadata",
        forUser([this](const User&, const Request&, Response& response) {
            send(response, 200, catalogue_.metadata());
        }));
    Post("/ondemand/v1/filter", forClient([this](const Request& request, Response& response) {
             const json criteria = parsed(request);
             const std::string lacks = missing(criteria, {{"skip", json::value_t::number_integer},
                                                          {"take", json::value_t::number_integer}});
             if (!lacks.empty()) return refuse(response, 400, "missing or mistyped: " + lacks);
             send(response, 200,
                  catalogue_.search(ClassFilter(criteria), criteria["skip"].get<std::int64_t>(),
                                    criteria["take"].get<std::int64_t>()));
         }));
}

void Endpoints::addSubscription() {
    Put("/ondemand/v1/activatesubscription",
        forUser([this](const User& user, const Request& request, Response& response) {
            const json body = parsed(request);
            if (text(body, "start").empty() || text(body, "subscriptionId").empty())
                return refuse(response, 400, "start and subscriptionId are needed");
            accounts_.setSubscription(user.name,
                                      Subscription{.start = text(body, "start"),
                                                   .subscriptionId = text(body, "subscriptionId")});
            send(response, 200, "\"activated\"");
        }));
    Put("/ondemand/v1/revokeaccess",
        forUser([this](const User& user, const Request&, Response& response) {
            accounts_.setSubscription(user.name, std::nullopt);
            send(response, 200, "\"revoked\"");
        }));
}

void Endpoints::addPlayback() {
    Get("/ondemand/v1/perform/([^/]+)",
        forUser([this](const User& user, const Request& request, Response& response) {
            if (const auto consent = catalogue_.missingConsent(user.acceptedConsents))
                return send(response, 601, *consent);
            if (!user.subscription) return refuse(response, 403, "no active subscription");
            const auto found = catalogue_.performing(request.matches[1].str());
            if (!found) return refuse(response, 404, "no such class");
            send(response, 200, *found);
        }));
    // Key servers belong to another house than the catalogue, and so do their tenants.
    Get("/ondemand/v1/token/([^/]+)", [this](const Request& request, Response& response) {
        if (!isClient(request, "lanterns") || request.get_header_value("ModId") != "ios")
            return refuse(response, 401, "client credentials, tenant or module are wrong");
        if (!catalogue_.holds(request.matches[1].str()))
            return refuse(response, 404, "no such class");
        send(response, 200, json{{"token", keys_.issueToken()}}.dump());
    });
    Post("/ondemand/v1/ondemandtracking",
         forUser([this](const User& user, const Request& request, Response& response) {
             using Type = json::value_t;
             const json body = parsed(request);
             const std::string lacks =
                 missing(body, {{"performDate", Type::string},
                                {"providerName", Type::string},
                                {"playedDurationSecond", Type::number_integer},
                                {"requestsource", Type::number_integer},
                                {"contentID", Type::string},
                                {"actualDurationSecond", Type::number_integer},
                                {"contentName", Type::string},
                                {"userId", Type::string},
                                {"subscriptiontag", Type::string},
                                {"ID", Type::string}});
             if (!lacks.empty()) return refuse(response, 400, "missing or mistyped: " + lacks);
             accounts_.record({.userId = user.id, .json = request.body});
             send(response, 201, "\"recorded\"");
         }));
}

}  // namespace korvel::service
