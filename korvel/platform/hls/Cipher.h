#pragma once

#include <korvel/platform/avfoundation/ContentKeySystem.h>
#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/hls/Playlist.h>

#include <memory>
#include <optional>
#include <span>

namespace korvel::platform::hls {

/// Decrypts one body of AES-128 in CBC mode with PKCS #7 padding, as it comes. One thread.
class Cipher {
public:
    virtual ~Cipher();
    virtual Data update(std::span<const std::uint8_t> bytes) = 0;
    /// The last bytes; nothing if what came was not whole, or the key is another one.
    virtual std::optional<Data> finish() = 0;
};

/// Implemented by a backend.
std::unique_ptr<Cipher> makeCipher(const ContentKey& key, const InitializationVector& vector);
/// To be called before the first one is made, on a thread during whose work the process does not
/// end: what it gets ready serves loaders to the end.
void prepareCiphers();

}  // namespace korvel::platform::hls
