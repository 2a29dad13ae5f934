#pragma once

#include <openssl/types.h>

namespace korvel::platform {

/// What this folder takes of libcrypto; null where it could not be had, which the library then
/// tells as any other failure.
///
/// When the process exits the library takes down its own context, while loaders may be decrypting
/// on threads that nobody waits for. These come from another one, which stays until the process is
/// gone.
struct Algorithms {
    const EVP_CIPHER* cbc;  ///< AES-128-CBC
    const EVP_CIPHER* ctr;  ///< AES-128-CTR
};

/// Any thread.
const Algorithms& algorithms();

}  // namespace korvel::platform
