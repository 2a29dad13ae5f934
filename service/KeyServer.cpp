#include <service/Codes.h>
#include <service/KeyServer.h>

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <sodium.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <utility>

namespace korvel::service {

namespace {

using Bytes = std::vector<std::uint8_t>;
using PrivateKey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

constexpr std::string_view spcHead{"KSPC\x01", 5};
constexpr std::string_view ckcHead{"KCKC\x01", 5};
constexpr std::size_t sessionKeySize = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;
constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;

/// The X25519 secret, which an Ed25519 key has too.
Bytes secretOf(const std::filesystem::path& file) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "r"),
                                                                 std::fclose);
    if (!stream) throw std::runtime_error("cannot read " + file.string());
    const PrivateKey key(PEM_read_PrivateKey(stream.get(), nullptr, nullptr, nullptr),
                         EVP_PKEY_free);
    Bytes raw(32);
    std::size_t size = raw.size();
    if (!key || !EVP_PKEY_get_raw_private_key(key.get(), raw.data(), &size) || size != raw.size())
        throw std::runtime_error(file.string() + " holds no X25519 or Ed25519 key");
    if (EVP_PKEY_id(key.get()) == EVP_PKEY_X25519) return raw;
    Bytes signing(crypto_sign_PUBLICKEYBYTES);
    Bytes seedAndPublic(crypto_sign_SECRETKEYBYTES);
    crypto_sign_seed_keypair(signing.data(), seedAndPublic.data(), raw.data());
    crypto_sign_ed25519_sk_to_curve25519(raw.data(), seedAndPublic.data());
    return raw;
}

std::optional<Bytes> decoded(std::string_view base64) {
    Bytes bytes(base64.size());
    std::size_t size = 0;
    if (sodium_base642bin(bytes.data(), bytes.size(), base64.data(), base64.size(), nullptr, &size,
                          nullptr, sodium_base64_VARIANT_ORIGINAL) != 0) {
        return std::nullopt;
    }
    bytes.resize(size);
    return bytes;
}

std::string encoded(const Bytes& bytes) {
    std::string text(sodium_base64_encoded_len(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
    sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                      sodium_base64_VARIANT_ORIGINAL);
    text.pop_back();
    return text;
}

/// The content key under the session key, bound to the identifier.
Bytes sealed(const Bytes& key, const Bytes& sessionKey, std::string_view identifier) {
    const std::string context = std::string(ckcHead).append(identifier);
    Bytes ckc(nonceSize + key.size() + tagSize);
    randombytes_buf(ckc.data(), nonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(
        ckc.data() + nonceSize, nullptr, key.data(), key.size(),
        reinterpret_cast<const unsigned char*>(context.data()), context.size(), nullptr, ckc.data(),
        sessionKey.data());
    return ckc;
}

}  // namespace

KeyServer::KeyServer(const std::filesystem::path& privateKey) {
    if (sodium_init() < 0) throw std::runtime_error("no source of random numbers");
    secretKey_ = secretOf(privateKey);
    publicKey_.resize(crypto_scalarmult_BYTES);
    crypto_scalarmult_base(publicKey_.data(), secretKey_.data());
}

std::string KeyServer::issueToken() {
    const std::lock_guard lock(mutex_);
    return *tokens_.insert(freshCode()).first;
}

void KeyServer::give(Keys keys) {
    const std::lock_guard lock(mutex_);
    keys_ = keys;
}

std::optional<Bytes> KeyServer::opened(const Bytes& spc) const {
    const std::size_t least = spcHead.size() + crypto_box_SEALBYTES + sessionKeySize;
    if (spc.size() < least || !std::equal(spcHead.begin(), spcHead.end(), spc.begin()))
        return std::nullopt;
    Bytes plain(spc.size() - spcHead.size() - crypto_box_SEALBYTES);
    const int result =
        crypto_box_seal_open(plain.data(), spc.data() + spcHead.size(), spc.size() - spcHead.size(),
                             publicKey_.data(), secretKey_.data());
    return result == 0 ? std::optional(std::move(plain)) : std::nullopt;
}

Bytes KeyServer::given(std::string_view identifier) {
    const ContentKey key = contentKey(identifier);
    Bytes bytes(key.begin(), key.end());
    const std::lock_guard lock(mutex_);
    if (keys_ == Keys::wrong) bytes.front() ^= 1U;
    if (keys_ == Keys::tooShort) bytes.pop_back();
    if (keys_ == Keys::empty) bytes.clear();
    return bytes;
}

KeyServer::Reply KeyServer::answer(std::string_view authorization, std::string_view identifier,
                                   std::string_view body) {
    constexpr std::string_view bearer = "Bearer ";
    constexpr std::string_view spcField = "spc=";
    constexpr std::string_view assetField = "&assetId=";
    {
        const std::lock_guard lock(mutex_);
        if (!authorization.starts_with(bearer) ||
            !tokens_.contains(authorization.substr(bearer.size()))) {
            return {401, "the content token is wrong"};
        }
    }
    const auto asset = body.find(assetField);
    if (!body.starts_with(spcField) || asset == body.npos)
        return {400, "the form is not spc=...&assetId=..."};
    const auto spc = decoded(body.substr(spcField.size(), asset - spcField.size()));
    const auto plain = spc ? opened(*spc) : std::nullopt;
    if (!plain) return {400, "the SPC does not open"};
    const std::string sealedIdentifier(plain->begin() + sessionKeySize, plain->end());
    if (body.substr(asset + assetField.size()) != identifier || sealedIdentifier != identifier)
        return {403, "the content identifiers differ"};
    const Bytes sessionKey(plain->begin(), plain->begin() + sessionKeySize);
    return {200, "<ckc>" + encoded(sealed(given(identifier), sessionKey, identifier)) + "</ckc>"};
}

}  // namespace korvel::service
