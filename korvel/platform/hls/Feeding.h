#pragma once

#include <korvel/platform/hls/Stage.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace korvel::platform::hls {

/// Brings one rendition's samples to the output, on the presentation's times: finds the picture to
/// begin with after a seek, a change of variant or a hole, and leaves out what is there already.
/// One thread.
class Feeding {
public:
    using Time = std::chrono::nanoseconds;

    explicit Feeding(Stage& stage) : stage_(stage) {}

    /// Before a `restart`: by kind, whether it is this rendition's to bring.
    void own(std::array<bool, 2> kinds) { kinds_ = kinds; }
    bool owns(Kind kind) const { return kinds_.at(static_cast<std::size_t>(kind)); }
    /// After a seek: nothing is queued, and `from` is wanted.
    void restart(Stage::Generation generation, Time from);
    /// What follows does not continue what was given: it goes on where that ended.
    void rejoin();
    /// What follows was not coded in one piece with what came.
    void discontinuity();
    /// The same of one kind.
    void cut(Kind kind) { of(kind).isCut = of(kind).hasBegun; }
    /// Of which variant what follows is: parameters of one are none of another.
    void setVariant(std::size_t variant) { variant_ = variant; }

    /// The segment that follows.
    struct Segment {
        Kind reference = Kind::picture;  ///< by which it is decided where to begin
        bool mayGoBack = false;          ///< there is one in front of it
        bool isLast = false;             ///< of the stream
    };
    /// The segment that follows is read for its parameters alone.
    void learn() { isLearning_ = true; }
    void begin(const Segment& segment) { segment_ = segment; }
    enum class Answer {
        taken,
        back,        ///< to begin with, an earlier segment is needed
        parameters,  ///< likewise, what the decoder must know: see `learn`
        learned,     ///< what there is to be learned in this segment
        overtaken,
    };
    Answer take(Kind kind, const std::shared_ptr<const Format>& format, Sample sample);
    /// The segment is whole.
    Answer finish();
    /// The stream is over.
    void end();

    bool hasJoined() const { return joined_; }
    /// Where the next sample is wanted: the target, or where what was given ends.
    Time wanted() const { return from_; }
    std::optional<Time> given(Kind kind) const { return of(kind).end; }

private:
    struct Lane {
        bool hasBegun = false;
        bool overlaps = false;  ///< what comes may have been given already
        bool isCut = false;     ///< by a discontinuity
        std::shared_ptr<const Format> format{};
        std::optional<Time> end{};
    };
    struct Early {
        Kind kind;
        std::shared_ptr<const Format> format;
        Sample sample;
    };
    Answer join(Kind kind, const std::shared_ptr<const Format>& format, Sample sample);
    Answer release();
    Answer give(Kind kind, const std::shared_ptr<const Format>& format, Sample sample);
    void complete(const Format& format, Sample& sample);
    bool hasParameters(const Format& format, const Sample& sample) const;
    Lane& of(Kind kind) { return lanes_.at(static_cast<std::size_t>(kind)); }
    const Lane& of(Kind kind) const { return lanes_.at(static_cast<std::size_t>(kind)); }

    Stage& stage_;
    std::array<bool, 2> kinds_{};
    Stage::Generation generation_ = 0;
    Time from_{};
    Segment segment_;
    bool joined_ = false;
    bool isRejoining_ = false;
    bool isLearning_ = false;
    bool takesAny_ = false;    ///< pictures without a key among them: there may be none
    bool isAwaiting_ = false;  ///< the picture that is shown at `from_`, of the last segment
    std::vector<Early> early_;
    std::size_t earlyBytes_ = 0;
    std::array<Lane, 2> lanes_;
    std::size_t variant_ = 0;
    std::map<std::size_t, Data> parameters_;  ///< by variant; empty: there are none
};

}  // namespace korvel::platform::hls
