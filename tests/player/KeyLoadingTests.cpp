#include "player/Fixture.h"
#include "support/TemporaryFolder.h"

#include <korvel/platform/avfoundation/AVAssetResourceLoader.h>
#include <korvel/platform/avfoundation/ContentKeySystem.h>
#include <korvel/platform/foundation/UTF8.h>
#include <korvel/player/KeyLoading.h>
#include <korvel/sdk/SDKResources.h>

#include <thread>

namespace korvel::tests {
namespace {

using platform::Data;

/// Makes SPCs of bytes that base64 writes with "+", "/" and "=".
class FakeKeySystem final : public platform::ContentKeySystem {
public:
    struct Exchange final : platform::ContentKeyExchange {
        Data bytes{0xfb, 0xff, 0xfe, 0xff};
        const Data& spc() const override { return bytes; }
        std::optional<platform::ContentKey> open(const Data&, NSError*) const override {
            return platform::ContentKey{};
        }
    };
    std::unique_ptr<platform::ContentKeyExchange> exchange(const Data& certificate,
                                                           const Data& identifier,
                                                           NSError*) const override {
        certificates.push_back(certificate);
        identifiers.push_back(identifier);
        return refuses ? nullptr : std::make_unique<Exchange>();
    }
    mutable std::vector<Data> certificates, identifiers;
    bool refuses = false;
};

class KeyLoadingTest : public PlayerTest {
protected:
    const std::shared_ptr<FakeKeySystem> keySystem = std::make_shared<FakeKeySystem>();
    std::shared_ptr<PlayerPresence> presence = std::make_shared<PlayerPresence>();
    std::shared_ptr<KeyWaiting> waiting = std::make_shared<KeyWaiting>();
    std::shared_ptr<platform::AVAssetResourceLoader> loader =
        platform::make<platform::AVAssetResourceLoader>();
    std::shared_ptr<KeyLoading> delegate;

    void install(const std::filesystem::path& bundle) override {
        PlayerTest::install(bundle);
        presence->hasViewModel = true;
        delegate = std::make_shared<KeyLoading>(platform::Device::current(),
                                                KCSDKNetworkManager::shared(), presence, waiting);
        fake.console->takeLines();
    }

    /// A key request, and the thread on which its delegate waits.
    struct Asked {
        std::shared_ptr<platform::AVAssetResourceLoadingRequest> request;
        std::shared_ptr<std::atomic<int>> result = std::make_shared<std::atomic<int>>(-1);
    };
    Asked ask(const std::optional<std::string>& address,
              platform::AVAssetResourceLoadingRequest::Wants wants =
                  platform::AVAssetResourceLoadingRequest::Wants::data) {
        Asked asked;
        asked.request = std::make_shared<platform::AVAssetResourceLoadingRequest>(
            address ? std::optional(platform::URLRequest(url(*address))) : std::nullopt, keySystem,
            [] {}, wants);
        std::thread([=, this, keeps = delegate] {
            *asked.result = keeps->shouldWaitForLoadingOfRequestedResource(*loader, asked.request);
        }).detach();
        return asked;
    }
    /// Waits, without a limit but the test's own, for the delegate to return.
    static bool returned(const Asked& asked) {
        while (*asked.result == -1) std::this_thread::yield();
        return *asked.result == 1;
    }
    std::string keyLine(const std::string& what) const {
        return "\U0001F511 resourceLoader(_:shouldWaitForLoadingOfRequestedResource:) " + what;
    }
};

TEST_F(KeyLoadingTest, IdentifierIsTheFirstKidOfTheQuery) {
    for (const auto& [address, identifier] : std::vector<std::pair<std::string, std::string>>{
             {"skd://h/p?kid=abc&kid=def", "abc"},
             {"skd://h/p?x=1&kid=a%2Fb+c%3D", "a/b+c="},
             {"skd://h/p?kid&kid=def", ""},
             {"skd://h/p?KID=abc&akid=x", ""},
             {"skd://h/p?kid=", ""},
             {"skd://h/p", ""},
             {"kid", ""}}) {
        EXPECT_EQ(contentIdentifier(url(address)), identifier) << address;
    }
    EXPECT_EQ(platform::lossyASCII("a\u00C1\u00DF\u65E5z\U0001F511"), "aA??z?");
}

std::string megabytesOf(std::string_view part) {
    std::string text;
    while (text.size() < (2U << 20)) text += part;
    return text;
}

TEST_F(KeyLoadingTest, ContextIsTheBase64BetweenTheTags) {
    const auto abc = platform::bytesOf("ABC");
    for (const auto& [body, context] : std::vector<std::pair<std::string, std::optional<Data>>>{
             {"<ckc>QUJD</ckc>", abc},
             {"QUJD", abc},
             {"</ckc>QU<ckc>JD", abc},
             {"", Data()},
             {"<<ckc>ckc>QUJD", std::nullopt},
             {megabytesOf("<ckc>") + "QUJD", std::nullopt},
             {"<CKC>QUJD</CKC>", std::nullopt},
             {"<ckc> QUJD</ckc>", std::nullopt},
             {"\xff", std::nullopt}}) {
        EXPECT_EQ(contentKeyContext(platform::bytesOf(body)), context) << body;
    }
}

TEST_F(KeyLoadingTest, KeyIsFetchedWithAFreshTokenAndDeliveredOnTheMainQueue) {
    const std::string address = "skd://keys.test:8443/p?kid=%C3%81%2F&x=1";
    for (const int round : {0, 1, 2}) {
        auto& requests = fake.session->requests;
        requests.clear();
        const auto asked = ask(address);
        ASSERT_TRUE(fake.session->waitForRequests(1));
        EXPECT_EQ(requests[0].url.absoluteString(), "https://service.test/ondemand/v1/token/50122");
        ASSERT_EQ(fake.session->connected.size(), static_cast<std::size_t>(round) + 1);
        fake.session->answer(200, R"({"token":"T"})");
        ASSERT_TRUE(fake.session->waitForRequests(2));
        const auto& sent = requests[1];
        EXPECT_EQ(sent.url.absoluteString(), "https://keys.test:8443/p?kid=%C3%81%2F&x=1");
        EXPECT_EQ(fake.session->connected.back(), sent.url.absoluteString());
        EXPECT_TRUE(sent.takesOpenedConnection);
        EXPECT_EQ(sent.method, "POST");
        EXPECT_EQ(platform::viewOf(*sent.body), "spc=+//+/w==&assetId=A/");
        EXPECT_EQ(sent.headers(), (std::vector<std::pair<std::string, std::string>>{
                                      {"Content-Length", "23"},
                                      {"Content-Type", "application/x-www-form-urlencoded"},
                                      {"Authorization", "Bearer T"}}));
        EXPECT_EQ(sent.largestBody, largestKeyAnswer);
        if (round == 2) {
            fake.session->refuseLength(403);
        } else {
            fake.session->answer(403, round == 0 ? "<ckc>QUJD</ckc>" : "no key");
        }
        EXPECT_FALSE(asked.request->isFinished()) << "the main queue delivers";
        run();
        EXPECT_TRUE(returned(asked));
        EXPECT_TRUE(asked.request->isFinished());
        EXPECT_EQ(fake.console->takeLines(),
                  (std::vector<std::string>{keyLine(address), "statusCode: 200"}))
            << "the key request itself says nothing";
    }
    EXPECT_EQ(fake.diagnostics->ended, 6u) << "but a host's engineer hears of both";
    EXPECT_EQ(keySystem->identifiers, std::vector<Data>(3, platform::bytesOf("\u00C1/")));
    EXPECT_EQ(keySystem->certificates[0],
              platform::Device::current().bundle(sdkBundleIdentifier)->contents("fairplay", "cer"));
}

TEST_F(KeyLoadingTest, WhatCannotBeAskedForIsRefusedAtOnce) {
    const auto code = [](const Asked& asked) {
        EXPECT_FALSE(returned(asked));
        const auto answer = asked.request->key();
        const auto* failure = std::get_if<NSError>(&answer);
        return failure ? *failure : NSError{"key", 0, {}};
    };
    EXPECT_EQ(code(ask(std::nullopt)), (NSError{sdkErrorDomain, -1, {}}));
    EXPECT_EQ(code(ask("skd://h/?kid=%FF")), (NSError{sdkErrorDomain, -3, {}}));
    EXPECT_EQ(
        code(ask("skd://h/", platform::AVAssetResourceLoadingRequest::Wants::informationOnly)),
        (NSError{sdkErrorDomain, -3, {}}));
    keySystem->refuses = true;
    EXPECT_EQ(code(ask("skd://h/")), (NSError{sdkErrorDomain, -3, {}}));
    const auto spcLine = keyLine("Unable to read the SPC data.");
    EXPECT_EQ(fake.console->lines(),
              (std::vector<std::string>{keyLine("Unable to read the url/host data."),
                                        keyLine("skd://h/?kid=%FF"), spcLine, keyLine("skd://h/"),
                                        spcLine, keyLine("skd://h/"), spcLine}));
    EXPECT_TRUE(fake.session->requests.empty());
}

TEST_F(KeyLoadingTest, ExchangesThatBreakOffNeverReturnAndHoldNobodyUp) {
    std::vector<Asked> blocked;
    const auto begin = [&](std::size_t requests) {
        blocked.push_back(ask("skd://h/"));
        EXPECT_TRUE(fake.session->waitForRequests(requests));
    };
    const std::string token = R"({"token":"T"})";
    begin(1);
    fake.session->answer(500, "");
    begin(2);
    fake.session->answer(200, "{}");
    begin(3);
    fake.session->answer(200, token);
    ASSERT_TRUE(fake.session->waitForRequests(4));
    fake.session->failTransport();
    run();
    begin(5);
    presence.reset();  // the player view has gone
    fake.session->answer(200, token);
    run();
    EXPECT_EQ(fake.session->requests.size(), 5u);
    EXPECT_EQ(fake.session->pending(), 0u);
    for (const auto& asked : blocked) {
        EXPECT_EQ(*asked.result, -1);
        EXPECT_FALSE(asked.request->isFinished());
    }
}

TEST_F(KeyLoadingTest, AThreadIsLetGoOnceThePlayerHasClosedAndTheEngineWaitsNoMore) {
    const auto begin = [&](const std::shared_ptr<KeyWaiting>& room) {
        delegate = std::make_shared<KeyLoading>(platform::Device::current(),
                                                KCSDKNetworkManager::shared(), presence, room);
        const auto before = fake.session->requests.size();
        const auto asked = ask("skd://h/");
        EXPECT_TRUE(fake.session->waitForRequests(before + 1));
        return asked;
    };
    const auto cancelled = begin(waiting), asked = begin(waiting);
    cancelled.request->cancel();
    const auto other = std::make_shared<KeyWaiting>();
    const auto otherPlayers = begin(other);
    otherPlayers.request->cancel();
    waiting->close();
    EXPECT_TRUE(returned(cancelled));
    EXPECT_EQ(*asked.result, -1) << "its engine still waits";
    EXPECT_EQ(*otherPlayers.result, -1) << "its player is open";
    asked.request->cancel();
    EXPECT_TRUE(returned(asked));
    other->close();
    EXPECT_TRUE(returned(otherPlayers));
}

class CertificateTest : public KeyLoadingTest {
protected:
    const TemporaryFolder folder;
    void SetUp() override { install(folder / ""); }
};

TEST_F(CertificateTest, MissingOneIsRefusedUnfinishedAndAnUnreadableOneWithAnError) {
    const auto missing = ask("skd://h/");
    EXPECT_FALSE(returned(missing));
    EXPECT_FALSE(missing.request->isFinished());
    EXPECT_EQ(fake.console->takeLines(), std::vector<std::string>{keyLine("skd://h/")});

    std::filesystem::create_directory(folder / "fairplay.cer");  // there, but no file to read
    const auto unreadable = ask("skd://h/");
    EXPECT_FALSE(returned(unreadable));
    const auto answer = unreadable.request->key();
    EXPECT_EQ(std::get<NSError>(answer), (NSError{sdkErrorDomain, -2, {}}));
    EXPECT_EQ(fake.console->takeLines().back(), keyLine("Unable to read the certificate data."));
}

}  // namespace
}  // namespace korvel::tests
