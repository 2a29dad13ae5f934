#pragma once

#include "support/Samples.h"
#include "support/TestDevice.h"

#include <korvel/KorvelContentSDK.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/platform/backends/curl/URLSessionCurl.h>
#include <korvel/service/ContentService.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace korvel::tests {

/// What became of one completion: called, or destroyed without a call. Any thread.
template <class... Results> class Ending {
public:
    std::function<void(Results...)> completion() {
        // The last copy of the completion takes the token with it, and that is the end.
        const std::shared_ptr<void> token(nullptr, [state = state_](void*) {
            const std::lock_guard lock(state->mutex);
            state->ended = true;
            state->changed.notify_all();
        });
        return [state = state_, token](Results... results) {
            const std::lock_guard lock(state->mutex);
            EXPECT_FALSE(state->results) << "called twice";
            state->results.emplace(std::move(results)...);
        };
    }

    /// Waits for the end; the results, or nothing if the completion was never called.
    std::optional<std::tuple<Results...>> wait() {
        std::unique_lock lock(state_->mutex);
        if (!state_->changed.wait_for(lock, std::chrono::seconds(30),
                                      [&] { return state_->ended; })) {
            ADD_FAILURE() << "the exchange does not end";
        }
        return state_->results;
    }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable changed;
        bool ended = false;
        std::optional<std::tuple<Results...>> results;
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// Lets a test wait for lines. Any thread.
class LineConsole final : public platform::Console {
public:
    void print(std::string_view line) override {
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(line);
        changed_.notify_all();
    }
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }
    void waitFor(std::size_t count) {
        std::unique_lock lock(mutex_);
        EXPECT_TRUE(changed_.wait_for(lock, std::chrono::seconds(30),
                                      [&] { return lines_.size() >= count; }));
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<std::string> lines_;
};

/// The manager on the real transport against the real service; time, keychain and analytics are
/// fakes.
class ServiceTest : public testing::Test {
protected:
    service::ContentService service;
    TestDevice fake;
    std::shared_ptr<LineConsole> console = std::make_shared<LineConsole>();
    std::shared_ptr<KCSDKConfig> config = std::make_shared<KCSDKConfig>(
        service.baseURL(), service.options().secretKey, service.options().apiKey,
        service.options().tenant, "analytics");
    std::shared_ptr<KCSDKNetworkManager> manager = makeManager();

    std::shared_ptr<KCSDKNetworkManager> makeManager() const {
        auto device = fake.device();
        device.console = console;
        device.urlSession = platform::makeURLSessionCurl(
            {.certificateAuthorityFile = service.caFile()},
            [](auto task) { platform::DispatchQueue::global().async(std::move(task)); });
        auto made = std::make_shared<KCSDKNetworkManager>(device);
        made->setSdkConfig(config);
        return made;
    }

    // The fakes' common journal is for tests with one thread.
    ServiceTest() { fake.hear(nullptr); }

    /// A user with everything that the service asks for, as if logged in by this device.
    service::User logIn(const std::string& name) {
        const auto user = service.accounts().logIn(name);
        fake.keychain->put("token", user.code);
        fake.keychain->put("userId", user.id);
        service.accounts().setSubscription(name, service::Subscription{"now", "monthly"});
        return user;
    }
    /// The delay before a log-in passes at once.
    void passLogInDelay() { fake.clock->advance(*fake.mainQueue, std::chrono::milliseconds(500)); }
};

}  // namespace korvel::tests
