#pragma once

#include <korvel/platform/foundation/Data.h>
#include <korvel/platform/hls/Boxes.h>
#include <korvel/platform/hls/Encryption.h>
#include <korvel/platform/hls/Media.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace korvel::platform::hls {

/// How the samples of a sample entry are encrypted, as the initialization section tells.
struct Protection {
    std::string type;                 ///< of the sample entry, were they not
    std::string scheme{};             ///< as in the file: "cbcs", "cenc", ...
    bool isPlain = false;             ///< they are not encrypted, though they might be
    std::size_t encryptedBlocks = 0;  ///< of a pattern that repeats; 0: all are
    std::size_t plainBlocks = 0;
    std::size_t vectorSize = 0;  ///< bytes of each sample's vector; 0: `vector` is that of all
    InitializationVector vector{};
    Data group{};        ///< what a group of samples says that are encrypted so
    std::string flaw{};  ///< why they cannot be opened, as a sentence without its end; empty: none
};

/// Null if the samples are plain.
std::shared_ptr<const Protection> protectionOf(const Box& sampleEntry, Kind kind);

/// What a fragment tells of the encryption of a track's samples. One thread.
class FragmentProtection {
public:
    using Bytes = Fields::Bytes;
    /// `track` is the content of a "traf" box, `moof` all of the box around it. The reason if its
    /// samples cannot be opened, as a sentence without its end; null if they are plain.
    static std::variant<std::shared_ptr<const FragmentProtection>, std::string> read(
        const std::shared_ptr<const Protection>& protection,
        const std::optional<Encryption>& encryption, Bytes track, Bytes moof);

    /// Decrypts the sample of that number, counted from 0, in place. The reason if it cannot be
    /// opened; it is not to be used then.
    std::optional<std::string> decrypt(std::size_t number, Data& sample) const;

private:
    using Range = std::span<std::uint8_t>;
    FragmentProtection(std::shared_ptr<const Protection> protection, Encryption encryption)
        : protection_(std::move(protection)), encryption_(std::move(encryption)) {}

    std::string readRecords(Bytes track, Bytes moof);
    std::string readList(Bytes list);
    std::string readSizes(Bytes sizes, Bytes places, Bytes moof);
    bool decrypt(const InitializationVector& vector, const std::vector<Range>& parts) const;

    const std::shared_ptr<const Protection> protection_;
    const Encryption encryption_;
    Data records_;                     ///< a vector and parts for each sample
    std::vector<std::size_t> begins_;  ///< where they begin, and behind the last
};

}  // namespace korvel::platform::hls
