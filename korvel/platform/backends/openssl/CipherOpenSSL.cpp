#include <korvel/platform/backends/openssl/Algorithms.h>
#include <korvel/platform/hls/Cipher.h>

#include <openssl/evp.h>

#include <algorithm>
#include <limits>

namespace korvel::platform::hls {

namespace {

constexpr std::size_t blockSize = 16;

struct Free {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

class CipherOpenSSL final : public Cipher {
public:
    CipherOpenSSL(const ContentKey& key, const InitializationVector& vector)
        : context_(EVP_CIPHER_CTX_new()),
          isUsable_(context_ && EVP_DecryptInit_ex(context_.get(), algorithms().cbc, nullptr,
                                                   key.data(), vector.data()) == 1) {}

    Data update(std::span<const std::uint8_t> bytes) override {
        Data plain;
        while (isUsable_ && !bytes.empty()) {
            const auto piece = bytes.first(std::min(bytes.size(), largestPiece));
            const auto before = plain.size();
            plain.resize(before + piece.size() + blockSize);
            int count = 0;
            isUsable_ = EVP_DecryptUpdate(context_.get(), plain.data() + before, &count,
                                          piece.data(), static_cast<int>(piece.size())) == 1;
            plain.resize(before + (isUsable_ ? static_cast<std::size_t>(count) : 0));
            bytes = bytes.subspan(piece.size());
        }
        return plain;
    }

    std::optional<Data> finish() override {
        Data plain(blockSize);
        int count = 0;
        if (!isUsable_ || EVP_DecryptFinal_ex(context_.get(), plain.data(), &count) != 1)
            return std::nullopt;
        plain.resize(static_cast<std::size_t>(count));
        return plain;
    }

private:
    static constexpr std::size_t largestPiece = std::size_t{1} << 20U;
    const std::unique_ptr<EVP_CIPHER_CTX, Free> context_;
    bool isUsable_;
};

}  // namespace

Cipher::~Cipher() = default;

std::unique_ptr<Cipher> makeCipher(const ContentKey& key, const InitializationVector& vector) {
    return std::make_unique<CipherOpenSSL>(key, vector);
}

/// Fetching an algorithm leaves of the library what its first use sets up: configuration, engines,
/// the texts of errors. Amid the end of the process that would be too late.
void prepareCiphers() { (void)makeCipher({}, {}); }

}  // namespace korvel::platform::hls
