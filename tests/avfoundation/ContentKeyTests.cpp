#include <korvel/platform/avfoundation/AVAssetResourceLoadingRequest.h>
#include <korvel/platform/backends/sodium/CertificateKey.h>
#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>
#include <korvel/platform/foundation/Base64.h>
#include <korvel/platform/foundation/Bundle.h>
#include <korvel/service/ContentKeys.h>
#include <korvel/service/KeyServer.h>

#include <gtest/gtest.h>
#include <sodium.h>

namespace korvel::tests {

using namespace platform;

namespace {

/// DER by hand: a tag, the length, the parts one after another.
Data der(std::uint8_t tag, std::initializer_list<Data> parts) {
    Data content;
    for (const Data& part : parts) content.insert(content.end(), part.begin(), part.end());
    Data element{tag};
    if (content.size() >= 0x80) element.push_back(0x81);
    element.push_back(static_cast<std::uint8_t>(content.size()));
    element.insert(element.end(), content.begin(), content.end());
    return element;
}

Data certificate(std::uint8_t algorithm, Data key, bool withVersion = true) {
    key.insert(key.begin(), 0);
    const Data info = der(0x30, {der(0x30, {der(6, {{0x2b, 0x65, algorithm}})}), der(3, {key})});
    const Data filler = der(0x30, {});
    const Data version = withVersion ? der(0xa0, {der(2, {{2}})}) : Data();
    return der(0x30, {der(0x30, {version, der(2, {{1}}), filler, filler, filler, filler, info}),
                      filler, der(3, {{0}})});
}

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
}

TEST_F(ContentKeys, RequestWithSPCTakesTheAnswerForACKC) {
    AVAssetResourceLoadingRequest request(URLRequest(*URL::parse("skd://h/k")),
                                          makeContentKeySystemSodium(), {});
    const auto spc = request.streamingContentKeyRequestData(cer, bytesOf(kid), nullptr);
    ASSERT_TRUE(spc);
    request.dataRequest()->respond(ckc(*spc));
    request.finishLoading();
    EXPECT_TRUE(std::holds_alternative<ContentKey>(request.key()));

    AVAssetResourceLoadingRequest without(std::nullopt, nullptr, {},
                                          AVAssetResourceLoadingRequest::Wants::informationOnly);
    NSError error;
    EXPECT_FALSE(without.streamingContentKeyRequestData({}, bytesOf(kid), &error));
    EXPECT_NE(error.code, 0);
    EXPECT_FALSE(without.dataRequest());
}

TEST(CertificateKey, IsFoundInX25519AndEd25519OnesAlone) {
    const Data point(32, 9);
    const auto asKey = [](const auto& key) {
        return key ? Data(key->begin(), key->end()) : Data();
    };
    EXPECT_EQ(asKey(sealingKeyOfCertificate(certificate(0x6e, point))), point);
    EXPECT_EQ(asKey(sealingKeyOfCertificate(certificate(0x6e, point, false))), point);

    Data signing(32), secret(64), counterpart(32);
    crypto_sign_keypair(signing.data(), secret.data());
    ASSERT_EQ(crypto_sign_ed25519_pk_to_curve25519(counterpart.data(), signing.data()), 0);
    EXPECT_EQ(asKey(sealingKeyOfCertificate(certificate(0x70, signing))), counterpart);

    for (const Data& none :
         {certificate(0x6f, point), certificate(0x6e, Data(31)), certificate(0x6e, Data(33)),
          certificate(0x70, Data(32, 0)), Data(), bytesOf("-----BEGIN CERTIFICATE-----")}) {
        EXPECT_FALSE(sealingKeyOfCertificate(none));
    }
    const Data whole = certificate(0x6e, point);
    for (Data part(whole.begin(), whole.end() - 8); !part.empty(); part.pop_back()) {
        EXPECT_FALSE(sealingKeyOfCertificate(part)) << part.size();
    }
}

}  // namespace korvel::tests
