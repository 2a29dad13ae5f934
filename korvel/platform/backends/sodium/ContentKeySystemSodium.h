#pragma once

#include <korvel/platform/avfoundation/ContentKeySystem.h>

#include <memory>

namespace korvel::platform {

/// The open content key system of devices without a licensed one.
///
/// The application certificate is a DER X.509 one with an X25519 or Ed25519 subject key. The SPC is
/// "KSPC" and the byte 1, then, in a libsodium sealed box for that key, a session key of 32 bytes
/// made for this exchange and the content identifier. The CKC is the content key of 16 bytes,
/// encrypted by XChaCha20-Poly1305 under the session key after its nonce of 24 bytes, with "KCKC",
/// the byte 1 and the content identifier authenticated: an answer opens for its own question alone.
/// Whoever holds a device's memory holds the key: this is no hardware protection.
std::shared_ptr<ContentKeySystem> makeContentKeySystemSodium();

}  // namespace korvel::platform
