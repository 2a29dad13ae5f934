#include <korvel/platform/hls/ElementaryDecryption.h>
#include <korvel/platform/hls/PackedAudioReader.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

constexpr std::size_t tagHead = 10;
constexpr std::size_t longestTag = std::size_t{256} << 10U;  ///< pictures of covers are passed over
/// Junk in front of the first frame.
constexpr std::size_t mostJunk = 8192;
constexpr std::string_view owner = "com.apple.streaming.transportStreamTimestamp";

std::optional<nanoseconds> timeIn(ContainerReader::Bytes tag) {
    const std::string_view text(reinterpret_cast<const char*>(tag.data()), tag.size());
    const auto found = text.find(owner);
    const auto at = found + owner.size() + 1;
    if (found == text.npos || at + 8 > tag.size()) return std::nullopt;
    std::uint64_t ticks = 0;
    for (std::size_t i = 0; i < 8; ++i) ticks = (ticks << 8U) | tag[at + i];
    return nanoseconds(static_cast<std::int64_t>(ticks & 0x1FFFFFFFFU) * 100'000 / 9);
}

}  // namespace

std::optional<std::size_t> tagSize(ContainerReader::Bytes bytes, bool isWhole) {
    constexpr std::string_view name = "ID3";
    const auto there = std::min(bytes.size(), name.size());
    if (std::string_view(reinterpret_cast<const char*>(bytes.data()), there) !=
        name.substr(0, there)) {
        return 0;
    }
    if (bytes.size() < tagHead) return isWhole ? std::optional<std::size_t>(0) : std::nullopt;
    std::size_t size = 0;
    for (std::size_t i = 6; i < tagHead; ++i) size = (size << 7U) | (bytes[i] & 127U);
    return size + tagHead;
}

void PackedAudioReader::push(Bytes bytes) {
    if (isRefused_) return;
    if (frames_) return frames_->push(bytes, std::nullopt);
    const auto skipped = std::min(skip_, bytes.size());
    skip_ -= skipped;
    bytes = bytes.subspan(skipped);
    head_.insert(head_.end(), bytes.begin(), bytes.end());
    begin(false);
}

bool PackedAudioReader::passTags(bool isWhole) {
    while (!head_.empty()) {
        const auto size = tagSize(head_, isWhole);
        if (!size) return false;
        if (*size == 0) return true;
        if (head_.size() < *size && *size < longestTag && !isWhole) return false;
        const auto there = std::min(*size, head_.size());
        if (const auto time = timeIn(Bytes(head_).first(there)); time && !time_) time_ = time;
        head_.erase(head_.begin(), head_.begin() + static_cast<std::ptrdiff_t>(there));
        skip_ = *size - there;
    }
    return false;
}

void PackedAudioReader::begin(bool isWhole) {
    if (skip_ > 0 || !passTags(isWhole)) return;
    for (std::size_t at = 0; at + 8 <= head_.size() && at < mostJunk; ++at) {
        const Bytes rest = Bytes(head_).subspan(at);
        const auto codec = audioCodecOf(rest);
        if (!codec) continue;
        frames_ = std::make_unique<AudioFrames>(
            *codec, [this, codec = *codec](Sample sample) { frame(codec, std::move(sample)); });
        listener_.format(formatOf(*codec));
        listener_.formatsAreComplete();
        frames_->push(rest, time_.value_or(nanoseconds::zero()));
        head_ = {};
        return;
    }
    isRefused_ = head_.size() > mostJunk;
}

void PackedAudioReader::frame(AudioCodec codec, Sample sample) {
    if (samples_ && !decryptFrame(codec, sample.bytes, *samples_))
        return listener_.locked("A frame of sound is not decrypted");
    listener_.sample(Kind::sound, std::move(sample));
}

void PackedAudioReader::finish() {
    if (!frames_) begin(true);
    if (frames_) frames_->finish();
}

}  // namespace korvel::platform::hls
