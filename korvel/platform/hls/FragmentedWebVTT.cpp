#include <korvel/platform/foundation/UTF8.h>
#include <korvel/platform/hls/FragmentTrack.h>
#include <korvel/platform/hls/WebVTT.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <utility>

namespace korvel::platform::hls {

namespace {

constexpr std::size_t mostFragmentCues = 10'000;

std::string textIn(Fields::Bytes box, std::string_view type) {
    const auto found = boxIn(box, type);
    if (!found) return {};
    return repairedUTF8(std::string(found->content.begin(), found->content.end()));
}

/// The fragments of one segment, all of whose bytes are there.
class Fragments {
public:
    Fragments(const FragmentTrack& track, Fields::Bytes segment)
        : track_(track), segment_(segment) {}

    WebVTT read() && {
        Boxes boxes(segment_);
        std::size_t begin = 0;
        while (const auto box = boxes.next()) {
            if (box->type == "moof") fragment(box->content, begin);
            begin = static_cast<std::size_t>(box->content.data() - segment_.data()) +
                    box->content.size();
        }
        return std::move(file_);
    }

private:
    void fragment(Fields::Bytes content, std::size_t begin) {
        Boxes boxes(content);
        while (const auto box = boxes.next()) {
            const auto head = box->type == "traf" ? boxIn(box->content, "tfhd") : std::nullopt;
            if (!head) continue;
            Fields fields(head->content);
            const auto flags = fields.word();
            if (fields.word() != track_.number) continue;
            defaults_ = track_.defaults;
            if ((flags & 0x1U) != 0) fields.skip(8);
            if ((flags & 0x2U) != 0) fields.skip(4);
            if ((flags & 0x8U) != 0) defaults_.duration = fields.word();
            if ((flags & 0x10U) != 0) defaults_.size = fields.word();
            runs(box->content, begin);
        }
    }

    void runs(Fields::Bytes content, std::size_t begin) {
        if (const auto time = boxIn(content, "tfdt")) {
            Fields fields(time->content);
            const bool isLong = fields.byte() == 1;
            fields.skip(3);
            const auto units = isLong ? fields.number64() : fields.word();
            at_ = static_cast<std::int64_t>(std::min<std::uint64_t>(units, INT64_MAX / 4));
        }
        offset_ = begin;
        Boxes boxes(content);
        while (const auto box = boxes.next()) {
            if (box->type == "trun") run(box->content, begin);
        }
    }

    void run(Fields::Bytes content, std::size_t begin) {
        Fields fields(content);
        const auto flags = fields.word();
        auto count = fields.word();
        if ((flags & 0x1U) != 0) offset_ = begin + fields.word();
        if ((flags & 0x4U) != 0) fields.skip(4);
        const bool isListed = (flags & 0xF00U) != 0;
        for (; count > 0 && file_.cues.size() < mostFragmentCues; --count) {
            if (isListed ? fields.isOver() : defaults_.size == 0) return;
            const auto duration = (flags & 0x100U) != 0 ? fields.word() : defaults_.duration;
            const auto size = (flags & 0x200U) != 0 ? fields.word() : defaults_.size;
            if ((flags & 0x400U) != 0) fields.skip(4);
            // When it is shown is when it is decoded: cues do not lean on each other.
            if ((flags & 0x800U) != 0) fields.skip(4);
            if (offset_ > segment_.size() || size > segment_.size() - offset_) return;
            if (at_ > INT64_MAX / 2) return;
            sample(segment_.subspan(offset_, size), duration);
            offset_ += size;
            at_ += duration;
        }
    }

    /// Nothing, or all that is said for as long as it lasts.
    void sample(Fields::Bytes bytes, std::uint32_t duration) {
        const auto start = track_.time(at_);
        const auto end = track_.time(at_ + duration);
        // Some count from 1970; more than twice as much is no time, and could not be reckoned with.
        constexpr std::chrono::nanoseconds most = std::chrono::hours(24 * 365 * 70);
        if (!start || !end || std::chrono::abs(track_.editShift) > most || *end > most) return;
        Boxes boxes(bytes);
        while (const auto box = boxes.next()) {
            if (box->type != "vttc" || file_.cues.size() >= mostFragmentCues) continue;
            auto cue = cueOf(*start + track_.editShift, *end + track_.editShift,
                             textIn(box->content, "sttg"), textIn(box->content, "payl"));
            if (cue) file_.cues.push_back(*std::move(cue));
        }
    }

    const FragmentTrack& track_;
    const Fields::Bytes segment_;
    WebVTT file_{.map = WebVTT::Map{}};  // its times are the containers'
    SampleDefaults defaults_;
    std::size_t offset_ = 0;
    std::int64_t at_ = 0;
};

}  // namespace

std::optional<WebVTT> readFragmentedWebVTT(std::span<const std::uint8_t> initialization,
                                           std::span<const std::uint8_t> segment) {
    const auto movie = boxIn(initialization, "moov");
    if (!movie) return std::nullopt;
    const auto tracks = tracksIn(movie->content);
    const auto track = std::find_if(tracks.begin(), tracks.end(),
                                    [](const FragmentTrack& each) { return each.isWebVTT; });
    if (track == tracks.end()) return std::nullopt;
    return Fragments(*track, segment).read();
}

}  // namespace korvel::platform::hls
