#include <korvel/platform/hls/AudioFrames.h>

#include <algorithm>
#include <array>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;
using Bytes = std::span<const std::uint8_t>;

namespace {

constexpr std::size_t longestHeader = 8;
constexpr std::size_t longestOpusHeader = 48;
constexpr std::size_t longestOpusPacket = 61'200;  // 48 frames
constexpr std::size_t mostMarks = 1024;

struct Frame {
    std::size_t size = 0;
    unsigned samples = 0;
    unsigned rate = 0;
    std::size_t skip = 0;  ///< of the size, what the decoder does not want
};

std::optional<Frame> adtsFrame(Bytes head) {
    constexpr std::array<unsigned, 13> rates{96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                             22050, 16000, 12000, 11025, 8000,  7350};
    if (head.size() < 7 || head[0] != 0xFF || (head[1] & 0xF6U) != 0xF0) return std::nullopt;
    const unsigned rate = (head[2] >> 2U) & 15U;
    const std::size_t size = ((head[3] & 3U) << 11U) | (unsigned{head[4]} << 3U) | (head[5] >> 5U);
    if (rate >= rates.size() || size < 7) return std::nullopt;
    return Frame{size, ((head[6] & 3U) + 1) * 1024U, rates.at(rate)};
}

std::optional<Frame> mpegFrame(Bytes head) {
    constexpr std::array<std::array<unsigned, 15>, 5> kilobits{{
        {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},  // 1, layer I
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},     // 1, layer II
        {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},      // 1, layer III
        {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},     // 2, layer I
        {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},          // 2, II and III
    }};
    constexpr std::array<unsigned, 3> rates{44100, 48000, 32000};
    if (head.size() < 4 || head[0] != 0xFF || (head[1] & 0xE0U) != 0xE0) return std::nullopt;
    const unsigned version = (head[1] >> 3U) & 3U;  // 3: 1, 2: 2, 0: 2.5
    const unsigned layer = 4 - ((head[1] >> 1U) & 3U);
    const unsigned bits = head[2] >> 4U;
    const unsigned place = (head[2] >> 2U) & 3U;
    if (version == 1 || layer == 4 || bits == 0 || bits == 15 || place == 3) return std::nullopt;
    const std::size_t table = version == 3 ? layer - 1 : (layer == 1 ? 3 : 4);
    const unsigned rate = rates.at(place) >> (version == 3 ? 0U : version == 2 ? 1U : 2U);
    const unsigned padding = (head[2] >> 1U) & 1U;
    const unsigned speed = kilobits.at(table).at(bits) * 1000;
    if (layer == 1) return Frame{std::size_t{4} * (12 * speed / rate + padding), 384, rate};
    const unsigned samples = layer == 3 && version != 3 ? 576 : 1152;
    return Frame{samples / 8 * speed / rate + padding, samples, rate};
}

std::optional<Frame> dolbyFrame(Bytes head) {
    constexpr std::array<unsigned, 3> rates{48000, 44100, 32000};
    constexpr std::array<unsigned, 19> kilobits{32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                                                192, 224, 256, 320, 384, 448, 512, 576, 640};
    if (head.size() < 6 || head[0] != 0x0B || head[1] != 0x77) return std::nullopt;
    const unsigned place = head[4] >> 6U;
    if ((head[5] >> 3U) > 10) {  // enhanced
        constexpr std::array<unsigned, 4> blocks{1, 2, 3, 6};
        const std::size_t words = ((head[2] & 7U) << 8U) | head[3];
        const unsigned half = (head[4] >> 4U) & 3U;
        if (place == 3 && half == 3) return std::nullopt;
        const unsigned rate = place == 3 ? rates.at(half) / 2 : rates.at(place);
        // Of dependent substreams, which go with the frame before, no time passes.
        const bool isDependent = (head[2] >> 6U) == 1;
        const unsigned count = place == 3 ? 6 : blocks.at(half);
        return Frame{(words + 1) * 2, isDependent ? 0 : count * 256, rate};
    }
    const unsigned code = head[4] & 63U;
    if (place == 3 || code / 2 >= kilobits.size()) return std::nullopt;
    const unsigned speed = kilobits.at(code / 2);
    const std::size_t words = place == 0   ? speed * 2
                              : place == 2 ? speed * 3
                                           : speed * 96000 / 44100 + (code & 1U);
    return Frame{words * 2, 1536, rates.at(place)};
}

/// How many samples the packet that begins so holds, at 48 kHz.
unsigned opusSamples(Bytes packet) {
    constexpr std::array<unsigned, 4> voice{480, 960, 1920, 2880};
    constexpr std::array<unsigned, 4> music{120, 240, 480, 960};
    const unsigned configuration = packet[0] >> 3U;
    const unsigned length = configuration < 12   ? voice.at(configuration & 3U)
                            : configuration < 16 ? voice.at(configuration & 1U)
                                                 : music.at(configuration & 3U);
    const unsigned code = packet[0] & 3U;
    const unsigned count = code == 0           ? 1U
                           : code < 3          ? 2U
                           : packet.size() > 1 ? packet[1] & 63U
                                               : 0U;
    return std::min(count * length, 5760U);
}

/// In front of each packet stands how long it is, and what is to be trimmed of it.
std::optional<Frame> opusFrame(Bytes head) {
    if (head.size() < 4 || head[0] != 0x7F || (head[1] & 0xE0U) != 0xE0) return std::nullopt;
    std::size_t at = 2;
    std::size_t size = 0;
    while (at + 1 < head.size() && head[at] == 0xFF && size <= longestOpusPacket)
        size += head[at++];
    size += head[at++];
    if ((head[1] & 0x10U) != 0) at += 2;
    if ((head[1] & 0x08U) != 0) at += 2;
    if ((head[1] & 0x04U) != 0 && at < head.size()) at += 1U + head[at];
    if (size == 0 || size > longestOpusPacket || at >= head.size()) return std::nullopt;
    return Frame{at + size, opusSamples(head.subspan(at)), 48'000, at};
}

std::optional<Frame> frameOf(AudioCodec codec, Bytes head) {
    switch (codec) {
        case AudioCodec::aac:
            return adtsFrame(head);
        case AudioCodec::mpeg:
            return mpegFrame(head);
        case AudioCodec::opus:
            return opusFrame(head);
        default:
            return dolbyFrame(head);
    }
}

}  // namespace

std::optional<AudioCodec> audioCodecOf(Bytes beginning) {
    if (adtsFrame(beginning)) return AudioCodec::aac;
    if (mpegFrame(beginning)) return AudioCodec::mpeg;
    if (!dolbyFrame(beginning)) return std::nullopt;
    return (beginning[5] >> 3U) > 10 ? AudioCodec::eac3 : AudioCodec::ac3;
}

std::shared_ptr<const Format> formatOf(AudioCodec codec) {
    constexpr std::array<const char*, 5> caps{
        "audio/mpeg, mpegversion=(int)4, stream-format=(string)adts",
        "audio/mpeg, mpegversion=(int)1", "audio/x-ac3", "audio/x-eac3", "audio/x-opus"};
    return std::make_shared<const Format>(
        Format{Kind::sound, caps.at(static_cast<std::size_t>(codec))});
}

void AudioFrames::push(Bytes bytes, std::optional<nanoseconds> time) {
    if (time && marks_.size() < mostMarks) marks_.push_back({before_ + bytes_.size(), *time});
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    cut(false);
}

void AudioFrames::finish() { cut(true); }

void AudioFrames::cut(bool isWhole) {
    std::size_t at = 0;
    const auto enough = codec_ == AudioCodec::opus ? longestOpusHeader : longestHeader;
    while (bytes_.size() - at >= enough || (isWhole && at < bytes_.size())) {
        const auto frame = frameOf(codec_, Bytes(bytes_).subspan(at));
        if (!frame) {
            ++at;
            continue;
        }
        if (bytes_.size() - at < frame->size) {
            if (!isWhole) break;
            ++at;
            continue;
        }
        emit(at + frame->skip, frame->size - frame->skip,
             nanoseconds(std::int64_t{1'000'000'000} * frame->samples / std::max(frame->rate, 1U)));
        at += frame->size;
    }
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(at));
    before_ += at;
}

void AudioFrames::emit(std::size_t offset, std::size_t size, nanoseconds duration) {
    while (!marks_.empty() && marks_.front().at <= before_ + offset) {
        next_ = marks_.front().time;
        marks_.pop_front();
    }
    const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(offset);
    Sample sample;
    sample.bytes.assign(begin, begin + static_cast<std::ptrdiff_t>(size));
    sample.pts = next_;
    sample.duration = duration;
    if (next_) *next_ += duration;
    found_(std::move(sample));
}

}  // namespace korvel::platform::hls
