// A certificate of any bytes: no crash, and an exchange begins only for one with a key in it.
#include "Require.h"

#include <korvel/platform/avfoundation/ContentKeySystem.h>
#include <korvel/platform/backends/sodium/CertificateKey.h>
#include <korvel/platform/backends/sodium/ContentKeySystemSodium.h>

#include <cstddef>
#include <cstdint>

using namespace korvel::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Data bytes(data, data + size);
    const auto key = sealingKeyOfCertificate(bytes);
    if (key) require(size > key->size(), "the key is part of the certificate");
    static const auto system = makeContentKeySystemSodium();
    korvel::NSError error;
    const auto exchange = system->exchange(bytes, {}, &error);
    require(exchange ? key.has_value() : error.code != 0, "a refusal has a reason");
    if (exchange) require(!exchange->open(bytes, &error), "no chance bytes open");
    return 0;
}
