#include <korvel/platform/hls/AccessUnit.h>

#include <algorithm>
#include <cstring>

namespace korvel::platform::hls {

using Bytes = std::span<const std::uint8_t>;

namespace {

/// Where the next unit begins, behind its start code; the end if there is none.
std::size_t nextUnit(Bytes bytes, std::size_t from) {
    while (from + 3 <= bytes.size()) {
        const void* found = std::memchr(bytes.data() + from, 1, bytes.size() - from);
        if (!found) return bytes.size();
        const auto at =
            static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes.data());
        if (at >= 2 && bytes[at - 1] == 0 && bytes[at - 2] == 0) return at + 1;
        from = at + 1;
    }
    return bytes.size();
}

class Bits {
public:
    explicit Bits(Bytes bytes) : bytes_(bytes) {}
    unsigned bit() {
        if (at_ / 8 >= bytes_.size()) return 0;
        const unsigned value = (bytes_[at_ / 8] >> (7 - at_ % 8)) & 1U;
        ++at_;
        return value;
    }
    unsigned exponential() {
        unsigned zeros = 0;
        while (zeros < 32 && at_ / 8 < bytes_.size() && bit() == 0) ++zeros;
        if (zeros >= 32) return 0;
        unsigned rest = 0;
        for (unsigned i = 0; i < zeros; ++i) rest = (rest << 1U) | bit();
        return (1U << zeros) - 1 + rest;
    }

private:
    Bytes bytes_;
    std::size_t at_ = 0;
};

bool isIntraSlice(Bytes slice) {
    Bits bits(slice.subspan(0, std::min<std::size_t>(slice.size(), 16)));
    bits.exponential();  // first macroblock
    const unsigned type = bits.exponential() % 5;
    return type == 2 || type == 4;
}

bool isParameterSet(VideoCodec codec, std::uint8_t head) {
    const unsigned type = codec == VideoCodec::h264 ? head & 31U : (head >> 1U) & 63U;
    return codec == VideoCodec::h264 ? type == 7 || type == 8 : type >= 32 && type <= 34;
}

}  // namespace

void eachUnit(Bytes bytes, const std::function<bool(Bytes unit)>& visit) {
    for (auto at = nextUnit(bytes, 0); at < bytes.size();) {
        const auto next = nextUnit(bytes, at);
        const bool isLast = next == bytes.size();
        auto unit =
            bytes.subspan(at, next - at - (isLast ? 0 : std::min<std::size_t>(next - at, 3)));
        while (unit.size() > 1 && unit.back() == 0) unit = unit.first(unit.size() - 1);
        if (!unit.empty() && !visit(unit)) return;
        at = next;
    }
}

AccessUnit inspected(VideoCodec codec, Bytes bytes) {
    AccessUnit found;
    eachUnit(bytes, [&](Bytes unit) {
        const std::uint8_t head = unit[0];
        if (codec == VideoCodec::h264) {
            const unsigned type = head & 31U;
            found.hasParameters |= type == 7;
            if (type == 5) found.isKey = true;
            if (type == 1) found.isKey = isIntraSlice(unit.subspan(1));
            return type != 1 && type != 5;  // the first slice tells
        }
        if (codec == VideoCodec::h265) {
            const unsigned type = (head >> 1U) & 63U;
            found.hasParameters |= type == 33;
            if (type < 32) found.isKey = type >= 16 && type <= 23;
            return type >= 32;
        }
        if (head == 0xB3) found.hasParameters = true;
        if (head == 0 && unit.size() > 2) found.isKey = ((unit[2] >> 3U) & 7U) == 1;
        return head != 0;
    });
    return found;
}

Data parametersIn(VideoCodec codec, Bytes bytes) {
    Data parameters;
    if (codec == VideoCodec::mpeg2) return parameters;
    eachUnit(bytes, [&](Bytes unit) {
        if (!isParameterSet(codec, unit[0])) return true;
        const std::uint8_t code[] = {0, 0, 0, 1};
        parameters.insert(parameters.end(), std::begin(code), std::end(code));
        parameters.insert(parameters.end(), unit.begin(), unit.end());
        return parameters.size() < 4096;
    });
    return parameters;
}

}  // namespace korvel::platform::hls
