#include <korvel/platform/hls/Encryption.h>

namespace korvel::platform::hls {

InitializationVector vectorOf(const KeyTag& key, std::int64_t segmentNumber) {
    if (key.iv) return *key.iv;
    InitializationVector vector{};
    auto number = static_cast<std::uint64_t>(segmentNumber);
    for (std::size_t i = vector.size(); number > 0; number >>= 8U) {
        vector.at(--i) = static_cast<std::uint8_t>(number & 255U);
    }
    return vector;
}

bool isOfBodies(const KeyTag& key) { return key.method == "AES-128"; }

std::optional<SampleCipher::Scheme> sampleScheme(const KeyTag& key) {
    if (key.method == "SAMPLE-AES") return SampleCipher::Scheme::cbc;
    if (key.method == "SAMPLE-AES-CTR") return SampleCipher::Scheme::ctr;
    return std::nullopt;
}

}  // namespace korvel::platform::hls
