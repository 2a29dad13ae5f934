#include <korvel/doubles/FakeDevice.h>

#include <korvel/KorvelContentSDK.h>
#include <korvel/network/KCSDKNetworkManager.h>
#include <korvel/session/KCSDKKeyChain.h>

#include <gtest/gtest.h>

namespace korvel::tests {

using namespace doubles;
namespace {

// The facade is once per process: each of these tests runs in a process of its own.
class Facade : public testing::Test {
protected:
    FakeDevice fake;
    std::shared_ptr<KCSDKConfig> config =
        std::make_shared<KCSDKConfig>("https://h/", "secret", "key", "tenant", "analytics-key");

    void SetUp() override { ASSERT_TRUE(platform::Device::install(fake.device())); }
};

TEST_F(Facade, OperationsBeforeInitializeDoNothingAndReleaseTheirCompletions) {
    EXPECT_EQ(KCSDK::shared().networkManager(), nullptr);
    EXPECT_FALSE(KCSDK::shared().enablefullscreenVideo);
    KCSDK::initialize(nullptr);
    const auto token = std::make_shared<int>();
    const auto host = [token](auto&&...) { ADD_FAILURE(); };
    KCSDK::startSession("anna", host);
    KCSDK::getConsent(host);
    KCSDK::acceptConsent("t", host);
    KCSDK::getOndemandCollections({}, 0, host);
    KCSDK::getOndemandClasses(1, 1, {}, {}, host);
    KCSDK::getOndemandClassDetails("t", host);
    KCSDK::getOndemandMetaData(host);
    KCSDK::getOndemandClassesForCriteria(nullptr, host);
    KCSDK::activateSubscription(nullptr, host);
    KCSDK::cancelSubscription(host);
    EXPECT_EQ(token.use_count(), 2);
    fake.clock->advance(*fake.mainQueue, std::chrono::seconds(1));
    EXPECT_TRUE(fake.session->requests.empty());
    EXPECT_TRUE(fake.journal->lines().empty());
}

TEST_F(Facade, InitializeRunsItsStepsInOrderAndPublishesTheManagerLast) {
    bool again = false;
    fake.localytics->onCall = [&] {
        EXPECT_EQ(KCSDKNetworkManager::shared()->sdkConfig(), config) << "replaced first";
        EXPECT_EQ(KCSDK::shared().networkManager() != nullptr, again);
        EXPECT_EQ(config->countryCode, again ? "AT" : "");
    };
    KCSDK::initialize(config);
    const std::vector<std::string> steps{"integrate analytics-key", "setLoggingEnabled false",
                                         "openSession", "delete *"};
    EXPECT_EQ(fake.journal->takeLines(), steps);
    EXPECT_EQ(KCSDK::shared().networkManager(), KCSDKNetworkManager::shared());
    EXPECT_EQ(config->countryCode, "US");

    again = true;
    KCSDK::shared().enablefullscreenVideo = true;
    fake.keychain->put("token", "old");
    fake.keychain->put("the host's own", "secret");
    fake.locale->chosenRegionCode = std::nullopt;
    config->countryCode = "AT";
    KCSDK::initialize(config);
    EXPECT_EQ(fake.journal->takeLines(), steps);
    EXPECT_EQ(config->countryCode, "AT") << "kept when the device has no region";
    EXPECT_TRUE(fake.diagnostics->keychain.empty());
    fake.keychain->fail(platform::errSecIO);
    KCSDK::initialize(config);
    EXPECT_EQ(fake.diagnostics->keychain, std::vector<std::string>{" -36"}) << "nothing was wiped";
    fake.keychain->fail(platform::errSecSuccess);
    KCSDK::initialize(config);
    EXPECT_TRUE(fake.keychain->items().empty());
    EXPECT_TRUE(KCSDK::shared().enablefullscreenVideo);
}

TEST(DeviceOptions, TakeTheConsolesLinesInOneLine) {
    std::vector<std::string> lines;
    platform::DeviceOptions options;
    options.console = [&](std::string_view line) { lines.emplace_back(line); };
    platform::Device::standard(options).console->print("statusCode: 200");
    EXPECT_EQ(lines, std::vector<std::string>{"statusCode: 200"});
}

TEST_F(Facade, AKeychainSavesNoAbsentBytesAndTellsOfItsFailures) {
    const KCSDKKeyChain keychain(fake.keychain, fake.diagnostics);
    EXPECT_EQ(keychain.save("k", std::nullopt), platform::errSecSuccess);
    EXPECT_TRUE(fake.journal->lines().empty());
    fake.keychain->fail(platform::errSecIO);
    EXPECT_EQ(keychain.save("k", platform::bytesOf("3")), platform::errSecIO);
    EXPECT_EQ(keychain.load("k"), std::nullopt);
    EXPECT_EQ(fake.diagnostics->keychain, std::vector<std::string>{"k -36"});
}

}  // namespace
}  // namespace korvel::tests
