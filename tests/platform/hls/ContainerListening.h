#pragma once

#include "platform/hls/Streams.h"

#include <korvel/platform/hls/ContainerReader.h>

#include <gtest/gtest.h>

#include <array>

namespace korvel::tests {

using namespace platform;
using namespace platform::hls;
using namespace streams;

struct Listener final : ContainerListener {
    std::array<std::vector<Sample>, 2> samples;
    std::vector<std::string> formats;
    int completions = 0;
    std::string offered;  ///< sounds, with a star for a commentary
    std::string reason;

    std::size_t chooseSound(const std::vector<SoundTrack>& sounds) override {
        for (const auto& each : sounds) offered += each.language + (each.isCommentary ? "* " : " ");
        return sounds.size() - 1;
    }
    void format(std::shared_ptr<const Format> format) override { formats.push_back(format->caps); }
    void formatsAreComplete() override { ++completions; }
    void sample(Kind kind, Sample sample) override {
        EXPECT_EQ(completions, 1) << "no sample before it is known which kinds there are";
        samples.at(static_cast<std::size_t>(kind)).push_back(std::move(sample));
    }
    void locked(const std::string& why) override { reason = why; }
    const std::vector<Sample>& pictures() const { return samples[0]; }
    const std::vector<Sample>& sounds() const { return samples[1]; }
};

inline Listener read(const Data& bytes, const Data& map = {}, std::size_t piece = 1000,
                     const std::optional<Encryption>& encryption = {}) {
    Listener listener;
    const auto container = recognised(bytes, true).value_or(Container::unknown);
    const auto reader = makeContainerReader(container, map, listener, encryption);
    if (!reader) return listener;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        reader->push(ContainerReader::Bytes(bytes).subspan(at, std::min(piece, bytes.size() - at)));
    }
    reader->finish();
    return listener;
}

}  // namespace korvel::tests
