#include "Host.h"

#include "RequestLog.h"

#include <chrono>
#include <filesystem>

namespace cli {

using korvel::platform::Clock;
using korvel::platform::Device;
using korvel::platform::MainQueue;

namespace {

std::shared_ptr<MainQueue> makeQueue() {
    auto queue = korvel::platform::make<MainQueue>(
        std::make_shared<korvel::platform::SystemClock>(), MainQueue::Driver::manual);
    queue->drain();  // this is its thread, and drives it while it waits
    return queue;
}

/// Asked before anything else, so that nothing else is complained about first.
bool isAbsolute(const std::string& address) {
    const auto url = korvel::platform::URL::parse(address);
    return url && url->scheme() && !url->host().value_or("").empty();
}

/// Where the device keeps what outlives a process; it would go on without, and say nothing.
std::filesystem::path usableDataFolder(const Options& options) {
    auto folder = dataFolder(options);
    std::error_code error;
    std::filesystem::create_directories(folder / "korvel", error);
    if (!error) return folder;
    throw Failure(ExitCode::failed,
                  "cannot use the data folder " + folder.string() + ": " + error.message());
}

}  // namespace

Host::Host(const Options& options, std::shared_ptr<Messages> messages, Interruption& interruption)
    : options_(options),
      limit_(std::chrono::duration_cast<Clock::Duration>(
          std::chrono::duration<double>(options.timeout))),
      interruption_(interruption),
      messages_(std::move(messages)),
      queue_(makeQueue()),
      wake_(interruption.token(), [queue = queue_] { queue->async([] {}); }) {
    if (options.url.empty()) {
        throw Failure(ExitCode::badAddress,
                      "there is no service to ask: give --url or set KORVEL_URL");
    }
    if (!isAbsolute(options.url)) throw badAddress(options.url);
    Device device;
    device.mainQueue = queue_;
    if (options.verbose) device.diagnostics = std::make_shared<RequestLog>(messages_);
    korvel::platform::DeviceOptions parts;
    parts.applicationName = "korvel";
    parts.dataFolder = usableDataFolder(options);
    parts.certificateAuthorityFile = options.authorityFile;
    // The SDK's own lines are messages, if somebody asked for them: standard output is the
    // result's.
    parts.console = [to = options.verbose ? messages_ : nullptr](auto line) {
        if (to) to->line(line);
    };
    if (!options.install(std::move(device), parts)) {
        throw Failure(ExitCode::failed, "the SDK was in use before this host");
    }
    // Whoever sits at the keyboard wants to know at once, and repeats what is worth repeating.
    client_.emplace(std::make_shared<korvel::KCSDKConfig>(options.url, options.secretKey,
                                                          options.apiKey, options.tenant, ""),
                    korvel::ClientOptions{.deadline = limit_, .readRetries = 0});
    progress_.emplace(messages_, *queue_, "waiting for " + options.url);
}

void Host::fail(const korvel::Failure& failure, const std::string& missing) const {
    if (interruption_.came()) throw interrupted();
    auto told = failureOf(failure, options_);
    if (failure.reason != korvel::Failure::Reason::notFound || missing.empty()) throw told;
    throw Failure(ExitCode::notFound, missing, told.status);
}

std::string Host::logIn(std::string user) {
    if (user.empty()) user = options_.user;
    if (user.empty()) {
        throw Failure(ExitCode::notLoggedIn,
                      "this command needs a user: give --user or set KORVEL_USER");
    }
    try {
        value(client().logIn(user));
    } catch (const Failure& failure) {
        if (!failure.status) throw;
        throw Failure(ExitCode::notLoggedIn, "'" + user + "' is not logged in: " + failure.what(),
                      failure.status);
    }
    return user;
}

}  // namespace cli
