#include <korvel/platform/avfoundation/AVError.h>
#include <korvel/platform/backends/sodium/CertificateKey.h>
#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>
#include <korvel/platform/backends/sodium/SealingKey.h>

#include <sodium/crypto_box.h>
#include <sodium/utils.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace korvel::platform {

namespace {

constexpr std::string_view spcHead{"KSPC\x01", 5};
constexpr std::string_view ckcHead{"KCKC\x01", 5};

void refuse(NSError* error, const char* reason) {
    if (error) *error = makeAVError(AVError::contentIsNotAuthorized, reason);
}

class SealedExchange final : public ContentKeyExchange {
public:
    /// Null if nothing can be sealed to that key.
    static std::unique_ptr<SealedExchange> begin(const std::array<std::uint8_t, 32>& recipient,
                                                 const Data& contentIdentifier) {
        auto exchange = std::make_unique<SealedExchange>();
        exchange->context_.append(ckcHead).append(viewOf(contentIdentifier));

        const auto& key = exchange->sessionKey_.bytes();
        Data plain(key.begin(), key.end());
        plain.insert(plain.end(), contentIdentifier.begin(), contentIdentifier.end());
        exchange->spc_ = bytesOf(spcHead);
        exchange->spc_.resize(spcHead.size() + plain.size() + crypto_box_SEALBYTES);
        const int result = crypto_box_seal(exchange->spc_.data() + spcHead.size(), plain.data(),
                                           plain.size(), recipient.data());
        sodium_memzero(plain.data(), plain.size());
        return result == 0 ? std::move(exchange) : nullptr;
    }

    const Data& spc() const override { return spc_; }

    std::optional<ContentKey> open(const Data& ckc, NSError* error) const override {
        auto opened = sessionKey_.open(context_, ckc);
        ContentKey key;
        if (!opened || opened->size() != key.size()) {
            refuse(error, opened ? "The key server's key is of a wrong length."
                                 : "The key server's answer does not open.");
            return std::nullopt;
        }
        std::copy(opened->begin(), opened->end(), key.begin());
        sodium_memzero(opened->data(), opened->size());
        return key;
    }

private:
    SealingKey sessionKey_;
    std::string context_;
    Data spc_;
};

class ContentKeySystemSodium final : public ContentKeySystem {
public:
    std::unique_ptr<ContentKeyExchange> exchange(const Data& certificate,
                                                 const Data& contentIdentifier,
                                                 NSError* error) const override {
        const auto recipient = sealingKeyOfCertificate(certificate);
        auto begun = recipient ? SealedExchange::begin(*recipient, contentIdentifier) : nullptr;
        if (!begun) refuse(error, "The certificate holds no X25519 or Ed25519 key.");
        return begun;
    }
};

}  // namespace

std::shared_ptr<ContentKeySystem> makeContentKeySystemSodium() {
    return std::make_shared<ContentKeySystemSodium>();
}

}  // namespace korvel::platform
