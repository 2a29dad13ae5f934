#include <korvel/platform/avfoundation/AVAssetResourceLoadingRequest.h>
#include <korvel/platform/backends/sodium/CertificateKey.h>
#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/Bundle.h>
#include <service/ContentKeys.h>
#include <service/KeyServer.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace korvel::tests {

using namespace platform;

namespace {

/// An exchange under the bundled certificate with who has the key to it.
class ContentKeys : public testing::Test {
protected:
    Data ckc(const Data& spc) {
        const auto form = "spc=" + base64Encoded(viewOf(spc)) + "&assetId=" + kid;
        const std::string body = server.answer("Bearer " + server.issueToken(), kid, form).body;
        EXPECT_TRUE(body.starts_with("<ckc>")) << body;
        return base64Decoded(body.substr(5, body.size() - 11)).value_or(Data());
    }
    const std::string kid = "k\xC3\x81-1";
    const Data cer = *Bundle("sdk", KORVEL_BUNDLE).contents("fairplay", "cer");
    service::KeyServer server{KORVEL_CONTENT_KEYS};
};

}  // namespace

TEST_F(ContentKeys, OnlyTheAnswerToThisVeryRequestOpens) {
    const auto system = makeContentKeySystemSodium();
    const auto one = system->exchange(cer, bytesOf(kid), nullptr);
    const auto two = system->exchange(cer, bytesOf(kid), nullptr);
    ASSERT_TRUE(one && two);
    EXPECT_NE(one->spc(), two->spc());

    const Data answer = ckc(one->spc());
    EXPECT_EQ(one->open(answer, nullptr), service::contentKey(kid));
    NSError error;
    EXPECT_FALSE(two->open(answer, &error));
    EXPECT_NE(error.code, 0);
    for (std::size_t at = 0; at < answer.size(); ++at) {
        Data damaged = answer;
        damaged[at] ^= 1;
        EXPECT_FALSE(one->open(damaged, nullptr));
        damaged.resize(at);
        EXPECT_FALSE(one->open(damaged, nullptr));
    }
    for (const auto keys : {service::KeyServer::Keys::tooShort, service::KeyServer::Keys::empty}) {
        server.give(keys);
        EXPECT_FALSE(one->open(ckc(one->spc()), nullptr));
    }
    AVAssetResourceLoadingRequest without(std::nullopt, nullptr, {},
                                          AVAssetResourceLoadingRequest::Wants::informationOnly);
    error = {};
    EXPECT_FALSE(without.streamingContentKeyRequestData({}, bytesOf(kid), &error));
    EXPECT_NE(error.code, 0);
    EXPECT_FALSE(without.dataRequest());
}

TEST_F(ContentKeys, CertificatesAreOfX25519OrEd25519AndWhole) {
    const Data start{0x2b, 0x65, 0x70, 0x03, 0x21, 0x00};  // algorithm; a string of 33 bytes
    const auto found = std::search(cer.begin(), cer.end(), start.begin(), start.end());
    ASSERT_NE(found, cer.end()) << "the bundled one is of Ed25519";
    const auto at = found - cer.begin(), key = at + 6;
    const auto keyWith = [&](std::ptrdiff_t offset, std::uint8_t value, std::size_t count = 1) {
        Data changed = cer;
        std::fill_n(changed.begin() + at + offset, count, value);
        return sealingKeyOfCertificate(changed);
    };
    const auto plain = keyWith(2, 0x6e);
    ASSERT_TRUE(plain);
    EXPECT_TRUE(std::equal(plain->begin(), plain->end(), cer.begin() + key));
    EXPECT_FALSE(keyWith(2, 0x6f)) << "another algorithm";
    EXPECT_FALSE(keyWith(6, 0, 32)) << "no point of the curve";
    EXPECT_FALSE(keyWith(4, 0x20) || keyWith(4, 0x22)) << "another length";
    for (auto end = cer.begin(); end != cer.begin() + key + 32; ++end) {
        EXPECT_FALSE(sealingKeyOfCertificate(Data(cer.begin(), end)));
    }
    EXPECT_FALSE(sealingKeyOfCertificate(bytesOf("-----BEGIN CERTIFICATE-----")));
}

}  // namespace korvel::tests
