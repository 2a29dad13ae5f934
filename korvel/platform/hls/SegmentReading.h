#pragma once

#include <korvel/platform/hls/ContainerReader.h>
#include <korvel/platform/hls/Feeding.h>
#include <korvel/platform/hls/Playlist.h>
#include <korvel/platform/hls/SoundChoice.h>
#include <korvel/platform/hls/Stage.h>

#include <array>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace korvel::platform::hls {

/// One media segment on its way from bytes to samples on the presentation's times. One thread.
class SegmentReading final : private ContainerListener {
public:
    using Time = std::chrono::nanoseconds;
    struct Options {
        Stage::Generation generation = 0;
        bool isMain = true;
        bool hasOtherSound = false;    ///< that of the main rendition does not count
        SoundChoice* sound = nullptr;  ///< which of several in a container; null: the first
        bool mayGoBack = false;
        bool isLast = false;
        std::optional<Time> goesOn{};  ///< where the segment in front of it ended
    };

    SegmentReading(Stage& stage, Feeding& feeding, const Segment& segment,
                   const Data& initialization, Options options);

    enum class State {
        reading,
        back,  ///< see `Feeding::Answer`
        parameters,
        learned,
        overtaken,
        playlist,  ///< is one, which no segment may be
        foreign,   ///< nothing that can be read
        empty,     ///< neither picture nor sound that can be played
        locked,    ///< samples are encrypted in a way that cannot be opened: see `lock`
    };
    /// Before the first bytes: its samples are encrypted so.
    void open(const Encryption& samples) { samples_ = samples; }
    State push(ContainerReader::Bytes bytes);
    State finish();
    State state() const { return state_; }
    /// Why it is locked, as a sentence without its end.
    const std::string& lock() const { return lock_; }
    /// Where its pictures, or its sound, ended.
    std::optional<Time> end() const;

private:
    struct Held {
        Kind kind;
        Sample sample;
    };

    std::size_t chooseSound(const std::vector<SoundTrack>& sounds) override;
    void format(std::shared_ptr<const Format> format) override;
    void formatsAreComplete() override;
    void sample(Kind kind, Sample sample) override;
    void locked(const std::string& reason) override;

    void recognise(bool isWhole);
    void anchor(Time container);
    void anchorByWhatIsThere();
    void releaseHeld();
    void place(Kind kind, Sample sample);
    void accept(Feeding::Answer answer);
    Kind reference() const;
    bool has(Kind kind) const { return formats_.at(static_cast<std::size_t>(kind)) != nullptr; }

    Stage& stage_;
    Feeding& feeding_;
    const Segment& segment_;
    const Data& initialization_;
    const Options options_;
    State state_ = State::reading;
    std::optional<Encryption> samples_;
    std::string lock_;
    Data head_;
    Container container_ = Container::unknown;
    std::unique_ptr<ContainerReader> reader_;
    std::array<std::shared_ptr<const Format>, 2> formats_;
    bool isComplete_ = false;
    std::optional<Time> shift_;
    std::vector<Held> held_;
    std::size_t heldBytes_ = 0;
};

}  // namespace korvel::platform::hls
