#pragma once

#include <korvel/platform/hls/AccessUnit.h>
#include <korvel/platform/hls/AudioFrames.h>
#include <korvel/platform/hls/ContainerReader.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace korvel::platform::hls {

/// MPEG-2 transport stream: its first programme, and of it the first picture and one sound. Samples
/// of pictures are whole PES packets, those of sound frames. Times are those of the PES headers, 33
/// bits unwrapped around the first of them.
class TransportStreamReader final : public ContainerReader {
public:
    explicit TransportStreamReader(ContainerListener& listener,
                                   std::optional<Encryption> samples = {})
        : listener_(listener), samples_(std::move(samples)) {}
    void push(Bytes bytes) override;
    void finish() override;

private:
    struct Stream {
        std::optional<VideoCodec> video{};
        std::shared_ptr<const Format> format{};
        std::unique_ptr<AudioFrames> frames{};  ///< null: as they come
        Data packet{};                          ///< being put together
        bool isEncrypted = false;               ///< pictures alone
        bool isOpen = false;
        int counter = -1;
        std::optional<Sample>
            last{};  ///< picture that waits for the next, which tells how long it lasts
        std::optional<std::chrono::nanoseconds> length{};  ///< of the pictures so far
    };
    /// Of the sounds in the table, before one of them is chosen.
    struct Sound {
        unsigned pid;
        SoundTrack track;
        Stream stream;
        bool isThere = false;  ///< a packet of it came
    };
    using Time = std::optional<std::chrono::nanoseconds>;

    void packet(Bytes packet);
    void section(Bytes payload, bool begins, Data& store,
                 void (TransportStreamReader::*take)(Bytes));
    void programmes(Bytes section);
    void streams(Bytes section);
    void addPicture(unsigned pid, unsigned type, bool isEncrypted);
    std::optional<Stream> soundOf(unsigned type, Bytes descriptors, bool isEncrypted);
    void hold(unsigned pid, Bytes packet);
    void settle();
    void addOneSound();
    void media(Stream& stream, Bytes payload, bool begins);
    void close(Stream& stream);
    void frame(AudioCodec codec, bool isEncrypted, Sample sample);
    void picture(Stream& stream, std::optional<Sample> next);
    Time time(Bytes field);

    ContainerListener& listener_;
    const std::optional<Encryption> samples_;
    Data rest_;        ///< of a packet, or bytes in which none was found yet
    Data early_;       ///< packets that came before it was settled which streams count
    Data programmes_;  ///< section being put together
    Data map_;         ///< likewise
    std::optional<unsigned> mapPid_;
    bool isListed_ = false;  ///< the streams are known
    bool isMapped_ = false;  ///< and which of them count
    std::vector<Sound> sounds_;
    std::map<unsigned, Stream> streams_;
    std::optional<std::int64_t> reference_;
};

}  // namespace korvel::platform::hls
