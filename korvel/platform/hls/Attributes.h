#pragma once

#include <korvel/platform/hls/Playlist.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace korvel::platform::hls {

/// The attribute list of a tag; of a name given twice the first counts. Borrows the text.
class Attributes {
public:
    explicit Attributes(std::string_view list);
    /// Without quotes.
    std::optional<std::string_view> operator[](std::string_view name) const;
    std::string text(std::string_view name) const {
        return std::string((*this)[name].value_or(""));
    }
    bool isYes(std::string_view name) const { return (*this)[name] == "YES"; }

private:
    std::vector<std::pair<std::string_view, std::string_view>> all_;
};

/// Numbers as they begin `text`; nothing where none does, or one that is out of range.
std::optional<std::int64_t> integerIn(std::string_view text);
std::optional<double> decimalIn(std::string_view text);
/// Seconds; what is longer than a day, or no number, is none.
std::optional<std::chrono::nanoseconds> secondsIn(std::string_view text);
/// A date and time of day as ISO 8601 writes them, since the beginning of 1970; of the years 1970
/// to 2199.
std::optional<std::chrono::nanoseconds> dateIn(std::string_view text);

/// "<length>[@<offset>]"; without an offset it goes on at `next`.
std::optional<ByteRange> byteRangeIn(std::string_view text, std::uint64_t next);
/// "0x" and hexadecimal digits, filled up with zeros from the left.
std::optional<InitializationVector> initializationVectorIn(std::string_view text);

/// `line` with "{$name}" replaced by what is defined; as it is if it became too long.
std::string substituted(std::string_view line, const Definitions& definitions);

}  // namespace korvel::platform::hls
