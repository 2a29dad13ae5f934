#pragma once

#include <korvel/platform/foundation/Data.h>

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>

namespace korvel::platform {

/// Authenticated encryption of small secrets (XChaCha20-Poly1305 with a random nonce each time).
/// The key's bytes are wiped with the object.
class SealingKey {
public:
    static constexpr std::size_t size = 32;

    /// A fresh key from the system's cryptographic source.
    SealingKey();
    explicit SealingKey(std::span<const std::uint8_t, size> bytes);
    SealingKey(const SealingKey&) = delete;
    SealingKey& operator=(const SealingKey&) = delete;
    ~SealingKey();

    std::span<const std::uint8_t, size> bytes() const { return bytes_; }

    /// The sealed form of `plain`. It opens only under the same `context`, so a sealed value cannot
    /// be passed off as another item's.
    Data seal(std::string_view context, std::span<const std::uint8_t> plain) const;
    /// Nothing if the seal is broken: other key, other context, changed bytes.
    std::optional<Data> open(std::string_view context, std::span<const std::uint8_t> sealed) const;

private:
    std::array<std::uint8_t, size> bytes_;
};

}  // namespace korvel::platform
