#include <service/Artwork.h>
#include <service/Catalogue.h>
#include <service/Channel.h>
#include <service/ContentService.h>
#include <service/DevInterface.h>
#include <service/Endpoints.h>
#include <service/Gate.h>
#include <service/Listener.h>
#include <service/RequestLog.h>
#include <service/RequestReader.h>
#include <service/Scripts.h>
#include <service/Streams.h>
#include <service/TLSContext.h>
#include <service/Wire.h>

#include <array>
#include <atomic>
#include <list>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace korvel::service {

namespace {

/// Catalogue, keys and streams: in share/korvel-service of a folder above the program, be it an
/// installation's or the build tree's, so that either may lie anywhere.
std::filesystem::path dataFolder() {
    std::error_code failed;
    const auto program = std::filesystem::canonical("/proc/self/exe", failed);
    for (auto folder = program.parent_path(); folder.has_relative_path();
         folder = folder.parent_path()) {
        auto data = folder / "share" / "korvel-service";
        if (std::filesystem::is_directory(data, failed)) return data;
    }
    return "share/korvel-service";
}

std::string urlText(bool tls, std::uint16_t port) {
    return (tls ? "https" : "http") + ("://localhost:" + std::to_string(port) + '/');
}

}  // namespace

struct ContentService::Running {
    Running(ContentService& service, Options given)
        : options(std::move(given)),
          listener(options.port),
          catalogue(options.data.empty() ? dataFolder() / "catalogue.json" : options.data,
                    urlText(options.tls, listener.port())),
          log(options.keptRequests),
          keys(dataFolder() / "content-keys.pem"),
          endpoints(options, catalogue, accounts, keys) {
        addArtwork(endpoints, catalogue);
        addStreams(endpoints, options.streams.empty() ? dataFolder() / "streams" : options.streams,
                   dataFolder() / "subtitles", keys);
        if (options.tls) tls.emplace();
        if (options.devInterface) addDevInterface(endpoints, service);
        endpoints.prepare();
        acceptor = std::thread([this] { acceptAll(); });
    }
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    struct Connection {
        Connection(int socket, std::size_t ordinal) : channel(socket), number(ordinal) {}
        Channel channel;
        std::size_t number;
        std::atomic<bool> finished = false;
        std::thread thread{};
    };

    void acceptAll();
    void sweep();
    void serve(Connection& connection, bool refuse);
    bool secure(Connection& connection, bool refuse);
    bool answer(Channel& channel, const ReceivedRequest& request);

    const Options options;
    Listener listener;
    Catalogue catalogue;
    Accounts accounts;
    Scripts scripts;
    Gate gate;
    RequestLog log;
    KeyServer keys;
    Endpoints endpoints;
    std::optional<TLSContext> tls;
    std::atomic<std::size_t> accepted = 0;
    std::atomic<std::size_t> handshakes = 0;
    std::list<Connection> connections;  ///< the acceptor's, and the destructor's after it
    std::thread acceptor;
};

ContentService::Running::~Running() {
    listener.stop();
    acceptor.join();
    gate.close();
    for (Connection& each : connections) each.channel.interrupt();
    for (Connection& each : connections) {
        if (each.thread.joinable()) each.thread.join();
    }
}

void ContentService::Running::acceptAll() {
    for (int socket = listener.accept(); socket >= 0; socket = listener.accept()) {
        sweep();
        Connection& connection = connections.emplace_back(socket, ++accepted);
        const bool refuse = options.tls && scripts.takeTLSRefusal();
        try {
            connection.thread =
                std::thread([this, &connection, refuse] { serve(connection, refuse); });
        } catch (const std::system_error&) {  // no more threads: the connection is closed
            connections.pop_back();
        }
    }
}

void ContentService::Running::sweep() {
    for (auto each = connections.begin(); each != connections.end();) {
        const auto next = std::next(each);
        if (each->finished) {
            each->thread.join();
            connections.erase(each);
        }
        each = next;
    }
}

void ContentService::Running::serve(Connection& connection, bool refuse) {
    if (!options.tls || secure(connection, refuse)) {
        RequestReader reader(connection.channel);
        while (std::optional<ReceivedRequest> request = reader.next()) {
            request->connection = connection.number;
            if (!request->complete) log.add(*request);
            if (!request->complete || !answer(connection.channel, *request)) break;
        }
        connection.channel.end(Channel::Ending::farewell);
    }
    connection.finished = true;
}

bool ContentService::Running::secure(Connection& connection, bool refuse) {
    if (refuse) {
        std::array<char, 1024> hello{};
        connection.channel.read(hello.data(), hello.size());
    } else if (connection.channel.handshake(tls->get())) {
        ++handshakes;
        return true;
    }
    connection.channel.end(Channel::Ending::cut);
    return false;
}

bool ContentService::Running::answer(Channel& channel, const ReceivedRequest& request) {
    if (options.devInterface && request.target.starts_with("/dev/")) {
        const Endpoints::Reply reply = endpoints.answer(request);
        return channel.write(reply.bytes) && !reply.closes;
    }
    const Answer order = scripts.take(request.method, request.target).value_or(Answer{});
    log.begin(request);
    const Endpoints::Reply reply = isScriptedWhole(order)
                                       ? Endpoints::Reply{compose(order), closesAfter(order)}
                                       : endpoints.answer(request);
    const bool whole = deliver(channel, gate, order, reply.bytes);
    log.end();
    const bool partly = order.cutOffAfter.value_or(0) > 0 || order.resetAfter.value_or(0) > 0;
    if (options.onAnswer) options.onAnswer(request, whole || partly ? statusOf(reply.bytes) : 0);
    return whole && !reply.closes;
}

ContentService::ContentService() : ContentService(Options{}) {}

ContentService::ContentService(Options options)
    : running_(std::make_unique<Running>(*this, std::move(options))) {}

ContentService::~ContentService() = default;

const ContentService::Options& ContentService::options() const { return running_->options; }

std::uint16_t ContentService::port() const { return running_->listener.port(); }

std::string ContentService::baseURL() const { return urlText(running_->options.tls, port()); }

std::filesystem::path ContentService::caFile() const {
    return running_->tls ? running_->tls->caFile() : std::filesystem::path{};
}

void ContentService::script(Answer answer) { script("", "", std::move(answer)); }

void ContentService::script(std::string prefix, std::string method, Answer answer,
                            std::size_t times) {
    running_->scripts.add(std::move(prefix), std::move(method), std::move(answer), times);
}

void ContentService::refuseTLS(std::size_t connections) {
    running_->scripts.refuseTLS(connections);
}

void ContentService::clearScripts() { running_->scripts.clear(); }

void ContentService::release() { running_->gate.release(); }

bool ContentService::waitForHeld(std::size_t answers, std::chrono::milliseconds atMost) {
    return running_->gate.waitForHeld(answers, atMost);
}

bool ContentService::waitForRequests(std::size_t requests, std::chrono::milliseconds atMost) {
    return running_->log.waitFor(requests, atMost);
}

std::vector<ReceivedRequest> ContentService::requests() const { return running_->log.requests(); }

void ContentService::forgetRequests() { running_->log.forget(); }

ContentService::Counters ContentService::counters() const {
    const RequestLog::Counts counts = running_->log.counts();
    return {.connections = running_->accepted,
            .handshakes = running_->handshakes,
            .requests = counts.requests,
            .held = running_->gate.held(),
            .inFlight = counts.inFlight,
            .mostInFlight = counts.mostInFlight};
}

Accounts& ContentService::accounts() { return running_->accounts; }

KeyServer& ContentService::keys() { return running_->keys; }

}  // namespace korvel::service
