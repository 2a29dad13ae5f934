#pragma once

#include <korvel/platform/avfoundation/ContentKeySystem.h>
#include <korvel/platform/hls/Playlist.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace korvel::platform::hls {

inline constexpr std::size_t cipherBlock = 16;  ///< bytes

/// What is encrypted, and how.
struct Encryption {
    ContentKey key{};
    InitializationVector vector{};
    /// Null: the whole body is encrypted. Otherwise its samples are, and this opens them.
    std::shared_ptr<const SampleCipher> samples{};
    SampleCipher::Scheme scheme = SampleCipher::Scheme::cbc;  ///< of the samples
};

/// The vector of a key tag, or the one that the number of the segment makes.
InitializationVector vectorOf(const KeyTag& key, std::int64_t segmentNumber);

/// Whether whole bodies are encrypted by this method, and can be decrypted.
bool isOfBodies(const KeyTag& key);

/// How samples are encrypted by this method; nothing if it encrypts none.
std::optional<SampleCipher::Scheme> sampleScheme(const KeyTag& key);

}  // namespace korvel::platform::hls
