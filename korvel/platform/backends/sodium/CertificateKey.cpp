#include <korvel/platform/backends/sodium/CertificateKey.h>

#include <sodium/crypto_sign_ed25519.h>

#include <algorithm>
#include <cstddef>
#include <span>

namespace korvel::platform {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint8_t integerTag = 0x02;
constexpr std::uint8_t bitStringTag = 0x03;
constexpr std::uint8_t objectIdentifierTag = 0x06;
constexpr std::uint8_t sequenceTag = 0x30;
constexpr std::uint8_t versionTag = 0xa0;

constexpr std::array<std::uint8_t, 3> x25519{0x2b, 0x65, 0x6e};   // 1.3.101.110
constexpr std::array<std::uint8_t, 3> ed25519{0x2b, 0x65, 0x70};  // 1.3.101.112

/// Reads DER elements one after another. After the first that does not fit, all are empty.
class DERReader {
public:
    explicit DERReader(Bytes bytes) : rest_(bytes) {}

    bool failed() const { return failed_; }
    bool nextIs(std::uint8_t tag) const { return !rest_.empty() && rest_.front() == tag; }

    /// The content of the next element, which must be a `tag`.
    Bytes read(std::uint8_t tag) {
        if (!nextIs(tag) || rest_.size() < 2) return fail();
        std::size_t length = rest_[1];
        std::size_t header = 2;
        if (length >= 0x80) {
            const std::size_t count = length & 0x7f;
            if (count == 0 || count > 4 || rest_.size() < header + count) return fail();
            length = 0;
            for (; header < 2 + count; ++header) length = length << 8 | rest_[header];
        }
        if (rest_.size() - header < length) return fail();
        const Bytes content = rest_.subspan(header, length);
        rest_ = rest_.subspan(header + length);
        return content;
    }

private:
    Bytes fail() {
        failed_ = true;
        rest_ = {};
        return {};
    }

    Bytes rest_;
    bool failed_ = false;
};

/// Certificate -> TBSCertificate -> SubjectPublicKeyInfo.
std::optional<DERReader> subjectKey(const Data& certificate) {
    DERReader outer(certificate);
    DERReader signedPart(outer.read(sequenceTag));
    DERReader fields(signedPart.read(sequenceTag));
    if (fields.nextIs(versionTag)) fields.read(versionTag);
    fields.read(integerTag);                               // serial number
    for (int i = 0; i < 4; ++i) fields.read(sequenceTag);  // algorithm, issuer, validity, subject
    const Bytes info = fields.read(sequenceTag);
    if (fields.failed()) return std::nullopt;
    return DERReader(info);
}

}  // namespace

std::optional<std::array<std::uint8_t, 32>> sealingKeyOfCertificate(const Data& certificate) {
    auto info = subjectKey(certificate);
    if (!info) return std::nullopt;
    const Bytes algorithm = DERReader(info->read(sequenceTag)).read(objectIdentifierTag);
    const Bytes bits = info->read(bitStringTag);
    std::array<std::uint8_t, 32> key{};
    if (bits.size() != key.size() + 1 || bits.front() != 0) return std::nullopt;  // unused bits
    std::copy(bits.begin() + 1, bits.end(), key.begin());
    if (std::ranges::equal(algorithm, x25519)) return key;
    if (!std::ranges::equal(algorithm, ed25519)) return std::nullopt;
    std::array<std::uint8_t, 32> counterpart{};
    if (crypto_sign_ed25519_pk_to_curve25519(counterpart.data(), key.data()) != 0) {
        return std::nullopt;  // no point of the curve
    }
    return counterpart;
}

}  // namespace korvel::platform
