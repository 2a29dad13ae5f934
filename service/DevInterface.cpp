#include <service/DevInterface.h>

#include <nlohmann/json.hpp>
#include <utility>

namespace korvel::service {

namespace {

using httplib::Request;
using httplib::Response;
using nlohmann::json;
using nlohmann::ordered_json;

template <class Value> void read(const json& from, const char* name, std::optional<Value>& into) {
    if (from.contains(name)) into = from.at(name).get<Value>();
}

/// Throws json::exception on a member of the wrong type.
Answer answerFrom(const json& order) {
    Answer answer;
    read(order, "status", answer.status);
    read(order, "body", answer.body);
    read(order, "cutOffAfter", answer.cutOffAfter);
    read(order, "resetAfter", answer.resetAfter);
    answer.hold = order.value("hold", false);
    answer.delay = std::chrono::milliseconds(order.value("delayMs", 0));
    for (const json& header : order.value("headers", json::array()))
        answer.headers.emplace_back(header.at(0), header.at(1));
    if (order.contains("drip")) {
        const json& drip = order.at("drip");
        answer.drip = Answer::Drip{.bytes = drip.at("bytes"),
                                   .every = std::chrono::milliseconds(drip.at("everyMs"))};
    }
    return answer;
}

ordered_json described(const ReceivedRequest& request) {
    ordered_json headers = ordered_json::array();
    for (const auto& [name, value] : request.headers) headers.push_back({name, value});
    return {{"connection", request.connection},
            {"method", request.method},
            {"target", request.target},
            {"headers", headers},
            {"body", request.body},
            {"head", request.head},
            {"complete", request.complete}};
}

ordered_json described(const User& user) {
    ordered_json subscription;
    if (user.subscription)
        subscription = {{"start", user.subscription->start},
                        {"subscriptionId", user.subscription->subscriptionId}};
    return {{"name", user.name},
            {"id", user.id},
            {"acceptedConsents", user.acceptedConsents},
            {"subscription", subscription}};
}

ordered_json performances(ContentService& service) {
    ordered_json list = ordered_json::array();
    for (const Performance& each : service.accounts().performances())
        list.push_back(ordered_json::parse(each.json));
    return list;
}

/// Requests may hold bytes that are no text; they are shown as U+FFFD.
void show(Response& response, const ordered_json& value) {
    Endpoints::send(response, 200,
                    value.dump(2, ' ', false, json::error_handler_t::replace) + '\n');
}

/// Runs `order` on the request's JSON object; complains if it does not understand it.
template <class Order> httplib::Server::Handler obeying(Order order) {
    return [order = std::move(order)](const Request& request, Response& response) {
        try {
            order(request.body.empty() ? json::object() : json::parse(request.body));
            show(response, {{"done", true}});
        } catch (const json::exception& error) {
            Endpoints::refuse(response, 400, error.what());
        }
    };
}

void addOrders(Endpoints& endpoints, ContentService& service) {
    endpoints.Post("/dev/script", obeying([&service](const json& order) {
                       service.script(order.value("path", ""), order.value("method", ""),
                                      answerFrom(order), order.value("times", std::size_t{1}));
                   }));
    endpoints.Post("/dev/refuse-tls", obeying([&service](const json& order) {
                       service.refuseTLS(order.value("connections", std::size_t{1}));
                   }));
    endpoints.Post("/dev/keys", obeying([&service](const json& order) {
                       using Keys = KeyServer::Keys;
                       const std::string kind = order.value("give", "right");
                       service.keys().give(kind == "wrong"   ? Keys::wrong
                                           : kind == "short" ? Keys::tooShort
                                           : kind == "empty" ? Keys::empty
                                                             : Keys::right);
                   }));
    endpoints.Post("/dev/release", obeying([&service](const json&) { service.release(); }));
    endpoints.Post("/dev/clear", obeying([&service](const json&) {
                       service.clearScripts();
                       service.forgetRequests();
                   }));
}

void addViews(Endpoints& endpoints, ContentService& service) {
    endpoints.Get("/dev/requests", [&service](const Request&, Response& response) {
        ordered_json list = ordered_json::array();
        for (const ReceivedRequest& each : service.requests()) list.push_back(described(each));
        show(response, list);
    });
    endpoints.Get("/dev/performances", [&service](const Request&, Response& response) {
        show(response, performances(service));
    });
    endpoints.Get("/dev/state", [&service](const Request&, Response& response) {
        const ContentService::Counters counters = service.counters();
        ordered_json users = ordered_json::array();
        for (const User& each : service.accounts().users()) users.push_back(described(each));
        show(response, {{"users", users},
                        {"performances", performances(service)},
                        {"connections", counters.connections},
                        {"handshakes", counters.handshakes},
                        {"requests", counters.requests},
                        {"held", counters.held},
                        {"inFlight", counters.inFlight},
                        {"mostInFlight", counters.mostInFlight}});
    });
}

}  // namespace

void addDevInterface(Endpoints& endpoints, ContentService& service) {
    addOrders(endpoints, service);
    addViews(endpoints, service);
}

}  // namespace korvel::service
