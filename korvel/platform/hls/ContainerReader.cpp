#include <korvel/platform/hls/AudioFrames.h>
#include <korvel/platform/hls/ContainerReader.h>
#include <korvel/platform/hls/FragmentReader.h>
#include <korvel/platform/hls/PackedAudioReader.h>
#include <korvel/platform/hls/Playlist.h>
#include <korvel/platform/hls/TransportStreamReader.h>

#include <algorithm>
#include <array>
#include <utility>

namespace korvel::platform::hls {

namespace {

constexpr std::size_t packetSize = 188;
/// How far into a body a transport stream is looked for.
constexpr std::size_t widestSearch = 4096;

/// By as many packets as are there, up to some.
bool isTransportStream(ContainerReader::Bytes bytes, std::size_t at, bool isWhole) {
    constexpr std::uint8_t sync = 0x47;
    constexpr std::size_t enough = 4;
    std::size_t found = 0;
    for (; found <= enough && at < bytes.size(); ++found, at += packetSize) {
        if (bytes[at] != sync) return false;
    }
    return found > 1 || (isWhole && at == bytes.size());
}

bool isBox(ContainerReader::Bytes bytes) {
    constexpr std::array<std::string_view, 9> types{"ftyp", "styp", "moof", "moov", "sidx",
                                                    "emsg", "prft", "mdat", "free"};
    if (bytes.size() < 8) return false;
    const std::string_view type(reinterpret_cast<const char*>(&bytes[4]), 4);
    return std::find(types.begin(), types.end(), type) != types.end();
}

}  // namespace

ContainerListener::~ContainerListener() = default;
void ContainerListener::locked(const std::string&) {}
ContainerReader::~ContainerReader() = default;

std::size_t ContainerListener::chooseSound(const std::vector<SoundTrack>&) { return 0; }

std::optional<Container> recognised(ContainerReader::Bytes beginning, bool isWhole) {
    constexpr std::size_t enough = 10;  // for a playlist behind a byte order mark
    if (beginning.size() < enough && !isWhole) return std::nullopt;
    if (beginning.empty()) return Container::unknown;
    const std::string_view text(reinterpret_cast<const char*>(beginning.data()), beginning.size());
    if (isPlaylist(text)) return Container::playlist;
    if (text.starts_with("WEBVTT") || text.starts_with("\xEF\xBB\xBFWEBVTT"))
        return Container::text;
    if (isBox(beginning)) return Container::fragments;
    if (text.starts_with("ID3")) return Container::packedAudio;
    const bool isEnough = isWhole || beginning.size() >= widestSearch + 2 * packetSize;
    const auto search = std::min(beginning.size(), widestSearch);
    for (std::size_t at = 0; at < search; ++at) {
        if (isTransportStream(beginning, at, isWhole)) return Container::transportStream;
        if (at == 0 && beginning[0] == 0x47 && beginning.size() <= packetSize && !isWhole)
            return std::nullopt;
        if (at == 0 && audioCodecOf(beginning)) return Container::packedAudio;
    }
    return isEnough ? std::optional(Container::unknown) : std::nullopt;
}

std::unique_ptr<ContainerReader> makeContainerReader(Container container,
                                                     ContainerReader::Bytes initialization,
                                                     ContainerListener& listener,
                                                     std::optional<Encryption> samples) {
    switch (container) {
        case Container::transportStream: {
            auto reader = std::make_unique<TransportStreamReader>(listener, std::move(samples));
            reader->push(initialization);  // tables may stand there alone
            return reader;
        }
        case Container::fragments:
            return std::make_unique<FragmentReader>(initialization, listener, std::move(samples));
        case Container::packedAudio:
            return std::make_unique<PackedAudioReader>(listener, std::move(samples));
        default:
            return nullptr;
    }
}

std::optional<std::chrono::nanoseconds> wrapPeriod(Container container) {
    if (container != Container::transportStream && container != Container::packedAudio)
        return std::nullopt;
    return std::chrono::nanoseconds((std::int64_t{1} << 33) * 100'000 / 9);
}

}  // namespace korvel::platform::hls
