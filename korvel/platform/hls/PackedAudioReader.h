#pragma once

#include <korvel/platform/hls/AudioFrames.h>
#include <korvel/platform/hls/ContainerReader.h>

#include <memory>
#include <optional>
#include <utility>

namespace korvel::platform::hls {

/// Frames of sound, one after the other, behind an ID3 tag that tells the time of the first. Where
/// it does not, the first is at zero.
class PackedAudioReader final : public ContainerReader {
public:
    explicit PackedAudioReader(ContainerListener& listener, std::optional<Encryption> samples = {})
        : listener_(listener), samples_(std::move(samples)) {}
    void push(Bytes bytes) override;
    void finish() override;

private:
    bool passTags(bool isWhole);
    void begin(bool isWhole);
    void frame(AudioCodec codec, Sample sample);

    ContainerListener& listener_;
    const std::optional<Encryption> samples_;
    Data head_;             ///< until the first frame is found
    std::size_t skip_ = 0;  ///< bytes left of a tag too long to be kept
    std::optional<std::chrono::nanoseconds> time_;
    std::unique_ptr<AudioFrames> frames_;
    bool isRefused_ = false;
};

/// The size of the ID3 tag that begins here, 0 if there is none; nothing while that is not to be
/// told.
std::optional<std::size_t> tagSize(ContainerReader::Bytes bytes, bool isWhole);

}  // namespace korvel::platform::hls
