#include <korvel/platform/hls/ElementaryDecryption.h>
#include <korvel/platform/hls/Language.h>
#include <korvel/platform/hls/TransportStreamReader.h>

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace korvel::platform::hls {

using std::chrono::nanoseconds;

namespace {

constexpr std::size_t packetSize = 188;
constexpr std::uint8_t syncByte = 0x47;
constexpr std::size_t mostEarly = std::size_t{2} << 20U;
constexpr std::size_t longestPacket = std::size_t{16} << 20U;
constexpr std::size_t longestSection = 4096;
constexpr std::int64_t wrap = std::int64_t{1} << 33;

unsigned pidAt(ContainerReader::Bytes bytes, std::size_t at) {
    return ((bytes[at] & 31U) << 8U) | bytes[at + 1];
}

std::size_t lengthAt(ContainerReader::Bytes bytes, std::size_t at) {
    return ((bytes[at] & 15U) << 8U) | bytes[at + 1];
}

/// What private data is, by the descriptors of its stream.
std::optional<AudioCodec> privateCodec(ContainerReader::Bytes descriptors) {
    for (std::size_t at = 0; at + 2 <= descriptors.size();) {
        const unsigned tag = descriptors[at];
        const std::size_t length = descriptors[at + 1];
        if (tag == 0x6A) return AudioCodec::ac3;
        if (tag == 0x7A) return AudioCodec::eac3;
        if (tag == 5 && length >= 4 && at + 6 <= descriptors.size()) {
            const std::string_view name(reinterpret_cast<const char*>(&descriptors[at + 2]), 4);
            if (name == "AC-3") return AudioCodec::ac3;
            if (name == "EAC3") return AudioCodec::eac3;
            if (name == "Opus") return AudioCodec::opus;
        }
        at += 2 + length;
    }
    return std::nullopt;
}

std::optional<AudioCodec> audioOf(unsigned type, ContainerReader::Bytes descriptors) {
    switch (type) {
        case 0x03:
        case 0x04:
            return AudioCodec::mpeg;
        case 0x0F:
            return AudioCodec::aac;
        case 0x81:
            return AudioCodec::ac3;
        case 0x87:
            return AudioCodec::eac3;
        case 0x06:
            return privateCodec(descriptors);
        default:
            return std::nullopt;
    }
}

/// How its channels lie in the packets is told by a number for each usual order of them.
std::shared_ptr<const Format> opusFormat(ContainerReader::Bytes descriptors) {
    struct Layout {
        const char* streams;
        const char* coupled;
        const char* mapping;
    };
    constexpr std::array<Layout, 6> surround{{{"2", "1", "0, 2, 1"},
                                              {"2", "2", "0, 1, 2, 3"},
                                              {"3", "2", "0, 4, 1, 2, 3"},
                                              {"4", "2", "0, 4, 1, 2, 3, 5"},
                                              {"5", "2", "0, 4, 1, 2, 3, 5, 6"},
                                              {"5", "3", "0, 6, 1, 2, 3, 4, 5, 7"}}};
    std::size_t channels = 2;
    for (std::size_t at = 0; at + 4 <= descriptors.size(); at += 2U + descriptors[at + 1]) {
        if (descriptors[at] == 0x7F && descriptors[at + 1] >= 2 && descriptors[at + 2] == 0x80)
            channels = descriptors[at + 3];
    }
    if (channels == 0 || channels > surround.size() + 2) return nullptr;
    std::string caps = "audio/x-opus, rate=(int)48000, channels=(int)" + std::to_string(channels) +
                       ", channel-mapping-family=(int)" + (channels > 2 ? "1" : "0");
    if (channels > 2) {
        const Layout& layout = surround.at(channels - 3);
        caps += std::string(", stream-count=(int)") + layout.streams + ", coupled-count=(int)" +
                layout.coupled + ", channel-mapping=(int)< " + layout.mapping + " >";
    }
    return std::make_shared<const Format>(Format{Kind::sound, std::move(caps)});
}

/// The first of the languages that the descriptors name, and whether it comments what is shown.
SoundTrack trackOf(ContainerReader::Bytes descriptors) {
    constexpr unsigned languages = 0x0A;
    constexpr unsigned commentary = 3;
    for (std::size_t at = 0; at + 6 <= descriptors.size(); at += 2U + descriptors[at + 1]) {
        if (descriptors[at] != languages || descriptors[at + 1] < 4) continue;
        const std::string_view code(reinterpret_cast<const char*>(&descriptors[at + 2]), 3);
        return {languageTag(code), descriptors[at + 5] == commentary};
    }
    return {};
}

struct Video {
    VideoCodec codec;
    const char* caps;
};

std::optional<Video> videoOf(unsigned type) {
    switch (type) {
        case 0x01:
        case 0x02:
            return Video{VideoCodec::mpeg2,
                         "video/mpeg, mpegversion=(int)2, systemstream=(boolean)false"};
        case 0x1B:
            return Video{VideoCodec::h264, "video/x-h264, stream-format=(string)byte-stream"};
        case 0x24:
            return Video{VideoCodec::h265, "video/x-h265, stream-format=(string)byte-stream"};
        default:
            return std::nullopt;
    }
}

}  // namespace

void TransportStreamReader::push(Bytes bytes) {
    rest_.insert(rest_.end(), bytes.begin(), bytes.end());
    std::size_t at = 0;
    while (at + packetSize <= rest_.size()) {
        const bool isPacket = rest_[at] == syncByte && (at + packetSize == rest_.size() ||
                                                        rest_[at + packetSize] == syncByte);
        if (isPacket) packet(Bytes(rest_).subspan(at, packetSize));
        at += isPacket ? packetSize : 1;
    }
    rest_.erase(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(at));
}

void TransportStreamReader::packet(Bytes packet) {
    const bool hasError = (packet[1] & 0x80U) != 0;
    const bool begins = (packet[1] & 0x40U) != 0;
    const bool isScrambled = (packet[3] & 0xC0U) != 0;
    const bool hasPayload = (packet[3] & 0x10U) != 0;
    const unsigned pid = pidAt(packet, 1);
    std::size_t head = 4;
    if ((packet[3] & 0x20U) != 0) head += 1U + packet[4];
    if (hasError || isScrambled || !hasPayload || head >= packetSize) return;
    const Bytes payload = packet.subspan(head);

    if (pid == 0) return section(payload, begins, programmes_, &TransportStreamReader::programmes);
    if (mapPid_ && pid == *mapPid_) {
        return section(payload, begins, map_, &TransportStreamReader::streams);
    }
    if (!isMapped_) return hold(pid, packet);
    const auto found = streams_.find(pid);
    if (found == streams_.end()) return;
    const int counter = packet[3] & 15;
    const bool isRepeated = std::exchange(found->second.counter, counter) == counter;
    if (!isRepeated) media(found->second, payload, begins);
}

/// Tables list sounds of which nothing comes: those of other hours, or of another's programme. So
/// where there are several, what comes is waited for before one of them is chosen.
void TransportStreamReader::hold(unsigned pid, Bytes packet) {
    if (early_.size() < mostEarly) early_.insert(early_.end(), packet.begin(), packet.end());
    for (Sound& each : sounds_) each.isThere |= each.pid == pid;
    if (isListed_ &&
        (early_.size() >= mostEarly || std::all_of(sounds_.begin(), sounds_.end(),
                                                   [](const Sound& each) { return each.isThere; })))
        settle();
}

/// Puts a section of a table together, which may go over packets.
void TransportStreamReader::section(Bytes payload, bool begins, Data& store,
                                    void (TransportStreamReader::*take)(Bytes)) {
    if (begins) {
        const std::size_t pointer = 1U + payload[0];
        if (pointer >= payload.size()) return;
        payload = payload.subspan(pointer);
        store.clear();
    } else if (store.empty()) {
        return;
    }
    if (store.size() > longestSection) return;
    store.insert(store.end(), payload.begin(), payload.end());
    if (store.size() < 3) return;
    const std::size_t size = 3 + lengthAt(store, 1);
    if (store.size() < size || size < 12) return;
    const Data whole = std::exchange(store, {});
    (this->*take)(Bytes(whole).first(size - 4));  // without its checksum
}

void TransportStreamReader::programmes(Bytes section) {
    if (section[0] != 0 || mapPid_) return;
    for (std::size_t at = 8; at + 4 <= section.size(); at += 4) {
        const bool isNetwork = section[at] == 0 && section[at + 1] == 0;
        if (isNetwork) continue;
        mapPid_ = pidAt(section, at + 2);
        return;
    }
}

void TransportStreamReader::streams(Bytes section) {
    if (section[0] != 2 || isListed_ || section.size() < 12) return;
    isListed_ = true;
    for (std::size_t at = 12 + lengthAt(section, 10); at + 5 <= section.size();) {
        const auto plain = samples_ ? plainStreamType(section[at]) : std::nullopt;
        const unsigned type = plain.value_or(section[at]);
        const unsigned pid = pidAt(section, at + 1);
        const std::size_t length = lengthAt(section, at + 3);
        const auto descriptors = section.subspan(at + 5, std::min(length, section.size() - at - 5));
        addPicture(pid, type, plain.has_value());
        if (auto sound = sounds_.size() < mostSoundTracks
                             ? soundOf(type, descriptors, plain.has_value())
                             : std::nullopt)
            sounds_.push_back({pid, trackOf(descriptors), *std::move(sound)});
        at += 5 + length;
    }
    if (sounds_.size() < 2) return settle();
    const Data early = std::exchange(early_, {});
    for (std::size_t at = 0; at < early.size(); at += packetSize)
        packet(Bytes(early).subspan(at, packetSize));
}

void TransportStreamReader::settle() {
    addOneSound();
    isMapped_ = true;
    listener_.formatsAreComplete();
    const Data early = std::exchange(early_, {});
    for (std::size_t at = 0; at < early.size(); at += packetSize) {
        packet(Bytes(early).subspan(at, packetSize));
    }
}

void TransportStreamReader::addPicture(unsigned pid, unsigned type, bool isEncrypted) {
    const auto video = videoOf(type);
    if (!video || !streams_.empty()) return;
    Stream stream;
    stream.video = video->codec;
    stream.isEncrypted = isEncrypted;
    stream.format = std::make_shared<const Format>(Format{Kind::picture, video->caps});
    listener_.format(stream.format);
    streams_.emplace(pid, std::move(stream));
}

/// Nothing if it is none, or none that can be read.
std::optional<TransportStreamReader::Stream> TransportStreamReader::soundOf(unsigned type,
                                                                            Bytes descriptors,
                                                                            bool isEncrypted) {
    Stream stream;
    if (const auto audio = audioOf(type, descriptors)) {
        stream.format = *audio == AudioCodec::opus ? opusFormat(descriptors) : formatOf(*audio);
        stream.frames = std::make_unique<AudioFrames>(
            *audio, [this, codec = *audio, isEncrypted](Sample sample) {
                frame(codec, isEncrypted, std::move(sample));
            });
    } else if (type == 0x11) {
        stream.format = std::make_shared<const Format>(
            Format{Kind::sound, "audio/mpeg, mpegversion=(int)4, stream-format=(string)loas"});
    }
    return stream.format ? std::optional(std::move(stream)) : std::nullopt;
}

void TransportStreamReader::addOneSound() {
    const auto isThere = [](const Sound& each) { return each.isThere; };
    if (std::any_of(sounds_.begin(), sounds_.end(), isThere))
        std::erase_if(sounds_, std::not_fn(isThere));
    if (sounds_.empty()) return;
    std::vector<SoundTrack> tracks;
    tracks.reserve(sounds_.size());
    for (const Sound& each : sounds_) tracks.push_back(each.track);
    Sound chosen = std::move(sounds_.at(listener_.chooseSound(tracks)));
    sounds_.clear();
    if (streams_.contains(chosen.pid)) return;
    listener_.format(chosen.stream.format);
    streams_.emplace(chosen.pid, std::move(chosen.stream));
}

void TransportStreamReader::media(Stream& stream, Bytes payload, bool begins) {
    if (begins) {
        close(stream);
        stream.isOpen = true;
    }
    if (!stream.isOpen) return;
    if (stream.packet.size() > longestPacket) {
        stream.isOpen = false;
        return stream.packet.clear();
    }
    stream.packet.insert(stream.packet.end(), payload.begin(), payload.end());
    if (stream.packet.size() < 6) return;
    const std::size_t told = (unsigned{stream.packet[4]} << 8U) | stream.packet[5];
    if (told > 0 && stream.packet.size() >= told + 6) {
        stream.packet.resize(told + 6);
        close(stream);
    }
}

void TransportStreamReader::close(Stream& stream) {
    stream.isOpen = false;
    Data packet = std::exchange(stream.packet, {});
    if (packet.size() < 9 || packet[0] != 0 || packet[1] != 0 || packet[2] != 1) return;
    if ((packet[6] & 0xC0U) != 0x80) return;
    const std::size_t head = 9U + packet[8];
    const unsigned flags = packet[7] >> 6U;
    if (packet.size() <= head) return;
    Sample sample;
    if ((flags & 2U) != 0 && head >= 14) sample.pts = time(Bytes(packet).subspan(9, 5));
    if (flags == 3 && head >= 19) sample.dts = time(Bytes(packet).subspan(14, 5));
    if (stream.frames) return stream.frames->push(Bytes(packet).subspan(head), sample.pts);
    packet.erase(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(head));
    sample.bytes = std::move(packet);
    if (stream.video) {
        if (stream.isEncrypted && !decryptPicture(sample.bytes, *samples_))
            return listener_.locked("The device does not decrypt a sample");
        sample.isKey = inspected(*stream.video, sample.bytes).isKey;
        if (!sample.dts) sample.dts = sample.pts;
        return picture(stream, std::move(sample));
    }
    listener_.sample(stream.format->kind, std::move(sample));
}

void TransportStreamReader::frame(AudioCodec codec, bool isEncrypted, Sample sample) {
    if (isEncrypted && !decryptFrame(codec, sample.bytes, *samples_))
        return listener_.locked("The device does not decrypt a sample");
    listener_.sample(Kind::sound, std::move(sample));
}

/// Gives out the picture before `next`.
void TransportStreamReader::picture(Stream& stream, std::optional<Sample> next) {
    constexpr std::chrono::seconds longestPicture{10};
    auto last = std::exchange(stream.last, std::move(next));
    if (!last) return;
    if (stream.last && stream.last->dts && last->dts) {
        const auto length = *stream.last->dts - *last->dts;
        if (length.count() > 0 && length <= longestPicture) stream.length = length;
    }
    last->duration = stream.length;
    listener_.sample(Kind::picture, *std::move(last));
}

TransportStreamReader::Time TransportStreamReader::time(Bytes field) {
    std::int64_t ticks = (field[0] >> 1U) & 7U;
    ticks = (ticks << 8U) | field[1];
    ticks = (ticks << 7U) | (field[2] >> 1U);
    ticks = (ticks << 8U) | field[3];
    ticks = (ticks << 7U) | (field[4] >> 1U);
    if (!reference_) reference_ = ticks;
    std::int64_t distance = (ticks - *reference_) % wrap;
    if (distance > wrap / 2) distance -= wrap;
    if (distance < -wrap / 2) distance += wrap;
    return nanoseconds((*reference_ + distance) * 100'000 / 9);
}

void TransportStreamReader::finish() {
    if (rest_.size() >= packetSize && rest_[0] == syncByte) packet(Bytes(rest_).first(packetSize));
    rest_.clear();
    if (isListed_ && !isMapped_) settle();
    for (auto& [pid, stream] : streams_) {
        close(stream);
        picture(stream, std::nullopt);
        if (stream.frames) stream.frames->finish();
    }
}

}  // namespace korvel::platform::hls
