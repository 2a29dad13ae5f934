#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace korvel::platform::hls {

/// Reads big-endian numbers; beyond the end they are zero.
class Fields {
public:
    using Bytes = std::span<const std::uint8_t>;
    explicit Fields(Bytes bytes) : bytes_(bytes) {}

    std::uint64_t number(std::size_t size) {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            value = (value << 8U) | (at_ < bytes_.size() ? bytes_[at_] : 0U);
            ++at_;
        }
        return value;
    }
    std::uint8_t byte() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t half() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t word() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t number64() { return number(8); }
    void skip(std::size_t size) { at_ += size; }
    bool isOver() const { return at_ >= bytes_.size(); }
    std::size_t left() const { return isOver() ? 0 : bytes_.size() - at_; }
    Bytes rest() const { return isOver() ? Bytes() : bytes_.subspan(at_); }

private:
    Bytes bytes_;
    std::size_t at_ = 0;
};

struct Box {
    std::string_view type;
    Fields::Bytes content;
};

/// The boxes that lie in `bytes` one after the other; ends where one does not fit.
class Boxes {
public:
    explicit Boxes(Fields::Bytes bytes) : rest_(bytes) {}
    std::optional<Box> next() {
        if (rest_.size() < 8) return std::nullopt;
        Fields fields(rest_);
        std::uint64_t size = fields.word();
        fields.skip(4);
        std::size_t head = 8;
        if (size == 1) {
            size = fields.number64();
            head = 16;
        }
        if (size == 0) size = rest_.size();
        if (size < head || size > rest_.size()) return std::nullopt;
        const auto whole = rest_.first(static_cast<std::size_t>(size));
        rest_ = rest_.subspan(whole.size());
        return Box{std::string_view(reinterpret_cast<const char*>(&whole[4]), 4),
                   whole.subspan(head)};
    }

private:
    Fields::Bytes rest_;
};

/// The first box of that type in `bytes`.
inline std::optional<Box> boxIn(Fields::Bytes bytes, std::string_view type) {
    Boxes boxes(bytes);
    while (const auto box = boxes.next()) {
        if (box->type == type) return box;
    }
    return std::nullopt;
}

}  // namespace korvel::platform::hls
