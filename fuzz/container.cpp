// A media segment, taken apart in pieces as long as its first byte says: no crash, and no more
// samples than bytes. With an initialization section in front of a moof box that serves as one, and
// with the means to open encrypted samples or without.
#include "Require.h"

#include <korvel/platform/backends/openssl/SampleCipherOpenSSL.h>
#include <korvel/platform/hls/AccessUnit.h>
#include <korvel/platform/hls/ContainerReader.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace {

using namespace korvel::platform;
using namespace korvel::platform::hls;

struct Listener final : ContainerListener {
    std::size_t samples = 0;
    bool isComplete = false;

    std::size_t chooseSound(const std::vector<SoundTrack>& sounds) override {
        require(!sounds.empty() && sounds.size() <= mostSoundTracks, "sounds are few");
        return sounds.size() - 1;
    }
    void format(std::shared_ptr<const Format> format) override {
        require(format && !format->caps.empty(), "a format says what it is");
    }
    void formatsAreComplete() override { isComplete = true; }
    void locked(const std::string& reason) override { require(!reason.empty(), "it says why"); }
    void sample(Kind, Sample sample) override {
        ++samples;
        require(isComplete, "formats come before samples");
        require(!sample.bytes.empty(), "a sample holds something");
        inspected(VideoCodec::h264, sample.bytes);
        inspected(VideoCodec::h265, sample.bytes);
        parametersIn(VideoCodec::h264, sample.bytes);
    }
};

std::optional<Encryption> encryption(std::uint8_t choice) {
    if (choice % 3 == 0) return std::nullopt;
    const auto scheme = choice % 3 == 1 ? SampleCipher::Scheme::cbc : SampleCipher::Scheme::ctr;
    return Encryption{.samples = makeSampleCipherOpenSSL(scheme), .scheme = scheme};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size < 2) return 0;
    const std::size_t piece = 1 + bytes[0];
    const ContainerReader::Bytes all(bytes + 1, size - 1);
    const std::string_view text(reinterpret_cast<const char*>(all.data()), all.size());
    const auto moof = text.find("moof");
    const auto cut = moof == text.npos || moof < 4 ? 0 : moof - 4;
    for (const Container container :
         {recognised(all, true).value_or(Container::unknown), Container::transportStream,
          Container::fragments, Container::packedAudio}) {
        Listener listener;
        const bool isSplit = container == Container::fragments;
        const auto reader =
            makeContainerReader(container, isSplit ? all.first(cut) : ContainerReader::Bytes(),
                                listener, encryption(bytes[0]));
        if (!reader) continue;
        const auto media = isSplit ? all.subspan(cut) : all;
        for (std::size_t at = 0; at < media.size(); at += piece)
            reader->push(media.subspan(at, std::min(piece, media.size() - at)));
        reader->finish();
        require(listener.samples <= 100'000 + size, "samples stay in proportion");
    }
    return 0;
}
