#pragma once

#include <korvel/platform/hls/ContainerReader.h>
#include <korvel/platform/hls/FragmentTrack.h>

#include <array>
#include <cstdint>
#include <deque>
#include <vector>

namespace korvel::platform::hls {

/// Fragmented MP4. Samples come as soon as their bytes are there, in the order in which they lie in
/// the file; edit lists are part of their times.
class FragmentReader final : public ContainerReader {
public:
    FragmentReader(Bytes initialization, ContainerListener& listener,
                   std::optional<Encryption> samples = {});
    void push(Bytes bytes) override;
    void finish() override {}

private:
    /// A sample whose bytes are awaited.
    struct Place {
        std::uint64_t offset;  ///< in the segment
        std::uint32_t size;
        std::size_t track;
        std::chrono::nanoseconds dts;
        std::chrono::nanoseconds pts;
        std::chrono::nanoseconds duration;
        bool isKey;
        std::shared_ptr<const FragmentProtection> protection;  ///< null: it is plain
        std::size_t number;                                    ///< by which that knows it
    };
    struct Run;

    void describe(Bytes movie);
    void chooseSound();
    bool enterBox();
    void fragment(Bytes moof, std::size_t head, std::uint64_t begin);
    void track(Bytes content, Bytes moof, std::uint64_t begin);
    bool protect(Run& state, Bytes track, Bytes moof);
    void run(Run& state, Bytes content);
    void place(Run& state, const SampleDefaults& sample, std::int32_t composition);
    void giveOut();
    void forget(std::uint64_t until);

    std::uint64_t end() const { return begin_ + bytes_.size(); }

    ContainerListener& listener_;
    const std::optional<Encryption> samples_;
    std::vector<FragmentTrack> tracks_;
    std::array<std::size_t, 2> chosen_{SIZE_MAX, SIZE_MAX};  ///< track of each kind
    std::vector<std::int64_t> decoded_;  ///< per track: where its samples go on, in its units
    Data bytes_;                         ///< of the segment, from `begin_` on
    std::uint64_t begin_ = 0;
    std::uint64_t nextBox_ = 0;  ///< where the next box begins
    std::deque<Place> places_;   ///< by offset
    bool isDescribed_ = false;
};

}  // namespace korvel::platform::hls
