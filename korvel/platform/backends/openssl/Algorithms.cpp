#include <korvel/platform/backends/openssl/Algorithms.h>

#include <openssl/crypto.h>
#include <openssl/evp.h>

namespace korvel::platform {

const Algorithms& algorithms() {
    static OSSL_LIB_CTX* const context = OSSL_LIB_CTX_new();
    static const Algorithms all{EVP_CIPHER_fetch(context, "AES-128-CBC", nullptr),
                                EVP_CIPHER_fetch(context, "AES-128-CTR", nullptr)};
    return all;
}

}  // namespace korvel::platform
