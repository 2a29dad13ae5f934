#include "sdk/ServiceFixture.h"

#include <korvel/platform/foundation/RunLoop.h>

#include <filesystem>
#include <set>

namespace korvel::tests {
namespace {

class Wire : public ServiceTest {
protected:
    std::set<std::string> headerNames() const {
        std::set<std::string> names;
        const auto sent = service.requests().back();
        for (const auto& [name, value] : sent.headers) names.insert(name);
        return names;
    }
};

TEST_F(Wire, RequestsCarryTheirHeadersAndNoOthers) {
    const auto user = logIn("anna");
    config->tenantID = "";
    const std::set<std::string> always{"Host", "Accept", "Accept-Encoding", "TenantID"};
    const auto with = [&](std::set<std::string> more) {
        more.insert(always.begin(), always.end());
        return more;
    };
    const auto run = [&](auto call) {
        Ending<std::optional<NSError>> ending;
        call(ending.completion());
        EXPECT_TRUE(ending.wait());
        return service.requests().back();
    };
    auto sent = run([&](auto done) { manager->cancelSubscription(done); });
    EXPECT_EQ(headerNames(), with({"Authorization", "Content-Length"}));
    EXPECT_EQ(sent.method, "PUT");
    EXPECT_EQ(sent.header("Content-Length"), "0");
    EXPECT_EQ(sent.header("TenantID"), "");
    EXPECT_EQ(sent.header("Authorization"), "Bearer " + user.code);

    sent = run([&](auto done) { manager->acceptConsent("\u00DC", done); });
    EXPECT_EQ(headerNames(), with({"Authorization", "Content-Length", "Content-Type"}));
    EXPECT_EQ(sent.header("Content-Type"), "application/json");
    EXPECT_EQ(sent.body, "{\"consentTag\":\"\u00DC\",\"action\":2,\"userId\":\"" + user.id + "\"}");

    fake.keychain->SecItemDelete({});
    sent = run([&](auto done) {
        manager->getOndemandMetaData([done](auto, auto error) { done(error); });
    });
    EXPECT_EQ(headerNames(), always) << "nobody is logged in";

    sent = run([&](auto done) {
        manager->startSession("anna", done);
        passLogInDelay();
    });
    EXPECT_EQ(headerNames(), with({"Authorization", "Content-Length", "Content-Type", "User-Agent",
                                   "Accept-Language"}));
    EXPECT_EQ(sent.header("Accept-Encoding"), "gzip;q=1.0, compress;q=0.5");
    EXPECT_EQ(fake.keychain->items().count("token"), 0u) << "wrong tenant, so no user came back";
}

TEST_F(Wire, AnswersOfOneRequestAreNotWaitedForByAnother) {
    service::Answer held;
    held.hold = true;
    service.script(held);
    Ending<std::shared_ptr<KCSDKOndemandClassResponse>, std::optional<NSError>> slow, quick;
    manager->getOndemandClasses(1, 1, {}, {}, slow.completion());
    ASSERT_TRUE(service.waitForHeld(1));
    manager->getOndemandClasses(2, 1, {}, {}, quick.completion());
    EXPECT_TRUE(quick.wait());
    service.release();
    EXPECT_TRUE(slow.wait());
}

/// The facade on this machine's real device: real transport, keychain, journal and main queue.
TEST(Visit, GoesFromLogInToCancellationThroughTheFacade) {
    service::ContentService service;
    const auto folder =
        std::filesystem::temp_directory_path() / ("korvel-visit-" + std::to_string(getpid()));
    platform::Device device;
    device.console = std::make_shared<LineConsole>();
    ASSERT_TRUE(platform::Device::install(device, {.applicationName = "visit",
                                                   .dataFolder = folder,
                                                   .certificateAuthorityFile = service.caFile()}));
    KCSDK::initialize(std::make_shared<KCSDKConfig>(service.baseURL(), service.options().secretKey,
                                                    service.options().apiKey,
                                                    service.options().tenant, "analytics"));
    platform::RunLoop loop;
    std::vector<std::string> road;

    const auto step = [&](auto call) {
        std::atomic<bool> done = false;
        call([&](const std::string& what) {
            road.push_back(what);
            done = true;
            loop.stop();
        });
        EXPECT_TRUE(loop.runUntil([&] { return done.load(); }, std::chrono::seconds(20)));
    };
    const auto outcome = [](auto done, std::string what) {
        return [done, what](std::optional<NSError> error) {
            done(error ? error->description() : what);
        };
    };
    std::string classTag;
    step([&](auto done) { KCSDK::startSession("J\u00F6rg", outcome(done, "logged in")); });
    step([&](auto done) {
        KCSDK::getOndemandCollections({}, 3, [done](auto list, auto) {
            done(list ? std::to_string(list->size()) + " collections" : "nothing");
        });
    });
    step([&](auto done) {
        KCSDK::getOndemandClasses(1, 5, {}, {}, [&, done](auto page, auto) {
            if (page) classTag = page->items.at(0)->tag;
            done(page ? std::to_string(page->items.size()) + " classes" : "nothing");
        });
    });
    step([&](auto done) {
        KCSDK::getOndemandClassDetails(classTag, [&, done](auto found, auto) {
            done(found && found->tag == classTag ? "that class" : "nothing");
        });
    });
    step([&](auto done) {
        KCSDK::getOndemandMetaData([done](auto metadata, auto) {
            done(metadata && !metadata->classTypes.empty() ? "metadata" : "nothing");
        });
    });
    step([&](auto done) {
        const auto filter = std::make_shared<KCSDKOndemandFilterRequest>();
        filter->take = 2;
        KCSDK::getOndemandClassesForCriteria(filter, [done](auto result, auto) {
            done(result ? std::to_string(result->items.size()) + " found" : "nothing");
        });
    });
    step([&](auto done) {
        KCSDK::getConsent([done](auto consents, auto) {
            done(consents ? consents->at(0)->consentTag : "nothing");
        });
    });
    step([&](auto done) { KCSDK::acceptConsent(road.back(), outcome(done, "accepted")); });
    step([&](auto done) {
        const auto start = std::chrono::system_clock::now();
        KCSDK::activateSubscription(
            std::make_shared<KCSDKUserSubscriptionRequest>(start, "monthly"),
            outcome(done, "subscribed"));
    });
    EXPECT_TRUE(service.accounts().user("J\u00F6rg").value().subscription);
    step([&](auto done) { KCSDK::cancelSubscription(outcome(done, "cancelled")); });

    EXPECT_EQ(road, (std::vector<std::string>{"logged in", "3 collections", "5 classes",
                                              "that class", "metadata", "2 found", "privacy-2024",
                                              "accepted", "subscribed", "cancelled"}));
    EXPECT_FALSE(service.accounts().user("J\u00F6rg").value().subscription);
    EXPECT_EQ(service.accounts().user("J\u00F6rg").value().acceptedConsents,
              std::set<std::string>{"privacy-2024"});
    std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace korvel::tests
