#include <korvel/platform/foundation/Base64.h>

#include <sodium/utils.h>

#include <algorithm>

namespace korvel::platform {

std::string base64Encoded(std::string_view bytes) {
    if (bytes.empty()) return {};  // the library takes no null pointers
    constexpr int variant = sodium_base64_VARIANT_ORIGINAL;
    const std::size_t room = sodium_base64_encoded_len(bytes.size(), variant);  // with a final zero
    std::string text(room, '\0');
    sodium_bin2base64(text.data(), room, reinterpret_cast<const unsigned char*>(bytes.data()),
                      bytes.size(), variant);
    text.resize(room - 1);
    return text;
}

std::optional<Data> base64Decoded(std::string_view text) {
    if (text.empty()) return Data();
    // The library takes some bytes beyond ASCII for "+" and "/".
    if (std::ranges::any_of(text, [](char each) { return (each & 0x80) != 0; }))
        return std::nullopt;
    Data bytes(text.size() / 4 * 3 + 3);
    std::size_t length = 0;
    if (sodium_base642bin(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, &length,
                          nullptr, sodium_base64_VARIANT_ORIGINAL) != 0) {
        return std::nullopt;
    }
    bytes.resize(length);
    return bytes;
}

}  // namespace korvel::platform
