#include "Host.h"

#include "Failure.h"
#include "Reasons.h"

#include <chrono>

namespace cli {

using korvel::KCSDK;
using korvel::platform::Clock;
using korvel::platform::Device;
using korvel::platform::MainQueue;

namespace {
Clock::Duration nanoseconds(double seconds) {
    return std::chrono::duration_cast<Clock::Duration>(std::chrono::duration<double>(seconds));
}
}  // namespace

Host::Host(const Options& options, std::shared_ptr<Messages> messages, Interruption& interruption)
    : options_(options),
      limit_(nanoseconds(options.timeout)),
      interruption_(interruption),
      messages_(std::move(messages)),
      observer_(std::make_shared<RequestObserver>(options.verbose ? messages_ : nullptr)),
      folder_(dataFolder(options) / "korvel") {
    if (options.url.empty()) {
        throw Failure(ExitCode::badAddress,
                      "there is no service to ask: give --url or set KORVEL_URL");
    }
    Device device;
    device.clock = std::make_shared<korvel::platform::SystemClock>();
    device.mainQueue = queue_ =
        korvel::platform::make<MainQueue>(device.clock, MainQueue::Driver::manual);
    device.console = std::make_shared<MessageConsole>(options.verbose ? messages_ : nullptr);
    device.diagnostics = observer_;
    wake_ = [queue = queue_] { queue->async([] {}); };
    observer_->onEnd = wake_;
    loop_.emplace(queue_);
    progress_.emplace(messages_, *queue_, "waiting for " + options.url);
    interruption_.watch(wake_);
    takeDataFolder();
    korvel::platform::DeviceOptions parts;
    parts.applicationName = "korvel";
    parts.dataFolder = dataFolder(options);
    parts.certificateAuthorityFile = options.authorityFile;
    if (!options.install(std::move(device), parts)) {
        throw Failure(ExitCode::failed, "the SDK was in use before this host");
    }
    KCSDK::initialize(std::make_shared<korvel::KCSDKConfig>(options.url, options.secretKey,
                                                            options.apiKey, options.tenant, ""));
}

void Host::takeDataFolder() {
    constexpr auto pause = std::chrono::milliseconds(20);
    const auto retry = korvel::platform::Timer::scheduled(*queue_, pause, true, [] {});
    bool taken = false;
    loop_->runUntil([&] { return interruption_.came() || (taken = folder_.take()); }, limit_);
    retry->invalidate();
    if (interruption_.came()) throw interrupted();
    if (!taken) {
        throw Failure(ExitCode::failed, "another korvel uses the data folder " +
                                            dataFolder(options_).string() +
                                            "; --data-folder names one of your own");
    }
}

RequestReport Host::settle(const Arrival& arrival, const std::function<void()>& start) {
    observer_->watch();
    start();
    loop_->runUntil(
        [&] { return arrival.came || interruption_.came() || observer_->report().lost; }, limit_);
    if (interruption_.came()) throw interrupted();
    auto report = observer_->report();
    if (!arrival.came) {
        throw report.lost ? noConnection(*report.lost) : noAnswer(report, options_.timeout);
    }
    if (arrival.error) throw refusal(*arrival.error, options_.url);
    return report;
}

RequestReport Host::settlePlain(const StartPlain& start) {
    const auto arrival = std::make_shared<Arrival>();
    return settle(*arrival, [&] {
        start([arrival, wake = wake_](auto error) {
            arrival->error = std::move(error);
            arrival->came = true;
            wake();
        });
    });
}

void Host::perform(const StartPlain& start) { requireAccepted(settlePlain(start)); }

void Host::requireAccepted(const RequestReport& report) {
    if (report.undecodable) throw notUnderstood(report);
    if (!isAccepted(report)) throw rejected(report);
}

std::string Host::logIn(std::string user) {
    if (user.empty()) user = options_.user;
    if (user.empty()) {
        throw Failure(ExitCode::notLoggedIn,
                      "this command needs a user: give --user or set KORVEL_USER");
    }
    const auto report = settlePlain(
        [&](korvel::ErrorCompletion done) { KCSDK::startSession(user, std::move(done)); });
    // No error only means that an answer came; whether it was a user, the diagnostics know.
    if (report.undecodable) throw notLoggedIn(report, user);
    return user;
}

}  // namespace cli
