#include <korvel/platform/avfoundation/AVAssetResourceLoadingRequest.h>
#include <korvel/platform/backends/sodium/CertificateKey.h>
#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>
#include <korvel/platform/foundation/Bundle.h>

#include <gtest/gtest.h>
#include <sodium.h>

#include <algorithm>

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

/// The other half of an exchange: what a key server does with an SPC.
struct KeyServer {
    Data publicKey = Data(crypto_box_PUBLICKEYBYTES);
    Data secretKey = Data(crypto_box_SECRETKEYBYTES);
    KeyServer() {
        EXPECT_GE(sodium_init(), 0);
        crypto_box_keypair(publicKey.data(), secretKey.data());
    }
    Data plain(const Data& spc) const {
        Data opened(spc.size() - 5 - crypto_box_SEALBYTES);
        EXPECT_EQ(viewOf(spc).substr(0, 5), std::string_view("KSPC\x01", 5));
        EXPECT_EQ(crypto_box_seal_open(opened.data(), spc.data() + 5, spc.size() - 5,
                                       publicKey.data(), secretKey.data()),
                  0);
        return opened;
    }
    Data ckc(const Data& spc, const Data& key) const {
        const Data opened = plain(spc);
        const std::string context = "KCKC\x01" + std::string(viewOf(opened).substr(32));
        Data answer(24 + key.size() + 16);
        randombytes_buf(answer.data(), 24);
        crypto_aead_xchacha20poly1305_ietf_encrypt(
            answer.data() + 24, nullptr, key.data(), key.size(),
            reinterpret_cast<const unsigned char*>(context.data()), context.size(), nullptr,
            answer.data(), opened.data());
        return answer;
    }
};

const Data kid = bytesOf("k\xC3\x81-1");

}  // namespace

TEST(ContentKeys, OnlyTheAnswerToThisVeryRequestOpens) {
    const KeyServer server;
    const auto system = makeContentKeySystemSodium();
    const Data cer = certificate(0x6e, server.publicKey);
    const auto one = system->exchange(cer, kid, nullptr);
    const auto two = system->exchange(cer, kid, nullptr);
    ASSERT_TRUE(one && two);
    EXPECT_NE(one->spc(), two->spc());
    EXPECT_EQ(viewOf(server.plain(one->spc())).substr(32), viewOf(kid));

    const Data key(16, 42);
    const Data ckc = server.ckc(one->spc(), key);
    const auto opened = one->open(ckc, nullptr);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(std::ranges::equal(*opened, key));
    NSError error;
    EXPECT_FALSE(two->open(ckc, &error));
    EXPECT_NE(error.code, 0);
    for (std::size_t at = 0; at < ckc.size(); ++at) {
        Data damaged = ckc;
        damaged[at] ^= 1;
        EXPECT_FALSE(one->open(damaged, nullptr));
        EXPECT_FALSE(one->open(Data(ckc.begin(), ckc.begin() + static_cast<long>(at)), nullptr));
    }
    for (const std::size_t length : {0, 15, 17, 32}) {
        EXPECT_FALSE(one->open(server.ckc(one->spc(), Data(length)), nullptr));
    }
}

TEST(ContentKeys, RequestWithSPCTakesTheAnswerForACKC) {
    const KeyServer server;
    AVAssetResourceLoadingRequest request(URLRequest(*URL::parse("skd://h/k")),
                                          makeContentKeySystemSodium(), {});
    const auto spc =
        request.streamingContentKeyRequestData(certificate(0x6e, server.publicKey), kid, nullptr);
    ASSERT_TRUE(spc);
    request.dataRequest()->respond(server.ckc(*spc, Data(16, 1)));
    request.finishLoading();
    EXPECT_TRUE(std::holds_alternative<ContentKey>(request.key()));

    AVAssetResourceLoadingRequest without(std::nullopt, nullptr, {},
                                          AVAssetResourceLoadingRequest::Wants::informationOnly);
    NSError error;
    EXPECT_FALSE(without.streamingContentKeyRequestData({}, kid, &error));
    EXPECT_NE(error.code, 0);
    EXPECT_FALSE(without.dataRequest());
}

TEST(ContentKeys, CertificateKeyIsFoundInX25519AndEd25519OnesAlone) {
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
    for (std::size_t length = 0; length < whole.size() - 7; ++length) {
        EXPECT_FALSE(sealingKeyOfCertificate(
            Data(whole.begin(), whole.begin() + static_cast<long>(length))));
    }
}

TEST(ContentKeys, BundledCertificateIsUsable) {
    const Bundle bundle("sdk", KORVEL_BUNDLE);
    const auto cer = bundle.contents("fairplay", "cer");
    ASSERT_TRUE(cer);
    NSError error;
    EXPECT_TRUE(makeContentKeySystemSodium()->exchange(*cer, kid, &error)) << error.description();
}

}  // namespace korvel::tests
