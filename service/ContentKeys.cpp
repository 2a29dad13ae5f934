#include <service/ContentKeys.h>

#include <openssl/sha.h>

#include <algorithm>
#include <string>

namespace korvel::service {

ContentKey contentKey(std::string_view identifier) {
    const std::string text = "korvel development content key " + std::string(identifier);
    std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
    SHA256(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(), digest.data());
    ContentKey key{};
    std::copy_n(digest.begin(), key.size(), key.begin());
    return key;
}

}  // namespace korvel::service
