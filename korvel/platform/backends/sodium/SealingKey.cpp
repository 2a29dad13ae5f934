#include <korvel/platform/backends/sodium/SealingKey.h>
#include <korvel/platform/foundation/FatalError.h>

#include <sodium/core.h>
#include <sodium/crypto_aead_xchacha20poly1305.h>
#include <sodium/randombytes.h>
#include <sodium/utils.h>

#include <algorithm>

namespace korvel::platform {

namespace {

constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
static_assert(SealingKey::size == crypto_aead_xchacha20poly1305_ietf_KEYBYTES);

void initializeOnce() {
    static const bool ready = sodium_init() >= 0;
    if (!ready) fatalError("The system has no source of random numbers.");
}

const unsigned char* unsignedBytes(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

SealingKey::SealingKey() {
    initializeOnce();
    randombytes_buf(bytes_.data(), bytes_.size());
}

SealingKey::SealingKey(std::span<const std::uint8_t, size> bytes) {
    initializeOnce();
    std::copy(bytes.begin(), bytes.end(), bytes_.begin());
}

SealingKey::~SealingKey() { sodium_memzero(bytes_.data(), bytes_.size()); }

Data SealingKey::seal(std::string_view context, std::span<const std::uint8_t> plain) const {
    Data sealed(nonceSize + plain.size() + tagSize);
    randombytes_buf(sealed.data(), nonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(sealed.data() + nonceSize, nullptr, plain.data(),
                                               plain.size(), unsignedBytes(context), context.size(),
                                               nullptr, sealed.data(), bytes_.data());
    return sealed;
}

std::optional<Data> SealingKey::open(std::string_view context,
                                     std::span<const std::uint8_t> sealed) const {
    if (sealed.size() < nonceSize + tagSize) return std::nullopt;
    Data plain(sealed.size() - nonceSize - tagSize);
    const int result = crypto_aead_xchacha20poly1305_ietf_decrypt(
        plain.data(), nullptr, nullptr, sealed.data() + nonceSize, sealed.size() - nonceSize,
        unsignedBytes(context), context.size(), sealed.data(), bytes_.data());
    return result == 0 ? std::optional(std::move(plain)) : std::nullopt;
}

}  // namespace korvel::platform
