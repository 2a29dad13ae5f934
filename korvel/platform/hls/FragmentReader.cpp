#include <korvel/platform/hls/FragmentReader.h>

#include <algorithm>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

/// Of what is kept whole: descriptions, not media.
constexpr std::uint64_t largestBox = std::uint64_t{16} << 20U;
constexpr std::uint32_t largestSample = std::uint32_t{32} << 20U;
constexpr std::size_t mostPlaces = 100'000;
constexpr std::uint32_t isNotSync = 0x10000;

}  // namespace

/// Where a track of a fragment stands while its runs are read.
struct FragmentReader::Run {
    std::size_t track;
    SampleDefaults defaults;
    std::uint64_t base;    ///< offsets count from here
    std::uint64_t offset;  ///< where the next sample lies
    std::int64_t decoded;
    std::shared_ptr<const FragmentProtection> protection{};  ///< null: samples are plain
    std::size_t number = 0;                                  ///< of the next sample
};

FragmentReader::FragmentReader(Bytes initialization, ContainerListener& listener,
                               std::optional<Encryption> samples)
    : listener_(listener), samples_(std::move(samples)) {
    if (const auto movie = boxIn(initialization, "moov")) describe(movie->content);
}

void FragmentReader::describe(Bytes movie) {
    if (std::exchange(isDescribed_, true)) return;
    tracks_ = tracksIn(movie, samples_.has_value());
    decoded_.assign(tracks_.size(), 0);
    const auto picture = std::find_if(tracks_.begin(), tracks_.end(), [](const auto& each) {
        return each.format && each.format->kind == Kind::picture;
    });
    if (picture != tracks_.end()) chosen_[0] = static_cast<std::size_t>(picture - tracks_.begin());
    chooseSound();
    for (const auto chosen : chosen_) {
        if (chosen != SIZE_MAX) listener_.format(tracks_[chosen].format);
    }
    listener_.formatsAreComplete();
}

void FragmentReader::chooseSound() {
    std::vector<SoundTrack> sounds;
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < tracks_.size(); ++i) {
        if (!tracks_[i].format || tracks_[i].format->kind != Kind::sound) continue;
        sounds.push_back({.language = tracks_[i].language});
        places.push_back(i);
    }
    if (!sounds.empty()) chosen_[1] = places.at(listener_.chooseSound(sounds));
}

void FragmentReader::push(Bytes bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    do {
        giveOut();
    } while (enterBox());
    forget(places_.empty() ? nextBox_ : std::min(nextBox_, places_.front().offset));
}

/// Takes the next box if it is there, or passes over it; false if more bytes are needed.
bool FragmentReader::enterBox() {
    if (nextBox_ < begin_ || end() < nextBox_ + 8) return false;
    const Bytes rest = Bytes(bytes_).subspan(static_cast<std::size_t>(nextBox_ - begin_));
    Fields fields(rest);
    std::uint64_t size = fields.word();
    fields.skip(4);
    if (size == 1 && rest.size() < 16) return false;
    const std::size_t head = size == 1 ? 16 : 8;
    if (size == 1) size = fields.number64();
    if (size == 0) size = UINT32_MAX;  // to the end of the segment
    if (size < head || size > UINT64_MAX / 2) {
        nextBox_ = UINT64_MAX / 2;  // nothing can be made of the rest
        return false;
    }
    const std::string_view type(reinterpret_cast<const char*>(&rest[4]), 4);
    const bool isTaken = (type == "moov" || type == "moof") && size <= largestBox;
    if (isTaken) {
        if (rest.size() < size) return false;
        // What samples it tells of may lie in front of it, but no box that is taken does.
        const Data whole(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(size));
        if (type == "moov") {
            describe(Bytes(whole).subspan(head));
        } else {
            fragment(whole, head, nextBox_);
        }
    }
    nextBox_ += size;
    return true;
}

void FragmentReader::fragment(Bytes moof, std::size_t head, std::uint64_t begin) {
    Boxes boxes(moof.subspan(head));
    while (const auto box = boxes.next()) {
        if (box->type == "traf") track(box->content, moof, begin);
    }
    std::stable_sort(places_.begin(), places_.end(),
                     [](const Place& a, const Place& b) { return a.offset < b.offset; });
}

void FragmentReader::track(Bytes content, Bytes moof, std::uint64_t begin) {
    const auto head = boxIn(content, "tfhd");
    if (!head) return;
    Fields fields(head->content);
    const auto flags = fields.word();
    const auto number = fields.word();
    const auto found = std::find_if(tracks_.begin(), tracks_.end(),
                                    [&](const auto& each) { return each.number == number; });
    if (found == tracks_.end() || !found->format) return;
    const auto index = static_cast<std::size_t>(found - tracks_.begin());
    if (chosen_.at(static_cast<std::size_t>(found->format->kind)) != index) return;
    Run state{index, found->defaults, begin, begin, decoded_[index]};
    // Where one is told, it is the fragment's own place in a file of which this may be a part.
    if ((flags & 0x1U) != 0) fields.skip(8);
    if ((flags & 0x2U) != 0) state.defaults.description = fields.word();
    if ((flags & 0x8U) != 0) state.defaults.duration = fields.word();
    if ((flags & 0x10U) != 0) state.defaults.size = fields.word();
    if ((flags & 0x20U) != 0) state.defaults.flags = fields.word();
    if (const auto time = boxIn(content, "tfdt")) {
        Fields decode(time->content);
        const bool isLong = decode.byte() == 1;
        decode.skip(3);
        const auto units = isLong ? decode.number64() : decode.word();
        if (units > UINT64_MAX / 4) return;
        state.decoded = static_cast<std::int64_t>(units);
    }
    if (!protect(state, content, moof)) return;
    Boxes boxes(content);
    while (const auto box = boxes.next()) {
        if (box->type == "trun") run(state, box->content);
    }
    decoded_[index] = state.decoded;
}

/// False if its samples cannot be opened.
bool FragmentReader::protect(Run& state, Bytes track, Bytes moof) {
    const auto& protections = tracks_[state.track].protections;
    const std::size_t entry = state.defaults.description - std::size_t{1};
    if (protections.empty()) return true;
    const auto& protection = protections[entry < protections.size() ? entry : 0];
    if (!protection) return true;
    auto read = FragmentProtection::read(protection, samples_, track, moof);
    if (const auto* reason = std::get_if<std::string>(&read)) {
        listener_.locked(*reason);
        return false;
    }
    state.protection = std::get<std::shared_ptr<const FragmentProtection>>(std::move(read));
    return true;
}

void FragmentReader::run(Run& state, Bytes content) {
    Fields fields(content);
    const auto flags = fields.word();
    auto count = fields.word();
    if ((flags & 0x1U) != 0) {
        const auto offset = static_cast<std::int32_t>(fields.word());
        state.offset = state.base + static_cast<std::uint64_t>(std::int64_t{offset});
    }
    std::optional<std::uint32_t> firstFlags;
    if ((flags & 0x4U) != 0) firstFlags = fields.word();
    const bool isListed = (flags & 0xF00U) != 0;
    if (!isListed && state.defaults.size == 0) return;
    for (; count > 0 && places_.size() < mostPlaces; --count) {
        if (isListed && fields.isOver()) return;
        SampleDefaults sample = state.defaults;
        std::int32_t composition = 0;
        if ((flags & 0x100U) != 0) sample.duration = fields.word();
        if ((flags & 0x200U) != 0) sample.size = fields.word();
        if ((flags & 0x400U) != 0) sample.flags = fields.word();
        if ((flags & 0x800U) != 0) composition = static_cast<std::int32_t>(fields.word());
        if (firstFlags) sample.flags = *std::exchange(firstFlags, std::nullopt);
        if (sample.size > largestSample || state.decoded > INT64_MAX / 2) return;
        if (sample.size > 0) place(state, sample, composition);
        state.offset += sample.size;
        state.decoded += sample.duration;
        ++state.number;
    }
}

void FragmentReader::place(Run& state, const SampleDefaults& sample, std::int32_t composition) {
    const FragmentTrack& track = tracks_[state.track];
    const auto dts = track.time(state.decoded);
    const auto pts = track.time(state.decoded + composition);
    const auto end = track.time(state.decoded + sample.duration);
    if (!dts || !pts || !end || state.offset > UINT64_MAX / 2) return;
    const bool isPicture = track.format->kind == Kind::picture;
    places_.push_back({state.offset, sample.size, state.track, *dts + track.editShift,
                       *pts + track.editShift, *end - *dts,
                       !isPicture || (sample.flags & isNotSync) == 0, state.protection,
                       state.number});
}

void FragmentReader::giveOut() {
    while (!places_.empty()) {
        const Place next = places_.front();
        if (next.offset >= begin_ && next.offset + next.size > end()) return;
        places_.pop_front();
        if (next.offset < begin_) continue;  // gone by already
        const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(next.offset - begin_);
        Sample sample{.bytes = Data(begin, begin + next.size),
                      .pts = next.pts,
                      .dts = next.dts,
                      .duration = next.duration,
                      .isKey = next.isKey};
        const auto reason =
            next.protection ? next.protection->decrypt(next.number, sample.bytes) : std::nullopt;
        if (reason) {
            listener_.locked(*reason);
        } else {
            listener_.sample(tracks_[next.track].format->kind, std::move(sample));
        }
    }
}

void FragmentReader::forget(std::uint64_t until) {
    const auto count = std::min<std::uint64_t>(until - std::min(until, begin_), bytes_.size());
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(count));
    begin_ += count;
}

}  // namespace korvel::platform::hls
