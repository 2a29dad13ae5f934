#include <korvel/platform/hls/AccessUnit.h>
#include <korvel/platform/hls/ElementaryDecryption.h>

#include <span>
#include <vector>

namespace korvel::platform::hls {

namespace {

using Range = std::span<std::uint8_t>;

constexpr std::size_t longestPlainUnit = 48;
constexpr std::size_t plainUnitHead = 32;
constexpr std::size_t plainFrameHead = 16;
constexpr std::size_t patternSize = 10 * cipherBlock;

/// Without the bytes that keep what is encrypted from looking like a start code.
Data withoutEmulation(std::span<const std::uint8_t> unit) {
    Data bytes;
    bytes.reserve(unit.size());
    unsigned zeros = 0;
    for (std::size_t at = 0; at < unit.size(); ++at) {
        const bool isAdded = zeros >= 2 && unit[at] == 3 && at + 1 < unit.size();
        zeros = unit[at] == 0 ? zeros + 1 : 0;
        if (!isAdded) bytes.push_back(unit[at]);
    }
    return bytes;
}

/// Whether there is what no unit may hold. Packagers encrypt units as they find them, such bytes
/// among them; others take them out first, so that they are missing here.
bool isBare(const Data& unit) {
    for (std::size_t at = 2; at < unit.size(); ++at) {
        if (unit[at] < 3 && unit[at - 1] == 0 && unit[at - 2] == 0) return true;
    }
    return false;
}

void append(Data& to, const Data& unit) {
    if (!isBare(unit)) {
        to.insert(to.end(), unit.begin(), unit.end());
        return;
    }
    unsigned zeros = 0;
    for (const auto byte : unit) {
        if (zeros >= 2 && byte <= 3) {
            to.push_back(3);
            zeros = 0;
        }
        to.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
}

/// One block of ten, as long as something lies behind it.
bool decryptUnit(Data& unit, const Encryption& how) {
    std::vector<Range> blocks;
    for (std::size_t at = plainUnitHead; at + cipherBlock < unit.size(); at += patternSize)
        blocks.push_back(Range(unit).subspan(at, cipherBlock));
    return blocks.empty() || how.samples->decrypt(how.key, how.vector, blocks);
}

}  // namespace

std::optional<unsigned> plainStreamType(unsigned type) {
    switch (type) {
        case 0xDB:
            return 0x1B;  // H.264
        case 0xCF:
            return 0x0F;  // AAC
        case 0xC1:
            return 0x81;  // AC-3
        case 0xC2:
            return 0x87;  // E-AC-3
        default:
            return std::nullopt;
    }
}

bool decryptPicture(Data& bytes, const Encryption& how) {
    Data plain;
    plain.reserve(bytes.size());
    std::size_t done = 0;
    const auto copy = [&](std::size_t until) {
        plain.insert(plain.end(), bytes.begin() + static_cast<std::ptrdiff_t>(done),
                     bytes.begin() + static_cast<std::ptrdiff_t>(until));
    };
    bool works = true;
    eachUnit(bytes, [&](std::span<const std::uint8_t> unit) {
        const unsigned type = unit[0] & 31U;
        if ((type != 1 && type != 5) || unit.size() <= longestPlainUnit) return true;
        const auto begin = static_cast<std::size_t>(unit.data() - bytes.data());
        copy(begin);
        done = begin + unit.size();
        Data opened = withoutEmulation(unit);
        works = decryptUnit(opened, how);
        append(plain, opened);
        return works;
    });
    copy(bytes.size());
    bytes = std::move(plain);
    return works;
}

bool decryptFrame(AudioCodec codec, Data& frame, const Encryption& how) {
    if (codec != AudioCodec::aac && codec != AudioCodec::ac3 && codec != AudioCodec::eac3)
        return false;
    std::size_t head = plainFrameHead;
    if (codec == AudioCodec::aac) head += frame.size() > 1 && (frame[1] & 1U) != 0 ? 7 : 9;
    if (frame.size() < head + cipherBlock) return true;
    const std::size_t size = (frame.size() - head) / cipherBlock * cipherBlock;
    const Range encrypted = Range(frame).subspan(head, size);
    return how.samples->decrypt(how.key, how.vector, {&encrypted, 1});
}

}  // namespace korvel::platform::hls
