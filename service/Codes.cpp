#include <service/Codes.h>

#include <openssl/evp.h>
#include <openssl/rand.h>
#include <array>
#include <span>
#include <stdexcept>

namespace korvel::service {

namespace {
std::string hexadecimal(std::span<const unsigned char> bytes) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 15U];
    }
    return text;
}
}  // namespace

std::string freshCode() {
    std::array<unsigned char, 16> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw std::runtime_error("no random numbers");
    return hexadecimal(bytes);
}

std::string stableId(std::string_view name) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    EVP_Digest(name.data(), name.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    return hexadecimal(std::span(digest).first(6));
}

std::string basicCredential(std::string_view apiKey, std::string_view secretKey) {
    const std::string joined = std::string(apiKey) + ':' + std::string(secretKey);
    std::string encoded((joined.size() + 2) / 3 * 4 + 1, '\0');  // and the terminator
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(encoded.data()),
                    reinterpret_cast<const unsigned char*>(joined.data()),
                    static_cast<int>(joined.size()));
    encoded.pop_back();
    return "Basic " + encoded;
}

}  // namespace korvel::service
