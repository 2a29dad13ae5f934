#pragma once

#include <korvel/platform/hls/Boxes.h>
#include <korvel/platform/hls/FragmentProtection.h>
#include <korvel/platform/hls/Media.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform::hls {

/// What holds for each sample of which a fragment says nothing else.
struct SampleDefaults {
    std::uint32_t description = 1;  ///< number of its sample entry
    std::uint32_t duration = 0;
    std::uint32_t size = 0;
    std::uint32_t flags = 0;
};

/// A track of fragments, as the initialization section describes it.
struct FragmentTrack {
    std::uint32_t number = 0;
    std::uint32_t timescale = 0;             ///< units a second; never zero
    std::chrono::nanoseconds editShift{};    ///< by its edit list: to be added to its times
    std::shared_ptr<const Format> format{};  ///< null: of no use to us
    std::string language{};                  ///< as a tag; empty: not told
    bool isWebVTT = false;
    SampleDefaults defaults{};
    /// By sample entry; null: its samples are plain.
    std::vector<std::shared_ptr<const Protection>> protections{};

    /// Units as a time; nothing beyond what a stream may last.
    std::optional<std::chrono::nanoseconds> time(std::int64_t units) const;
};

/// The tracks of a "moov" box. `opensSamples`: encrypted ones are of use.
std::vector<FragmentTrack> tracksIn(Fields::Bytes movie, bool opensSamples = false);

/// The format that a sample entry describes; null for one that is unknown or encrypted.
std::shared_ptr<const Format> formatOf(const Box& sampleEntry, Kind kind);

}  // namespace korvel::platform::hls
