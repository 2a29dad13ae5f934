#include <korvel/platform/backends/openssl/Algorithms.h>
#include <korvel/platform/backends/openssl/SampleCipherOpenSSL.h>

#include <openssl/evp.h>

#include <algorithm>
#include <limits>

namespace korvel::platform {

namespace {

constexpr std::size_t blockSize = 16;
constexpr std::size_t counterSize = 8;
constexpr std::size_t largestPiece = std::size_t{1} << 20U;  // whole blocks

struct Free {
    void operator()(EVP_CIPHER_CTX* context) const { EVP_CIPHER_CTX_free(context); }
};

class SampleCipherOpenSSL final : public SampleCipher {
public:
    explicit SampleCipherOpenSSL(Scheme scheme) : isCBC_(scheme == Scheme::cbc) {}

    bool decrypt(const ContentKey& key, const Vector& vector, Ranges ranges) const override {
        const std::unique_ptr<EVP_CIPHER_CTX, Free> context(EVP_CIPHER_CTX_new());
        EVP_CIPHER_CTX* const raw = context.get();
        const auto* const cipher = isCBC_ ? algorithms().cbc : algorithms().ctr;
        if (!raw || EVP_DecryptInit_ex(raw, cipher, nullptr, key.data(), vector.data()) != 1)
            return false;
        EVP_CIPHER_CTX_set_padding(raw, 0);
        // The library's counter carries into the bytes in front of it: begun anew before it would.
        std::uint64_t left = isCBC_ ? std::numeric_limits<std::uint64_t>::max() : bytesLeft(vector);
        for (const auto range : ranges) {
            if (isCBC_ && range.size() % blockSize != 0) return false;
            auto rest = range;
            while (!rest.empty()) {
                const auto piece = rest.first(static_cast<std::size_t>(
                    std::min<std::uint64_t>({rest.size(), largestPiece, left})));
                if (!update(raw, piece)) return false;
                rest = rest.subspan(piece.size());
                left -= isCBC_ ? 0 : piece.size();
                if (left > 0) continue;
                const Vector again = wrapped(vector);
                if (EVP_DecryptInit_ex(raw, nullptr, nullptr, nullptr, again.data()) != 1)
                    return false;
                left = bytesLeft(again);
            }
        }
        return true;
    }

private:
    /// How many bytes there are before the counter is zero again.
    static std::uint64_t bytesLeft(const Vector& vector) {
        std::uint64_t counter = 0;
        for (std::size_t i = blockSize - counterSize; i < blockSize; ++i)
            counter = (counter << 8U) | vector.at(i);
        const std::uint64_t blocks = std::uint64_t{0} - counter;
        constexpr auto most = std::numeric_limits<std::uint64_t>::max() / blockSize;
        return (counter == 0 ? most : std::min<std::uint64_t>(blocks, most)) * blockSize;
    }
    static Vector wrapped(Vector vector) {
        std::fill(vector.end() - counterSize, vector.end(), std::uint8_t{0});
        return vector;
    }
    static bool update(EVP_CIPHER_CTX* context, std::span<std::uint8_t> bytes) {
        int count = 0;
        return EVP_DecryptUpdate(context, bytes.data(), &count, bytes.data(),
                                 static_cast<int>(bytes.size())) == 1 &&
               static_cast<std::size_t>(count) == bytes.size();
    }
    const bool isCBC_;
};

}  // namespace

std::shared_ptr<const SampleCipher> makeSampleCipherOpenSSL(SampleCipher::Scheme scheme) {
    return std::make_shared<SampleCipherOpenSSL>(scheme);
}

}  // namespace korvel::platform
